#include "cameras/demo/exposure.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace kivra::cameras {

namespace {

constexpr size_t bytesPerPixel = 4;
// The widest row, and 16384 places at which a row's grain can begin.
constexpr size_t grainPixels = 3840 + 16384;

// The loops treat all bytes alike and change alpha too; this restores it.
void setOpaque(QRgb *row, int width)
{
    std::transform(row, row + width, row, [](QRgb pixel) { return pixel | 0xFF000000U; });
}

} // namespace

Grain::Grain(double sigma)
    : farthest(static_cast<int>(std::ceil(3 * sigma)))
    , values(grainPixels * bytesPerPixel)
{
    std::mt19937 random(20210614); // any seed; always the same one, so that runs can be compared
    std::normal_distribution<double> normal(0, sigma);
    for (size_t i = 0; i < values.size(); ++i) {
        const bool isAlpha = i % bytesPerPixel == 3;
        const int value = static_cast<int>(std::lround(normal(random)));
        values[i] = static_cast<uchar>(isAlpha ? 0 : std::clamp(value, -farthest, farthest));
    }
}

void Grain::addTo(QImage &picture, unsigned seed) const
{
    std::minstd_rand random(seed + 1);
    const size_t rowBytes = static_cast<size_t>(picture.width()) * bytesPerPixel;
    const auto width = static_cast<size_t>(picture.width());
    if (width >= grainPixels)
        return;
    for (int y = 0; y < picture.height(); ++y) {
        uchar *row = picture.scanLine(y);
        const size_t place = random() % (grainPixels - width);
        const uchar *grain = values.data() + place * bytesPerPixel;
        for (size_t i = 0; i < rowBytes; ++i)
            row[i] = static_cast<uchar>(row[i] + grain[i]);
        setOpaque(reinterpret_cast<QRgb *>(row), picture.width());
    }
}

void expose(QImage &picture, double ev, int margin)
{
    // Six fractional bits: then a level times the factor of +4 stops still fits into 16 bits.
    const auto factor = static_cast<quint16>(std::lround(64 * std::exp2(ev / 2.2)));
    const auto low = static_cast<quint16>(margin);
    const auto high = static_cast<quint16>(255 - margin);
    const size_t rowBytes = static_cast<size_t>(picture.width()) * bytesPerPixel;
    for (int y = 0; y < picture.height(); ++y) {
        uchar *row = picture.scanLine(y);
        for (size_t i = 0; i < rowBytes; ++i) {
            const auto level = static_cast<quint16>(static_cast<quint16>(row[i] * factor) >> 6);
            row[i] = static_cast<uchar>(std::clamp(level, low, high));
        }
    }
}

} // namespace kivra::cameras
