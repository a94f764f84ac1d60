#include "processing/histogram.h"

#include "processing/inplace.h"

#include <opencv2/imgproc.hpp>
#include <vector>

using namespace kivra;

namespace {

void equalize(const cv::Mat &from, cv::Mat &to)
{
    cv::cvtColor(from, to, cv::COLOR_BGR2YCrCb);
    std::vector<cv::Mat> planes;
    cv::split(to, planes);
    cv::equalizeHist(planes[0], planes[0]);
    cv::merge(planes, to);
    cv::cvtColor(to, to, cv::COLOR_YCrCb2BGR);
}

} // namespace

void ColorEqualizeHist(cv::Mat src, cv::Mat dst)
{
    if (src.empty() || src.type() != CV_8UC3 || dst.type() != CV_8UC3 || dst.size() != src.size())
        return;
    try {
        equalize(src, dst);
    } catch (const std::exception &) {
        return; // no memory for the planes
    }
}

void KvEqualizeHist(QImage *image)
{
    checkBuffers(image->width(), image->height());
    changeInPlace(image, [&](Pixels pixels) {
        paintOver(pixels, 2);
        _src = qimage_to_mat_cpy(*image, CV_8UC3);
    });
}

void KvStretchHist(QImage *image)
{
    checkBuffers(image->width(), image->height());
    changeInPlace(image, [&](Pixels pixels) {
        _src = qimage_to_mat_cpy(*image, CV_8UC3);
        paintOver(pixels, 1);
    });
}
