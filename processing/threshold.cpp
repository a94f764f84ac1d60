#include "processing/threshold.h"

#include "processing/inplace.h"
#include "render/histogram.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

using namespace kivra;

namespace {

// The picture in black and white and _dst with it, _src_gray with what is compared.
void threshold(Pixels pixels, int level, int method)
{
    cv::Mat words = pixels.matrix();
    switch (method) {
    case 1:
        paintOver(pixels, 3, {}, &_src_gray);
        cv::extractChannel(words, _dst, 0);
        break;
    case 2:
    case 3:
        paintOver(pixels, 4, {}, &_src_gray);
        cv::extractChannel(words, _dst, 0);
        cv::medianBlur(_src_gray, _src_gray, 3);
        break;
    default:
        fillPlane(pixels, kernels().grey, _src_gray, allThreads());
        // Beyond these bounds OpenCV's conversion of the level to an integer is undefined.
        if (method == 0)
            cv::threshold(_src_gray, _dst, std::clamp(level * 2.55, -1.0, 255.0), 255.0,
                          cv::THRESH_BINARY);
        if (_dst.type() == CV_8UC1 && _dst.size() == words.size())
            cv::cvtColor(_dst, words, cv::COLOR_GRAY2BGRA);
        break;
    }
}

// Three levels, unevenly cut.
Finish threeLevels()
{
    ByteTable table{};
    std::fill(table.begin() + 64, table.begin() + 161, std::uint8_t{127});
    std::fill(table.begin() + 161, table.end(), std::uint8_t{255});
    return {Tone(table), Finish::Effect::None};
}

} // namespace

void KvThreshold(QImage *image, int level, int method)
{
    checkBuffers(image->width(), image->height());
    changeInPlace(image, [&](Pixels pixels) {
        _src = qimage_to_mat_cpy(*image, CV_8UC3);
        threshold(pixels, level, method);
    });
}

void KvPosterize(QImage *image, int)
{
    checkBuffers(image->width(), image->height());
    changeInPlace(image, [&](Pixels pixels) {
        paintOver(pixels, 6);
        _src = qimage_to_mat_cpy(*image, CV_8UC3);
    });
}

void KvPosterize1(QImage *image, int)
{
    checkBuffers(image->width(), image->height());
    changeInPlace(image, [&](Pixels pixels) {
        paintOver(pixels, 0, threeLevels());
        _src = qimage_to_mat_cpy(*image, CV_8UC3);
    });
}
