#pragma once

#include <QColor>
#include <QPainter>

namespace kivra::cameras {

/// A pencil that lies over the paper with its point at \a tip, drawn with its shadow. \a colour is
/// that of its paint.
void drawPencil(QPainter &painter, QPointF tip, const QColor &colour);

} // namespace kivra::cameras
