#include "processing/colourcopy.h"

#include "processing/buffers.h"
#include "processing/parallel.h"

#include <opencv2/imgproc.hpp>

namespace kivra {

void copyColours(ConstPixels from, cv::Mat &matrix)
{
    if (from.isEmpty())
        return;
    forBands(from.width(), from.height(), [&](int begin, int end) {
        cv::Mat band = matrix.rowRange(begin, end);
        cv::cvtColor(from.matrix(begin, end), band, cv::COLOR_BGRA2BGR);
    });
}

void copyBlue(ConstPixels from, cv::Mat &matrix)
{
    matrix.create(from.height(), from.width(), CV_8UC1);
    if (from.isEmpty())
        return;
    forBands(from.width(), from.height(), [&](int begin, int end) {
        cv::Mat band = matrix.rowRange(begin, end);
        cv::extractChannel(from.matrix(begin, end), band, 0);
    });
}

void showGray(const cv::Mat &matrix, Pixels to)
{
    if (to.isEmpty())
        return;
    forBands(to.width(), to.height(), [&](int begin, int end) {
        cv::Mat band = to.matrix(begin, end);
        cv::cvtColor(matrix.rowRange(begin, end), band, cv::COLOR_GRAY2BGRA);
    });
}

void keepSource(ConstPixels from)
{
    if (!_src.u || _src.u->refcount != 1)
        _src.release();
    _src.create(from.height(), from.width(), CV_8UC3);
    copyColours(from, _src);
}

} // namespace kivra
