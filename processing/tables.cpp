#include "processing/tables.h"

#include "processing/inplace.h"

#include <algorithm>
#include <numeric>

using namespace kivra;

namespace {

constexpr int levels = 256;

void fill(int *lut, const Tone &tone)
{
    std::copy(tone.table().begin(), tone.table().end(), lut);
}

} // namespace

void CalculerLut(int *lut, int lumiere, int contraste)
{
    fill(lut, brightnessTone(lumiere, contraste));
}

void AppliquerLut(QImage *image, int *lut)
{
    ByteTable table{};
    std::transform(lut, lut + levels, table.begin(),
                   [](int level) { return static_cast<std::uint8_t>(level); });
    const Finish finish(Tone(table), Finish::Effect::None);
    changeInPlace(image, [&](Pixels pixels) { paintOver(pixels, 0, finish); });
}

void CreerLut(int *lut, int type, int low, int high)
{
    switch (type) {
    case 0:
        std::iota(lut, lut + levels, 0);
        break;
    case 1:
        for (int i = 0; i < levels; ++i)
            lut[i] = std::min(2 * i, 255);
        break;
    case 2:
        fill(lut, stretchTone(low, high));
        break;
    default:
        break;
    }
}

void fBicolore(QImage *image, unsigned int darkColour, unsigned int lightColour)
{
    const Finish finish(brightnessTone(0, 100), Finish::Effect::TwoColours,
                        {darkColour, lightColour});
    changeInPlace(image, [&](Pixels pixels) { paintOver(pixels, 0, finish); });
}
