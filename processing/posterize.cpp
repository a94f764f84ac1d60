#include "processing/buffers.h"
#include "processing/colourcopy.h"
#include "processing/finish.h"
#include "processing/parallel.h"
#include "processing/rendering.h"
#include "processing/threshold.h"

#include <algorithm>
#include <array>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace kivra {

namespace {

constexpr int hues = 180;
constexpr int saturations = 256;
constexpr int eighths = 8;

std::uint8_t middleOfEighth(int eighth)
{
    return static_cast<std::uint8_t>(32 * eighth + 16);
}

// Every HSV colour with a value that posterisation leaves, sent back by OpenCV itself: where its
// code for vectors and its code for the rest of a row differ, these are the vectors' results.
class PosterColours
{
public:
    PosterColours()
        : words(static_cast<std::size_t>(eighths) * hues * saturations)
    {
        cv::Mat hsv(eighths * hues, saturations, CV_8UC3);
        for (int y = 0; y < hsv.rows; ++y) {
            for (int x = 0; x < saturations; ++x)
                hsv.at<cv::Vec3b>(y, x) = {static_cast<std::uint8_t>(y % hues),
                                           static_cast<std::uint8_t>(x), middleOfEighth(y / hues)};
        }
        cv::Mat result(hsv.rows, hsv.cols, CV_8UC4, words.data());
        cv::cvtColor(hsv, result, cv::COLOR_HSV2BGR, 4);
    }
    Pixel operator[](std::size_t place) const { return words[place]; }

private:
    std::vector<Pixel> words;
};

// The same for the columns from \a first on, with OpenCV's own calls. Their last columns are then
// the last of a row for OpenCV, too.
void posterizeRest(ConstPixels from, Pixels to, int begin, int end, int first)
{
    cv::Mat hsv;
    cv::cvtColor(from.matrix(begin, end).colRange(first, from.width()), hsv, cv::COLOR_BGR2HSV);
    for (int y = 0; y < hsv.rows; ++y) {
        std::uint8_t *row = hsv.ptr(y);
        for (int i = 2; i < 3 * hsv.cols; i += 3)
            row[i] = middleOfEighth(row[i] / 32);
    }
    cv::Mat rest = to.matrix(begin, end).colRange(first, to.width());
    cv::cvtColor(hsv, rest, cv::COLOR_HSV2BGR, 4);
}

void posterizeRow(const Pixel *from, Pixel *to, int n, const PosterColours &colours)
{
    constexpr int piece = 256;
    std::array<std::uint32_t, piece> places;
    for (int done = 0; done < n; done += piece) {
        const int count = std::min(piece, n - done);
        kernels().hsvPlace(from + done, places.data(), count);
        for (int i = 0; i < count; ++i)
            to[done + i] = colours[places[static_cast<std::size_t>(i)]];
    }
}

// Three levels, unevenly cut.
Tone threeLevels()
{
    Tone tone{};
    std::array<std::uint8_t, 256> &table = tone.table;
    std::fill(table.begin() + 64, table.begin() + 161, std::uint8_t{127});
    std::fill(table.begin() + 161, table.end(), std::uint8_t{255});
    return tone;
}

} // namespace

void posterize(ConstPixels from, Pixels to, const Finish &finish)
{
    if (from.isEmpty())
        return;
    checkBuffers(from.width(), from.height());
    static const PosterColours colours;
    // OpenCV's way back from HSV rounds the last columns of a row, less than a vector, otherwise
    // than the others. Its vectors have at most this many pixels.
    constexpr int vector = 64;
    const int inVectors = from.width() / vector * vector;
    forBands(from.width(), from.height(), [&](int begin, int end) {
        if (inVectors < from.width())
            posterizeRest(from, to, begin, end, inVectors);
        for (int y = begin; y < end; ++y) {
            posterizeRow(from.row(y), to.row(y), inVectors, colours);
            finish.opaqueRow(to.row(y), to.width());
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
