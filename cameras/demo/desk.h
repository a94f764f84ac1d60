#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <atomic>
#include <functional>

namespace kivra::cameras {

/// Smooth random values from -1 to 1 over the plane, with features about one unit wide.
double smoothNoise(double x, double y);

/// \a value truncated and clamped to a pixel's channel, 0 to 255.
int toLevel(double value);

/// Covers \a picture (Format_RGB32) with a wooden table of \a colour; the grain runs along the
/// rows.
void drawTable(QImage &picture, const QColor &colour, const std::atomic<bool> &abandoned);

/// Darkens the surroundings of \a shape with its soft shadow, \a blur wide and \a strength (0 to 1)
/// dark. \a painter draws in the coordinates of \a shape.
void drawShadow(QPainter &painter, const QPainterPath &shape, double blur, double strength);

/// The light that falls on a point of the scene: 1 leaves colours as they are.
using LightField = std::function<double(double x, double y)>;

/// Lights \a picture (Format_RGB32) with \a light, given in scene coordinates. The light is
/// evaluated at the corners of small squares and interpolated between them.
void applyLight(QImage &picture, const LightField &light, const std::atomic<bool> &abandoned);

} // namespace kivra::cameras
