#include "cameras/demo/pencil.h"

#include "cameras/demo/desk.h"

#include <algorithm>

namespace kivra::cameras {

namespace {

constexpr double length = 620;
constexpr double thickness = 30;
constexpr double coneLength = 62;
constexpr double slant = 38; // degrees from the horizontal

QPainterPath body()
{
    QPainterPath path;
    path.moveTo(0, 0);
    path.lineTo(coneLength, -thickness / 2);
    path.lineTo(length, -thickness / 2);
    path.lineTo(length, thickness / 2);
    path.lineTo(coneLength, thickness / 2);
    path.closeSubpath();
    return path;
}

} // namespace

void drawPencil(QPainter &painter, QPointF tip, const QColor &colour)
{
    painter.save();
    painter.translate(tip);
    painter.rotate(slant);

    // The far end is higher above the paper, so its shadow lies farther off.
    painter.save();
    painter.rotate(9);
    drawShadow(painter, body(), 16, 0.42);
    painter.restore();

    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(222, 184, 138)); // the sharpened wood
    painter.drawPath(body());
    painter.setBrush(QColor(52, 50, 52));
    const double lead = 0.3;
    painter.drawPolygon(QPolygonF({{0, 0},
                                   {coneLength * lead, -thickness / 2 * lead},
                                   {coneLength * lead, thickness / 2 * lead}}));
    const double facet = thickness / 3;
    const int shades[] = {118, 100, 72};
    for (int i = 0; i < 3; ++i) {
        const double top = -thickness / 2 + i * facet;
        painter.setBrush(QColor::fromHsv(colour.hue(), colour.saturation(),
                                         std::min(255, colour.value() * shades[i] / 100)));
        painter.drawRect(QRectF(coneLength, top, length - coneLength, facet + 0.5));
    }
    painter.restore();
}

} // namespace kivra::cameras
