#include "tests/reference/reference.h"
#include "tests/reference/words.h"

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace kivra::reference {

namespace {

int limited(int value)
{
    if (value < 0)
        return 0;
    if (value > 255)
        return 255;
    return value;
}

} // namespace

QImage applyLut(const QImage &picture, const Lut &lut)
{
    return eachPixel(picture, [&](int red, int green, int blue) {
        return word(lut.at(size_t(red)), lut.at(size_t(green)), lut.at(size_t(blue)));
    });
}

Lut brightnessContrastLut(int lumiere, int contraste)
{
    Lut lut{};
    for (int i = 0; i < 256; ++i) {
        const float factor = float(contraste) / 100.0F;
        const float moved = float(qint64(i) + lumiere - 128);
        const float gained = moved * factor;
        const float value = gained + 128.0F;
        if (value >= 256.0F)
            lut.at(size_t(i)) = 255;
        else if (value <= -1.0F)
            lut.at(size_t(i)) = 0;
        else
            lut.at(size_t(i)) = limited(int(value));
    }
    return lut;
}

Lut lineLut(int low, int high)
{
    Lut lut{};
    if (low == high)
        return lut;
    for (int i = 0; i < 256; ++i) {
        const double value = (double(i) - double(low)) * 255.0 / (double(high) - double(low));
        const double whole = std::trunc(value);
        if (whole < 0)
            lut.at(size_t(i)) = 0;
        else if (whole < 256)
            lut.at(size_t(i)) = int(whole);
        else
            lut.at(size_t(i)) = 255;
    }
    return lut;
}

QImage stretch(const QImage &picture)
{
    if (picture.isNull())
        return picture;
    const cv::Mat source = colours(picture);
    const int channels[] = {0, 1, 2};
    const int bins[] = {256};
    const float range[] = {0, 256};
    const float *ranges[] = {range};
    cv::Mat histogram;
    cv::calcHist(&source, 1, channels, cv::Mat(), histogram, 1, bins, ranges, true, false);
    const float threshold = float((picture.width() * picture.height()) * 0.001);
    int low = 255;
    for (int i = 0; i <= 255; ++i) {
        if (low == 255 && histogram.at<float>(i) > threshold)
            low = i;
    }
    int high = 0;
    for (int i = 255; i >= 0; --i) {
        if (high == 0 && histogram.at<float>(i) > threshold)
            high = i;
    }
    return applyLut(picture, lineLut(low, high));
}

QImage equalize(const QImage &picture)
{
    if (picture.isNull())
        return picture;
    cv::Mat luma;
    cv::cvtColor(colours(picture), luma, cv::COLOR_BGR2YCrCb);
    std::vector<cv::Mat> planes;
    cv::split(luma, planes);
    cv::equalizeHist(planes[0], planes[0]);
    cv::merge(planes, luma);
    cv::Mat result;
    cv::cvtColor(luma, result, cv::COLOR_YCrCb2BGR);
    return fromColours(picture, result);
}

} // namespace kivra::reference
