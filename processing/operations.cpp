#include "processing/operations.h"

#include "processing/buffers.h"
#include "render/histogram.h"
#include "render/modes.h"
#include "render/parallel.h"

#include <algorithm>
#include <exception>
#include <numeric>
#include <opencv2/imgproc.hpp>
#include <vector>

using namespace kivra;

namespace {

constexpr int levels = 256;

// Calls \a change with the picture's pixels, if it has any. Catches what OpenCV and the standard
// library throw when memory is short.
template<typename Change>
void changeInPlace(QImage *image, const Change &change)
{
    const Pixels pixels = editablePixels(image);
    if (pixels.isEmpty())
        return;
    try {
        change(pixels);
    } catch (const std::exception &) {
        return;
    }
}

// paint() in place, on all cores. \a plane is the mode's scratch.
void paintOver(Pixels pixels, int mode, const Finish &finish = Finish(), cv::Mat plane = {})
{
    paint({pixels, pixels, allThreads(), plane}, mode, finish);
}

// A mode and its finish, with the result in _src.
void paintAndKeep(QImage *image, int mode, const Finish &finish = Finish())
{
    checkBuffers(image->width(), image->height());
    changeInPlace(image, [&](Pixels pixels) {
        paintOver(pixels, mode, finish);
        _src = qimage_to_mat_cpy(*image, CV_8UC3);
    });
}

// Makes the picture black and white and _dst with it; _src_gray keeps the levels compared.
void threshold(Pixels pixels, int level, int method)
{
    const bool isByNeighbours = method == 2 || method == 3;
    cv::Mat words = pixels.matrix();
    fillPlane(pixels, kernels().grey, _src_gray, allThreads());
    if (method == 1 || isByNeighbours) {
        paintOver(pixels, isByNeighbours ? 4 : 3);
        cv::extractChannel(words, _dst, 0);
        if (isByNeighbours)
            cv::medianBlur(_src_gray, _src_gray, 3);
        return;
    }
    // Beyond these bounds, OpenCV's conversion of the level to an integer is undefined.
    if (method == 0)
        cv::threshold(_src_gray, _dst, std::clamp(level * 2.55, -1.0, 255.0), 255.0,
                      cv::THRESH_BINARY);
    if (_dst.type() == CV_8UC1 && _dst.size() == words.size())
        cv::cvtColor(_dst, words, cv::COLOR_GRAY2BGRA);
}

void equalize(const cv::Mat &from, cv::Mat &to)
{
    cv::cvtColor(from, to, cv::COLOR_BGR2YCrCb);
    std::vector<cv::Mat> planes;
    cv::split(to, planes);
    cv::equalizeHist(planes[0], planes[0]);
    cv::merge(planes, to);
    cv::cvtColor(to, to, cv::COLOR_YCrCb2BGR);
}

void fill(int *lut, const Tone &tone)
{
    std::copy(tone.table().begin(), tone.table().end(), lut);
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
    paintAndKeep(image, 6);
}

void KvPosterize1(QImage *image, int)
{
    ByteTable unevenLevels{};
    std::fill(unevenLevels.begin() + 64, unevenLevels.begin() + 161, std::uint8_t{127});
    std::fill(unevenLevels.begin() + 161, unevenLevels.end(), std::uint8_t{255});
    paintAndKeep(image, 0, Finish(Tone(unevenLevels)));
}

void ColorEqualizeHist(cv::Mat src, cv::Mat dst)
{
    if (src.empty() || src.type() != CV_8UC3 || dst.type() != CV_8UC3 || dst.size() != src.size())
        return;
    try {
        equalize(src, dst);
    } catch (const std::exception &) {
        return;
    }
}

void KvEqualizeHist(QImage *image)
{
    paintAndKeep(image, 2);
}

void KvStretchHist(QImage *image)
{
    checkBuffers(image->width(), image->height());
    changeInPlace(image, [&](Pixels pixels) {
        _src = qimage_to_mat_cpy(*image, CV_8UC3);
        paintOver(pixels, 1);
    });
}

void CalculerLut(int *lut, int lumiere, int contraste)
{
    fill(lut, brightnessTone(lumiere, contraste));
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

void AppliquerLut(QImage *image, int *lut)
{
    ByteTable table{};
    std::transform(lut, lut + levels, table.begin(),
                   [](int level) { return static_cast<std::uint8_t>(level); });
    changeInPlace(image, [&](Pixels pixels) { paintOver(pixels, 0, Finish(Tone(table))); });
}

void fBicolore(QImage *image, unsigned int darkColour, unsigned int lightColour)
{
    const Finish finish(brightnessTone(0, 100), Finish::Effect::TwoColours,
                        {darkColour, lightColour});
    changeInPlace(image, [&](Pixels pixels) { paintOver(pixels, 0, finish); });
}
