#include "processing/threshold.h"

#include "processing/adaptive.h"
#include "processing/buffers.h"
#include "processing/colourcopy.h"
#include "processing/counts.h"
#include "processing/parallel.h"
#include "processing/rendering.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace kivra {

namespace {

constexpr TwoColours blackAndWhite{0xFF000000U, 0xFFFFFFFFU};

// The grey plane _src_gray above \a threshold or not.
void chooseByGray(Pixels to, int threshold, TwoColours colours)
{
    forBands(to.width(), to.height(), [&](int begin, int end) {
        for (int y = begin; y < end; ++y)
            kernels().choose(_src_gray.ptr(y), to.row(y), to.width(), threshold, colours.dark,
                             colours.light);
    });
}

// Otsu's level: the one that maximises the variance between the classes below and above it. The
// order of the operations is OpenCV's, because the last bits decide between equal levels.
int otsuLevel(const Histogram &histogram, int width, int height)
{
    constexpr auto negligible = static_cast<double>(FLT_EPSILON);
    const double share = 1.0 / (width * height);
    double mean = 0;
    for (int i = 0; i < 256; ++i)
        mean += i * static_cast<double>(histogram[static_cast<std::size_t>(i)]);
    mean *= share;

    double lowMean = 0;
    double lowWeight = 0;
    double best = 0;
    int level = 0;
    for (int i = 0; i < 256; ++i) {
        const double weight = histogram[static_cast<std::size_t>(i)] * share;
        lowMean *= lowWeight;
        lowWeight += weight;
        const double highWeight = 1.0 - lowWeight;
        if (std::min(lowWeight, highWeight) < negligible ||
            std::max(lowWeight, highWeight) > 1.0 - negligible)
            continue;
        lowMean = (lowMean + i * weight) / lowWeight;
        const double highMean = (mean - lowWeight * lowMean) / highWeight;
        const double variance =
            lowWeight * highWeight * (lowMean - highMean) * (lowMean - highMean);
        if (variance > best) {
            best = variance;
            level = i;
        }
    }
    return level;
}

} // namespace

void thresholdAt(ConstPixels from, Pixels to, double level, TwoColours colours)
{
    if (from.isEmpty())
        return;
    checkBuffers(from.width(), from.height());
    gray(from, _src_gray);
    const double bounded = std::clamp(std::floor(level), -1.0, 255.0);
    chooseByGray(to, static_cast<int>(bounded), colours);
}

void thresholdByOtsu(ConstPixels from, Pixels to, TwoColours colours)
{
    if (from.isEmpty())
        return;
    checkBuffers(from.width(), from.height());
    const Histogram histogram = grayWithHistogram(from, _src_gray);
    chooseByGray(to, otsuLevel(histogram, from.width(), from.height()), colours);
}

void thresholdByNeighbours(ConstPixels from, Pixels to, TwoColours colours)
{
    if (from.isEmpty())
        return;
    checkBuffers(from.width(), from.height());
    gray(from, _src_gray);
    decideByNeighbours(_src_gray, to, colours);
}

} // namespace kivra

void KvThreshold(QImage *image, int level, int method)
{
    const kivra::Pixels pixels = kivra::editablePixels(image);
    checkBuffers(pixels.width(), pixels.height());
    kivra::keepSource(pixels);
    switch (method) {
    case 0:
        kivra::thresholdAt(pixels, pixels, level * 2.55, kivra::blackAndWhite);
        break;
    case 1:
        kivra::thresholdByOtsu(pixels, pixels, kivra::blackAndWhite);
        break;
    case 2:
    case 3:
        kivra::thresholdByNeighbours(pixels, pixels, kivra::blackAndWhite);
        break;
    default:
        kivra::gray(pixels, _src_gray);
        if (_dst.type() == CV_8UC1 && _dst.size() == _src.size())
            kivra::showGray(_dst, pixels);
        return;
    }
    kivra::copyBlue(pixels, _dst);
}
