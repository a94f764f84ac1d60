#include "processing/buffers.h"
#include "processing/colourcopy.h"
#include "processing/finish.h"
#include "processing/parallel.h"
#include "processing/rendering.h"
#include "processing/threshold.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace kivra {

namespace {

// The value plane to the middle of its eighth.
void quantizeValue(cv::Mat &hsv)
{
    for (int y = 0; y < hsv.rows; ++y) {
        std::uint8_t *row = hsv.ptr(y);
        for (int i = 2; i < 3 * hsv.cols; i += 3)
            row[i] = static_cast<std::uint8_t>((row[i] & 0xE0U) + 16);
    }
}

// Three levels, unevenly cut.
Finish::Tone threeLevels()
{
    Finish::Tone table{};
    std::fill(table.begin() + 64, table.begin() + 161, std::uint8_t{127});
    std::fill(table.begin() + 161, table.end(), std::uint8_t{255});
    return table;
}

} // namespace

void posterize(ConstPixels from, Pixels to, const Finish &finish)
{
    if (from.isEmpty())
        return;
    checkBuffers(from.width(), from.height());
    // OpenCV's way back from HSV rounds the last columns of a row otherwise than the others, so
    // rows stay whole; a few at a time stay in the cache.
    constexpr int strip = 4;
    forBands(from.width(), from.height(), [&](int begin, int end) {
        cv::Mat hsv;
        for (int y = begin; y < end; y += strip) {
            const int next = std::min(y + strip, end);
            cv::cvtColor(from.matrix(y, next), hsv, cv::COLOR_BGR2HSV);
            quantizeValue(hsv);
            cv::Mat rows = to.matrix(y, next);
            cv::cvtColor(hsv, rows, cv::COLOR_HSV2BGR, 4);
            for (int row = y; row < next; ++row)
                finish.row(to.row(row), to.row(row), to.width());
        }
    });
}

} // namespace kivra

void KvPosterize(QImage *image, int n)
{
    Q_UNUSED(n)
    const kivra::Pixels pixels = kivra::editablePixels(image);
    checkBuffers(pixels.width(), pixels.height());
    kivra::posterize(pixels, pixels, kivra::Finish());
    kivra::keepSource(pixels);
}

void KvPosterize1(QImage *image, int n)
{
    Q_UNUSED(n)
    const kivra::Pixels pixels = kivra::editablePixels(image);
    checkBuffers(pixels.width(), pixels.height());
    kivra::applyFinish(pixels, pixels, kivra::Finish().after(kivra::threeLevels()));
    kivra::keepSource(pixels);
}
