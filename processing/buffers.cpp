#include "processing/buffers.h"

#include "render/kernels/kernels.h"
#include "render/pixels.h"

#include <algorithm>
#include <exception>
#include <opencv2/imgproc.hpp>

using namespace kivra;

cv::Mat _src;
cv::Mat _src_gray;
cv::Mat _dst;

namespace {

void releaseBuffers()
{
    for (cv::Mat *matrix : {&_src, &_src_gray, &_dst})
        matrix->release();
}

cv::Mat copyOf(const QImage &image, int type)
{
    cv::Mat result(image.height(), image.width(), type, cv::Scalar::all(0));
    const QImage words = withPixelWords(image);
    const ConstPixels from = pixelsOf(words);
    if (from.isEmpty() || from.height != result.rows)
        return result;
    if (type == CV_8UC3)
        cv::cvtColor(from.matrix(), result, cv::COLOR_BGRA2BGR);
    if (type == CV_8UC4) {
        for (int y = 0; y < from.height; ++y)
            kernels().opaque(from.row(y), result.ptr<Pixel>(y), from.width);
    }
    return result;
}

} // namespace

void checkBuffers(int width, int height)
{
    width = std::max(width, 0);
    height = std::max(height, 0);
    if (_src.rows == height && _src.cols == width)
        return;
    releaseBuffers();
    try {
        _src.create(height, width, CV_8UC3);
        _src_gray.create(height, width, CV_8UC1);
        _dst.create(height, width, CV_8UC1);
    } catch (const cv::Exception &) {
        releaseBuffers();
        return;
    }
    // A threshold without a method shows what this matrix holds: never stale memory.
    _dst.setTo(0);
}

cv::Mat qimage_to_mat_cpy(const QImage &image, int type)
{
    try {
        return copyOf(image, CV_MAT_TYPE(type));
    } catch (const cv::Exception &) {
        return {};
    }
}

cv::Mat qimage_to_mat_ref(QImage &image, int type)
{
    uchar *const bits = image.bits();
    if (!bits)
        return {};
    return {image.height(), image.width(), CV_MAT_TYPE(type), bits,
            static_cast<std::size_t>(image.bytesPerLine())};
}

QImage mat_to_qimage_ref(cv::Mat &mat, QImage::Format format)
{
    if (mat.empty())
        return {};
    return {mat.data, mat.cols, mat.rows, static_cast<int>(mat.step), format};
}

QImage mat_to_qimage_cpy(const cv::Mat &mat, QImage::Format format)
{
    cv::Mat header = mat;
    return mat_to_qimage_ref(header, format).copy();
}
