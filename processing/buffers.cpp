#include "processing/buffers.h"

#include "processing/colourcopy.h"
#include "processing/pixels.h"

#include <algorithm>

cv::Mat _src;
cv::Mat _src_gray;
cv::Mat _dst;

void checkBuffers(int width, int height)
{
    width = std::max(width, 0);
    height = std::max(height, 0);
    if (_src.rows == height && _src.cols == width)
        return;
    for (cv::Mat *matrix : {&_src, &_src_gray, &_dst})
        matrix->release();
    _src.create(height, width, CV_8UC3);
    _src_gray.create(height, width, CV_8UC1);
    _dst.create(height, width, CV_8UC1);
    // A threshold without a method shows what this matrix holds: never stale memory.
    _dst.setTo(0);
}

cv::Mat qimage_to_mat_cpy(const QImage &image, int type)
{
    type = CV_MAT_TYPE(type);
    if (type != CV_8UC3)
        return cv::Mat(image.height(), image.width(), type, cv::Scalar::all(0));
    cv::Mat result(image.height(), image.width(), type);
    const QImage words = kivra::withPixelWords(image);
    kivra::copyColours(kivra::pixelsOf(words), result);
    return result;
}

cv::Mat qimage_to_mat_ref(QImage &image, int type)
{
    if (image.isNull())
        return {};
    return {image.height(), image.width(), CV_MAT_TYPE(type), image.bits(),
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
