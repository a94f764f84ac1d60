#pragma once

#include <QImage>
#include <QPointF>
#include <QRect>
#include <array>
#include <opencv2/core/mat.hpp>

// Every picture operation as slowly and obviously as it can be written, for comparison. Nothing
// here shares code with the product; OpenCV is called where an operation is defined by OpenCV.
//
// Pictures are 32-bit words 0xAARRGGBB (Format_RGB32 or Format_ARGB32); each function returns a new
// picture of the same format and leaves its argument alone. An empty picture comes back as it is.

namespace kivra::reference {

using Lut = std::array<int, 256>;

/// CV_8UC3, blue, green, red.
cv::Mat colours(const QImage &picture);

QImage threshold(const QImage &picture, int level, int method);
QImage posterize(const QImage &picture);
QImage posterizeChannels(const QImage &picture);
QImage equalize(const QImage &picture);
QImage stretch(const QImage &picture);
QImage applyLut(const QImage &picture, const Lut &lut);
QImage twoColours(const QImage &picture, unsigned int dark, unsigned int light);
QImage grey(const QImage &picture);
QImage negative(const QImage &picture);

/// Each pixel of \a wanted is the rounded mean of the area of the picture that it covers: each of
/// the picture's pixels counts by its covered part, all four channels alike. The picture's pixel
/// (x, y) lies in the square of side \a scale from origin + scale * (x, y) on; each wanted pixel
/// must meet the picture.
QImage areaMean(const QImage &picture, const QPointF &origin, double scale, const QRect &wanted);

Lut brightnessContrastLut(int lumiere, int contraste);
Lut lineLut(int low, int high);

/// The rendering mode alone.
QImage mode(const QImage &picture, int number);
/// The brightness and contrast table, then the effect.
QImage tableAndEffect(const QImage &picture, int lumiere, int contraste, int effect);
/// A whole frame: mode, table, effect.
QImage frame(const QImage &picture, int mode, int effect, int lumiere, int contraste);

} // namespace kivra::reference
