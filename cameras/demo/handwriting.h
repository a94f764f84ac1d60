#pragma once

#include <QPainter>
#include <QPen>
#include <QString>

namespace kivra::cameras {

/// Joined school handwriting, drawn as strokes; needs no font.
struct Handwriting
{
    double xHeight = 21;   ///< height of a small letter without ascender, in the painter's units
    double slant = 0.16;   ///< shift to the right per unit of height
    double pressure = 0.3; ///< how much wider than the pen a stroke down is

    /// Writes \a text with \a pen from \a start, the left end of the base line, and returns where
    /// the next letter would stand. Characters without strokes leave a gap.
    QPointF write(QPainter &painter, const QPen &pen, QPointF start, const QString &text) const;
};

} // namespace kivra::cameras
