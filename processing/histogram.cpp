#include "processing/histogram.h"

#include "processing/buffers.h"
#include "processing/colourcopy.h"
#include "processing/counts.h"
#include "processing/lut.h"
#include "processing/parallel.h"
#include "processing/rendering.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace kivra {

namespace {

// The table from the first to the last level that more than 0.1 % of the pixels have.
Tone stretchTable(const Histogram &histogram, int width, int height)
{
    const auto threshold = static_cast<float>(width * height * 0.001);
    const auto exceeds = [&](std::uint32_t count) { return static_cast<float>(count) > threshold; };
    const auto low = std::find_if(histogram.begin(), histogram.end(), exceeds);
    const auto high = std::find_if(histogram.rbegin(), histogram.rend(), exceeds);
    const auto first = static_cast<int>(low - histogram.begin());
    const auto last = static_cast<int>(histogram.rend() - high) - 1;
    std::array<int, 256> lut{};
    CreerLut(lut.data(), 2, first, last);
    const double slope = first == last ? 0 : 255.0 / (last - first);
    return toneOf(lut.data(), slope, -first * slope);
}

// OpenCV's equalisation: the levels below and at the darkest one become 0, each other one its share
// of 255, by the number of pixels above the darkest level that are not brighter. A picture of one
// level keeps it.
ByteTable equalizationTable(const Histogram &histogram)
{
    std::uint32_t total = 0;
    for (std::uint32_t count : histogram)
        total += count;
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

} // namespace

void stretch(ConstPixels from, Pixels to, const Finish &finish)
{
    if (from.isEmpty())
        return;
    checkBuffers(from.width(), from.height());
    const Tone table = stretchTable(blueHistogram(from), from.width(), from.height());
    applyFinish(from, to, finish.after(table));
}

void equalize(ConstPixels from, Pixels to, const Finish &finish)
{
    if (from.isEmpty())
        return;
    checkBuffers(from.width(), from.height());
    const auto table = equalizationTable(lumaWithHistogram(from, _src_gray));
    forBands(from.width(), from.height(), [&](int begin, int end) {
        const Kernels &kernel = kernels();
        std::vector<std::uint8_t> lit(static_cast<std::size_t>(from.width()));
        for (int y = begin; y < end; ++y) {
            const std::uint8_t *luma = _src_gray.ptr(y);
            kernel.lookUp(luma, lit.data(), from.width(), table);
            kernel.relight(from.row(y), luma, lit.data(), to.row(y), from.width());
            finish.opaqueRow(to.row(y), to.width());
        }
    });
}

} // namespace kivra

void ColorEqualizeHist(cv::Mat src, cv::Mat dst)
{
    if (src.empty() || src.type() != CV_8UC3 || dst.type() != CV_8UC3 || dst.size() != src.size())
        return;
    cv::cvtColor(src, dst, cv::COLOR_BGR2YCrCb);
    std::vector<cv::Mat> planes;
    cv::split(dst, planes);
    cv::equalizeHist(planes[0], planes[0]);
    cv::merge(planes, dst);
    cv::cvtColor(dst, dst, cv::COLOR_YCrCb2BGR);
}

void KvEqualizeHist(QImage *image)
{
    const kivra::Pixels pixels = kivra::editablePixels(image);
    checkBuffers(pixels.width(), pixels.height());
    kivra::equalize(pixels, pixels, kivra::Finish());
    kivra::keepSource(pixels);
}

void KvStretchHist(QImage *image)
{
    const kivra::Pixels pixels = kivra::editablePixels(image);
    checkBuffers(pixels.width(), pixels.height());
    kivra::keepSource(pixels);
    kivra::stretch(pixels, pixels, kivra::Finish());
}
