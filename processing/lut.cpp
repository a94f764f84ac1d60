#include "processing/lut.h"

#include "processing/finish.h"
#include "processing/rendering.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr int levels = 256;

// Limited before the conversion to int, which is undefined for numbers that an int cannot hold.
template<typename Real>
int truncatedLevel(Real value)
{
    return static_cast<int>(std::clamp(value, Real(0), Real(255)));
}

void fillLine(int *lut, int low, int high)
{
    const double range = static_cast<double>(high) - low;
    for (int i = 0; i < levels; ++i) {
        const double scaled = (static_cast<double>(i) - low) * 255.0;
        lut[i] = high == low ? 0 : truncatedLevel(scaled / range);
    }
}

} // namespace

void CalculerLut(int *lut, int lumiere, int contraste)
{
    const float gain = static_cast<float>(contraste) / 100.0F;
    for (int i = 0; i < levels; ++i) {
        const auto shifted = static_cast<float>(std::int64_t{i} + lumiere - 128);
        lut[i] = truncatedLevel(shifted * gain + 128.0F);
    }
}

void AppliquerLut(QImage *image, int *lut)
{
    const kivra::Pixels pixels = kivra::editablePixels(image);
    const kivra::Finish finish(kivra::toneOf(lut), kivra::Finish::Effect::None);
    kivra::applyFinish(pixels, pixels, finish);
}

void CreerLut(int *lut, int type, int low, int high)
{
    switch (type) {
    case 0:
        for (int i = 0; i < levels; ++i)
            lut[i] = i;
        break;
    case 1:
        for (int i = 0; i < levels; ++i)
            lut[i] = std::min(2 * i, 255);
        break;
    case 2:
        fillLine(lut, low, high);
        break;
    default:
        break;
    }
}
