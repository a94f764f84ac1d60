#include "render/neighbours.h"

#include "render/kernels/kernels.h"

#include <algorithm>
#include <array>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

namespace kivra {

namespace {

// The kernels that sum as OpenCV's active code does; null if the active version has none.
const Kernels *matchingKernels()
{
#if defined(__x86_64__)
    if (!cv::checkHardwareSupport(CV_CPU_AVX2))
        return kernels().isa == Isa::Avx2 ? &kernelsFor(Isa::Sse41) : &kernels();
    if (kernels().isa == Isa::Avx2)
        return &kernels();
#endif
    return nullptr;
}

const MeanWeights &meanWeights()
{
    static const MeanWeights weights = [] {
        const cv::Mat kernel = cv::getGaussianKernel(meanTaps, 0, CV_32F);
        MeanWeights values{};
        std::copy_n(kernel.ptr<float>(), values.size(), values.begin());
        return values;
    }();
    return weights;
}

// A band of the picture, in a few rows that stay in the second-level cache. Grey rows become median
// rows, and median rows are summed along themselves. A row is decided as soon as the sums of the
// five rows below it exist.
class Band
{
public:
    Band(const cv::Mat &plane, TwoColours twoColours, const Kernels &kernels)
        : grey(plane)
        , colours(twoColours)
        , kernel(kernels)
        , greys(3, plane.cols + 2 * margin, CV_8UC1)
        , medians(depth, greys.cols, CV_8UC1)
        , floats(1, greys.cols, CV_32FC1)
        , sums(depth, greys.cols, CV_32FC1)
    {
    }

    void decide(Pixels to, Span rows)
    {
        const int last = std::min(rows.end + meanReach, grey.rows);
        int next = rows.begin;
        for (int y = std::max(rows.begin - meanReach, 0); y < last; ++y) {
            takeRow(y);
            if (y - meanReach >= rows.begin)
                decideRow(to, next++);
        }
        while (next < rows.end)
            decideRow(to, next++);
    }

private:
    // Rows kept: those that a decision needs, and the one in the making.
    static constexpr int depth = meanTaps + 1;
    static constexpr int margin = 16; // more than meanReach, and keeps rows aligned

    template<typename Value>
    static Value *columnZero(cv::Mat &ring, int y)
    {
        return ring.ptr<Value>(y % ring.rows) + margin;
    }
    int clampedRow(int y) const { return std::clamp(y, 0, grey.rows - 1); }

    // Beyond the sides of the picture, a row repeats its outermost value.
    void repeatSides(std::uint8_t *row, int reach) const
    {
        std::fill(row - reach, row, row[0]);
        std::fill(row + grey.cols, row + grey.cols + reach, row[grey.cols - 1]);
    }

    const std::uint8_t *greyRow(int line, int y)
    {
        auto *const row = columnZero<std::uint8_t>(greys, line);
        std::copy_n(grey.ptr(clampedRow(y)), grey.cols, row);
        repeatSides(row, 1);
        return row;
    }

    void takeRow(int y)
    {
        auto *const values = columnZero<std::uint8_t>(medians, y);
        kernel.median(greyRow(0, y - 1), greyRow(1, y), greyRow(2, y + 1), values, grey.cols);
        repeatSides(values, meanReach);
        kernel.meanAcross(values, columnZero<float>(floats, 0), columnZero<float>(sums, y),
                          grey.cols, meanWeights());
    }

    void decideRow(Pixels to, int y)
    {
        std::array<const float *, meanTaps> rows{};
        for (int tap = 0; tap < meanTaps; ++tap)
            rows[static_cast<std::size_t>(tap)] =
                columnZero<float>(sums, clampedRow(y - meanReach + tap));
        kernel.decide(rows.data(), columnZero<std::uint8_t>(medians, y), to.row(y), grey.cols,
                      meanWeights(), colours);
    }

    const cv::Mat &grey;
    TwoColours colours;
    const Kernels &kernel;
    cv::Mat greys;
    cv::Mat medians;
    cv::Mat floats;
    cv::Mat sums;
};

void decideByLibrary(const cv::Mat &grey, Pixels to, Span rows, TwoColours colours)
{
    // At least the one row that the median reaches and the five that the mean reaches.
    constexpr int halo = 8;
    const int top = std::max(rows.begin - halo, 0);
    cv::Mat band;
    cv::medianBlur(grey.rowRange(top, std::min(rows.end + halo, grey.rows)), band, 3);
    cv::adaptiveThreshold(band, band, 255.0, cv::ADAPTIVE_THRESH_GAUSSIAN_C, cv::THRESH_BINARY,
                          meanTaps, 2.0);
    for (int y = rows.begin; y < rows.end; ++y)
        kernels().choose(band.ptr(y - top), to.row(y), to.width, 127, colours);
}

} // namespace

void decideByNeighbours(const cv::Mat &grey, Pixels to, Span rows, TwoColours colours)
{
    const Kernels *matching = matchingKernels();
    // OpenCV computes the mean of a single row or column in one dimension.
    if (matching && grey.rows > 1 && grey.cols > 1)
        Band(grey, colours, *matching).decide(to, rows);
    else
        decideByLibrary(grey, to, rows, colours);
}

} // namespace kivra
