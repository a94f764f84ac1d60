#pragma once

#include <QImage>
#include <QPointF>
#include <QRect>

namespace kivra {

/// Where a scaled picture lies on a grid of pixels: its pixel (x, y) covers the square from
/// origin + scale * (x, y) to origin + scale * (x + 1, y + 1).
struct ScaledPlace
{
    QPointF origin;
    double scale; ///< above 0
};

/// The pixels of the grid that a picture of this size fills, rounded to whole ones as Qt's painter
/// does; empty for a picture that has no area or rounds to none.
QRect pixelsFilled(const QSize &picture, const ScaledPlace &place);

/// A scaled picture: each pixel of the result is the mean of all that it covers, by area.
/// Qt's painter leaves pixels out below scale 1, and above it repeats some and not others, so that
/// strokes are lost or come out uneven; its smooth drawing looks at four pixels only, loses strokes
/// below one half, and blurs above 1.
///
/// Makes the pixels \a wanted of the grid; the picture must fill all of them. A pixel that the
/// picture covers in part is the mean of that part. Alpha is averaged like the colours. The value
/// of a pixel does not depend on \a wanted, and is at most one level off the exact mean.
///
/// \a picture is in a format of 32-bit words, with alpha premultiplied; the result has the same
/// format. Null if \a picture is null, \a wanted is empty or there is no memory.
QImage scaledByArea(const QImage &picture, const ScaledPlace &place, const QRect &wanted);

/// Writes the same pixels into their places in \a grid, an image of 32-bit words that must contain
/// \a wanted. The old content is overwritten, not blended.
void drawByArea(const QImage &picture, const ScaledPlace &place, const QRect &wanted, QImage &grid);

} // namespace kivra
