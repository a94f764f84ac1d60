#include "render/neighbours.h"

#include "render/kernels/kernels.h"

#include <algorithm>
#include <array>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

namespace kivra {

namespace {

// The kernels that sum as OpenCV's active code does; null if the active version cannot.
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

// A rectangle of the picture small enough that all rows in the works stay in the first-level cache.
//
// Grey rows become median rows, median rows are summed along themselves, and as soon as the sums of
// the five rows below are there, a row is decided.
class Tile
{
public:
    Tile(const cv::Mat &plane, Span span, TwoColours twoColours, const Kernels &kernels)
        : grey(plane)
        , columns(span)
        , colours(twoColours)
        , kernel(kernels)
    {
    }

    static constexpr int widest = 512;

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
    // Rows in the works: those that a decision needs and the one that is being made.
    static constexpr int depth = meanTaps + 1;
    static constexpr int margin = 16; // more than meanReach, and keeps rows aligned
    template<typename Value>
    using Line = std::array<Value, widest + 2 * margin>;
    template<typename Value>
    using Ring = std::array<Line<Value>, depth>;

    template<typename Value>
    static Value *columnZero(Ring<Value> &ring, int y)
    {
        return ring[static_cast<std::size_t>(y % depth)].data() + margin;
    }
    int clampedRow(int y) const { return std::clamp(y, 0, grey.rows - 1); }

    // The grey row with one more column on either side of the part that the median is taken of.
    const std::uint8_t *greyRow(Line<std::uint8_t> &line, int y, Span part) const
    {
        const std::uint8_t *row = grey.ptr(clampedRow(y));
        const int left = std::max(part.begin - 1, 0);
        const int right = std::min(part.end + 1, grey.cols);
        std::uint8_t *first = line.data() + 1 + (left - part.begin);
        std::copy(row + left, row + right, first);
        if (part.begin == 0)
            line[0] = row[0];
        if (part.end == grey.cols)
            line[static_cast<std::size_t>(1 + part.end - part.begin)] = row[grey.cols - 1];
        return line.data() + 1;
    }

    // Median and sum along the row. At the picture's sides both repeat their last column, the sum
    // that of the median.
    void takeRow(int y)
    {
        const int width = columns.end - columns.begin;
        const Span part{std::max(columns.begin - meanReach, 0),
                        std::min(columns.end + meanReach, grey.cols)};
        std::uint8_t *values = columnZero(medians, y);
        const std::uint8_t *above = greyRow(greys[0], y - 1, part);
        const std::uint8_t *middle = greyRow(greys[1], y, part);
        const std::uint8_t *below = greyRow(greys[2], y + 1, part);
        kernel.median(above, middle, below, values + (part.begin - columns.begin),
                      part.end - part.begin);
        repeatSides(values, part);
        kernel.meanAcross(values, floats.data() + margin, columnZero(sums, y), width,
                          meanWeights());
    }

    void repeatSides(std::uint8_t *values, Span part) const
    {
        const int first = part.begin - columns.begin;
        const int end = part.end - columns.begin;
        const int width = columns.end - columns.begin;
        std::fill(values - meanReach, values + first, values[first]);
        std::fill(values + end, values + width + meanReach, values[end - 1]);
    }

    void decideRow(Pixels to, int y)
    {
        std::array<const float *, meanTaps> rows{};
        for (int tap = 0; tap < meanTaps; ++tap)
            rows[static_cast<std::size_t>(tap)] = columnZero(sums, clampedRow(y - meanReach + tap));
        kernel.decide(rows.data(), columnZero(medians, y), to.row(y) + columns.begin,
                      columns.end - columns.begin, meanWeights(), colours);
    }

    const cv::Mat &grey;
    Span columns;
    TwoColours colours;
    const Kernels &kernel;
    std::array<Line<std::uint8_t>, 3> greys;
    Line<float> floats;
    alignas(64) Ring<std::uint8_t> medians;
    alignas(64) Ring<float> sums;
};

void decideInTiles(const cv::Mat &grey, Pixels to, Span rows, TwoColours colours,
                   const Kernels &kernels)
{
    for (int left = 0; left < grey.cols; left += Tile::widest) {
        const Span columns{left, std::min(left + Tile::widest, grey.cols)};
        Tile(grey, columns, colours, kernels).decide(to, rows);
    }
}

void decideByLibrary(const cv::Mat &grey, Pixels to, Span rows, TwoColours colours)
{
    // One row of the median, five of the mean.
    constexpr int halo = 8;
    const int top = std::max(rows.begin - halo, 0);
    cv::Mat band;
    cv::medianBlur(grey.rowRange(top, std::min(rows.end + halo, grey.rows)), band, 3);
    cv::adaptiveThreshold(band, band, 255.0, cv::ADAPTIVE_THRESH_GAUSSIAN_C, cv::THRESH_BINARY,
                          meanTaps, 2.0);
    for (int y = rows.begin; y < rows.end; ++y)
        kernels().choose(band.ptr(y - top), to.row(y), to.width(), 127, colours);
}

} // namespace

void decideByNeighbours(const cv::Mat &grey, Pixels to, Span rows, TwoColours colours)
{
    const Kernels *matching = matchingKernels();
    // OpenCV's mean of a single row or column is one-dimensional.
    if (matching && grey.rows > 1 && grey.cols > 1)
        decideInTiles(grey, to, rows, colours, *matching);
    else
        decideByLibrary(grey, to, rows, colours);
}

} // namespace kivra
