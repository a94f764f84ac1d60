#include "render/histogram.h"

#include "render/parallel.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <functional>
#include <mutex>
#include <numeric>

namespace kivra {

namespace {

// Neighbouring pixels are often equal, and reloading a count that has just been stored is slow, so
// neighbours are counted in different histograms.
constexpr int ways = 8;
using Histograms = std::array<Histogram, ways>;

void countBytes(const std::uint8_t *bytes, std::ptrdiff_t n, std::ptrdiff_t step, Histograms &parts)
{
    std::ptrdiff_t i = 0;
    for (; i + ways <= n; i += ways) {
        for (int way = 0; way < ways; ++way)
            ++parts[static_cast<std::size_t>(way)][bytes[(i + way) * step]];
    }
    for (; i < n; ++i)
        ++parts[0][bytes[i * step]];
}

// The histogram of the bytes, \a step apart, that \a bytesOf gives for each row.
template<typename BytesOf>
Histogram count(ConstPixels pixels, int threads, std::ptrdiff_t step, const BytesOf &bytesOf)
{
    Histogram total{};
    std::mutex totalMutex;
    forBands(threads, pixels.width, pixels.height, [&](Span rows) {
        Histograms parts{};
        for (int y = rows.begin; y < rows.end; ++y)
            countBytes(bytesOf(y), pixels.width, step, parts);
        const std::lock_guard lock(totalMutex);
        for (const Histogram &part : parts)
            std::transform(part.begin(), part.end(), total.begin(), total.begin(), std::plus<>());
    });
    return total;
}

std::uint32_t pixelCount(const Histogram &histogram)
{
    return std::accumulate(histogram.begin(), histogram.end(), 0U);
}

} // namespace

Histogram blueHistogram(ConstPixels pixels, int threads)
{
    return count(pixels, threads, sizeof(Pixel),
                 [&](int y) { return reinterpret_cast<const std::uint8_t *>(pixels.row(y)); });
}

void fillPlane(ConstPixels pixels, PlaneKernel kernel, cv::Mat &plane, int threads)
{
    plane.create(pixels.height, pixels.width, CV_8UC1);
    forBands(threads, pixels.width, pixels.height, [&](Span rows) {
        for (int y = rows.begin; y < rows.end; ++y)
            kernel(pixels.row(y), plane.ptr(y), pixels.width);
    });
}

Histogram fillPlaneAndCount(ConstPixels pixels, PlaneKernel kernel, cv::Mat &plane, int threads)
{
    plane.create(pixels.height, pixels.width, CV_8UC1);
    return count(pixels, threads, 1, [&](int y) {
        kernel(pixels.row(y), plane.ptr(y), pixels.width);
        return plane.ptr(y);
    });
}

std::pair<int, int> endsOf(const Histogram &histogram)
{
    const auto threshold = static_cast<float>(pixelCount(histogram) * 0.001);
    const auto exceeds = [&](std::uint32_t count) { return static_cast<float>(count) > threshold; };
    const auto low = std::find_if(histogram.begin(), histogram.end(), exceeds);
    const auto high = std::find_if(histogram.rbegin(), histogram.rend(), exceeds);
    return {static_cast<int>(low - histogram.begin()),
            static_cast<int>(histogram.rend() - high) - 1};
}

ByteTable equalizationTable(const Histogram &histogram)
{
    const std::uint32_t total = pixelCount(histogram);
    ByteTable table{};
    std::size_t level = 0;
    while (histogram[level] == 0)
        ++level;
    if (histogram[level] == total) {
        table.fill(static_cast<std::uint8_t>(level));
        return table;
    }
    const float scale = 255.0F / static_cast<float>(total - histogram[level]);
    int sum = 0;
    for (++level; level < table.size(); ++level) {
        sum += static_cast<int>(histogram[level]);
        const float share = static_cast<float>(sum) * scale;
        table[level] = static_cast<std::uint8_t>(std::min(std::lrint(share), 255L));
    }
    return table;
}

// The order of the operations is OpenCV's, because the last bits decide between equal levels.
int otsuLevel(const Histogram &histogram)
{
    constexpr auto negligible = static_cast<double>(FLT_EPSILON);
    const double share = 1.0 / pixelCount(histogram);
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

} // namespace kivra
