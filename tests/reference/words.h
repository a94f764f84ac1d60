#pragma once

#include <QImage>
#include <opencv2/core/mat.hpp>

// Conversions between pixel words and channels, for the sources of this library.

namespace kivra::reference {

inline unsigned int word(int red, int green, int blue)
{
    return 0xFF000000U | unsigned(red) << 16 | unsigned(green) << 8 | unsigned(blue);
}

/// A copy of \a picture, each pixel replaced by \a change(red, green, blue).
template<typename Change>
QImage eachPixel(const QImage &picture, const Change &change)
{
    const int width = picture.width();
    QImage result = picture.copy();
    for (int y = 0; y < result.height(); ++y) {
        auto *row = reinterpret_cast<unsigned int *>(result.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const unsigned int pixel = row[x];
            row[x] = change(int(pixel >> 16 & 0xFF), int(pixel >> 8 & 0xFF), int(pixel & 0xFF));
        }
    }
    return result;
}

/// A copy of \a picture with the colours of \a matrix, CV_8UC3.
QImage fromColours(const QImage &picture, const cv::Mat &matrix);

/// A copy of \a picture with the greys of \a matrix, CV_8UC1.
QImage fromGrey(const QImage &picture, const cv::Mat &matrix);

} // namespace kivra::reference
