#include "tests/reference/reference.h"
#include "tests/reference/words.h"

#include <opencv2/imgproc.hpp>
#include <vector>

namespace kivra::reference {

QImage threshold(const QImage &picture, int level, int method)
{
    if (picture.isNull())
        return picture;
    cv::Mat grey;
    cv::cvtColor(colours(picture), grey, cv::COLOR_BGR2GRAY);
    cv::Mat result;
    switch (method) {
    case 0:
        cv::threshold(grey, result, level * 2.55, 255.0, cv::THRESH_BINARY);
        break;
    case 1:
        cv::threshold(grey, result, 0.0, 255.0, cv::THRESH_OTSU);
        break;
    default:
        cv::medianBlur(grey, grey, 3);
        cv::adaptiveThreshold(grey, result, 255.0, cv::ADAPTIVE_THRESH_GAUSSIAN_C,
                              cv::THRESH_BINARY, 11, 2.0);
        break;
    }
    return fromGrey(picture, result);
}

QImage posterize(const QImage &picture)
{
    if (picture.isNull())
        return picture;
    cv::Mat hsv;
    cv::cvtColor(colours(picture), hsv, cv::COLOR_BGR2HSV);
    std::vector<cv::Mat> planes;
    cv::split(hsv, planes);
    for (int y = 0; y < hsv.rows; ++y) {
        for (int x = 0; x < hsv.cols; ++x) {
            uchar &value = planes[2].at<uchar>(y, x);
            value = uchar(32 * (value / 32) + 16);
        }
    }
    cv::merge(planes, hsv);
    cv::Mat result;
    cv::cvtColor(hsv, result, cv::COLOR_HSV2BGR);
    return fromColours(picture, result);
}

QImage posterizeChannels(const QImage &picture)
{
    const auto reduced = [](int channel) {
        if (channel < 64)
            return 0;
        if (channel <= 160)
            return 127;
        return 255;
    };
    return eachPixel(picture, [&](int red, int green, int blue) {
        return word(reduced(red), reduced(green), reduced(blue));
    });
}

} // namespace kivra::reference
