#include "processing/counts.h"

#include "processing/kernels/kernels.h"
#include "processing/parallel.h"

#include <mutex>

namespace kivra {

namespace {

// Counts bytes. Neighbouring pixels are often equal, and a count that has just been stored is slow
// to load again, so they go to different histograms.
class Counter
{
public:
    void add(const std::uint8_t *bytes, std::ptrdiff_t n, std::ptrdiff_t step)
    {
        std::ptrdiff_t i = 0;
        for (; i + ways <= n; i += ways) {
            for (int way = 0; way < ways; ++way)
                ++parts[static_cast<std::size_t>(way)][bytes[(i + way) * step]];
        }
        for (; i < n; ++i)
            ++parts[0][bytes[i * step]];
    }
    void addTo(Histogram &total) const
    {
        for (const Histogram &part : parts) {
            for (std::size_t level = 0; level < total.size(); ++level)
                total[level] += part[level];
        }
    }

private:
    static constexpr int ways = 8;
    std::array<Histogram, ways> parts{};
};

// The histogram of what \a countRow adds for each row.
template<typename CountRow>
Histogram histogramOf(ConstPixels pixels, const CountRow &countRow)
{
    Histogram total{};
    std::mutex totalMutex;
    forBands(pixels.width(), pixels.height(), [&](int begin, int end) {
        Counter counter;
        for (int y = begin; y < end; ++y)
            countRow(y, counter);
        const std::lock_guard lock(totalMutex);
        counter.addTo(total);
    });
    return total;
}

} // namespace

Histogram blueHistogram(ConstPixels pixels)
{
    return histogramOf(pixels, [&](int y, Counter &counter) {
        const auto *bytes = reinterpret_cast<const std::uint8_t *>(pixels.row(y));
        counter.add(bytes, pixels.width(), sizeof(Pixel));
    });
}

Histogram lumaWithHistogram(ConstPixels pixels, cv::Mat &plane)
{
    plane.create(pixels.height(), pixels.width(), CV_8UC1);
    return histogramOf(pixels, [&](int y, Counter &counter) {
        kernels().luma(pixels.row(y), plane.ptr(y), pixels.width());
        counter.add(plane.ptr(y), pixels.width(), 1);
    });
}

Histogram grayWithHistogram(ConstPixels pixels, cv::Mat &plane)
{
    plane.create(pixels.height(), pixels.width(), CV_8UC1);
    return histogramOf(pixels, [&](int y, Counter &counter) {
        kernels().gray(pixels.row(y), plane.ptr(y), pixels.width());
        counter.add(plane.ptr(y), pixels.width(), 1);
    });
}

void gray(ConstPixels pixels, cv::Mat &plane)
{
    plane.create(pixels.height(), pixels.width(), CV_8UC1);
    forBands(pixels.width(), pixels.height(), [&](int begin, int end) {
        for (int y = begin; y < end; ++y)
            kernels().gray(pixels.row(y), plane.ptr(y), pixels.width());
    });
}

} // namespace kivra
