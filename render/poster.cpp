#include "render/poster.h"

#include <algorithm>
#include <array>
#include <opencv2/imgproc.hpp>

namespace kivra {

namespace {

constexpr int hues = 180;
constexpr int saturations = 256;
constexpr int eighths = 8;

// At least as many pixels as any vector of OpenCV holds.
constexpr int vector = 64;

std::uint8_t middleOfEighth(int eighth)
{
    return static_cast<std::uint8_t>(32 * eighth + 16);
}

// All HSV colours that posterising can yield, converted by OpenCV's vector code (its scalar code
// for the end of a row rounds differently).
std::vector<Pixel> convertedColours()
{
    std::vector<Pixel> words(std::size_t{eighths} * hues * saturations);
    cv::Mat hsv(eighths * hues, saturations, CV_8UC3);
    for (int y = 0; y < hsv.rows; ++y) {
        for (int x = 0; x < saturations; ++x)
            hsv.at<cv::Vec3b>(y, x) = {static_cast<std::uint8_t>(y % hues),
                                       static_cast<std::uint8_t>(x), middleOfEighth(y / hues)};
    }
    cv::Mat result(hsv.rows, hsv.cols, CV_8UC4, words.data());
    cv::cvtColor(hsv, result, cv::COLOR_HSV2BGR, 4);
    return words;
}

// The last columns of each row, too few for a vector, converted by OpenCV's own calls: there, too,
// they are the end of a row. A few rows at a time, so that OpenCV neither allocates nor wakes a
// thread.
void posterizeEnds(ConstPixels from, Pixels to, Span rows, int first)
{
    constexpr int most = 64;
    std::array<std::uint8_t, std::size_t{most} * vector * 3> bytes;
    const cv::Range columns(first, from.width);
    for (int y = rows.begin; y < rows.end; y += most) {
        const Span few{y, std::min(y + most, rows.end)};
        cv::Mat hsv(few.end - few.begin, columns.size(), CV_8UC3, bytes.data());
        cv::cvtColor(from.matrix(few).colRange(columns), hsv, cv::COLOR_BGR2HSV);
        const auto count = static_cast<std::size_t>(hsv.total()) * 3;
        for (std::size_t i = 2; i < count; i += 3)
            bytes[i] = middleOfEighth(bytes[i] / 32);
        cv::Mat ends = to.matrix(few).colRange(columns);
        cv::cvtColor(hsv, ends, cv::COLOR_HSV2BGR, 4);
    }
}

} // namespace

const std::vector<Pixel> &posterColours()
{
    static const std::vector<Pixel> colours = convertedColours();
    return colours;
}

void posterize(ConstPixels from, Pixels to, Span rows)
{
    constexpr int piece = 256;
    const std::vector<Pixel> &colours = posterColours();
    const int inVectors = from.width / vector * vector;
    if (inVectors < from.width)
        posterizeEnds(from, to, rows, inVectors);
    std::array<std::uint32_t, piece> places;
    for (int y = rows.begin; y < rows.end; ++y) {
        for (int done = 0; done < inVectors; done += piece) {
            const int count = std::min(piece, inVectors - done);
            Pixel *const words = to.row(y) + done;
            for (int i = 0; i < count; i += 16)
                __builtin_prefetch(words + i, 1); // while hsvPlace() computes
            kernels().hsvPlace(from.row(y) + done, places.data(), count);
            for (int i = 0; i < count; ++i)
                words[i] = colours[places[static_cast<std::size_t>(i)]];
        }
    }
}

} // namespace kivra
