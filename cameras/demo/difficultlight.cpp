#include "cameras/demo/difficultlight.h"

#include "cameras/demo/desk.h"
#include "cameras/demo/pencil.h"

#include <QFont>
#include <cmath>

namespace kivra::cameras {

namespace {

const QColor table(120, 92, 66);
const QColor paper(242, 238, 224);
const QColor ink(40, 40, 44);
const QColor green(70, 140, 62);
constexpr QRectF sheet(0, 0, 1080, 980);
constexpr QPointF sheetPlace(150, 30);
constexpr QPointF bloom(520, 300); // the middle of the flower, on the sheet

QFont sans(int size, int weight = QFont::Normal)
{
    QFont font(QStringLiteral("sans-serif"));
    font.setPixelSize(size);
    font.setWeight(weight);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

void drawLeaf(QPainter &painter, QPointF base, double angle, double length)
{
    painter.save();
    painter.translate(base);
    painter.rotate(angle);
    QPainterPath leaf;
    leaf.cubicTo(length * 0.3, -length * 0.36, length * 0.75, -length * 0.26, length, 0);
    leaf.cubicTo(length * 0.72, length * 0.22, length * 0.3, length * 0.26, 0, 0);
    painter.setPen(QPen(green.darker(150), 3));
    painter.setBrush(green);
    painter.drawPath(leaf);
    painter.drawLine(QPointF(0, 0), QPointF(length * 0.94, 0));
    for (int i = 1; i < 6; ++i) {
        const double x = length * i / 7;
        for (const double side : {-1.0, 1.0})
            painter.drawLine(QPointF(x, 0), QPointF(x + length * 0.1, side * length * 0.15));
    }
    painter.restore();
}

void drawFlower(QPainter &painter)
{
    painter.setPen(QPen(green.darker(120), 18, Qt::SolidLine, Qt::RoundCap));
    QPainterPath stem(bloom);
    stem.cubicTo(530, 480, 500, 620, 515, 860);
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(stem);
    drawLeaf(painter, {510, 660}, -28, 270);
    drawLeaf(painter, {508, 730}, 205, 250);

    for (int i = 0; i < 8; ++i) {
        painter.save();
        painter.translate(bloom);
        painter.rotate(i * 45 + 12);
        painter.setPen(QPen(QColor(150, 40, 92), 3));
        painter.setBrush(i % 2 == 0 ? QColor(224, 84, 140) : QColor(236, 116, 160));
        painter.drawEllipse(QPointF(104, 0), 76, 43);
        painter.restore();
    }
    painter.setPen(QPen(QColor(170, 110, 20), 3));
    painter.setBrush(QColor(246, 196, 56));
    painter.drawEllipse(bloom, 46, 46);
    painter.setBrush(QColor(196, 120, 30));
    for (int i = 0; i < 9; ++i) {
        const double angle = i * 0.698;
        painter.drawEllipse(bloom + QPointF(28 * std::cos(angle), 28 * std::sin(angle)), 4, 4);
    }
}

void drawLabels(QPainter &painter)
{
    const struct
    {
        QPointF target;
        QPointF text;
        const char *name;
    } labels[] = {
        {{640, 220}, {800, 190}, "pétale"},  {{560, 312}, {800, 306}, "étamines"},
        {{700, 590}, {800, 560}, "feuille"}, {{512, 560}, {140, 520}, "tige"},
        {{330, 650}, {80, 640}, "nervure"},
    };
    painter.setFont(sans(32));
    for (const auto &label : labels) {
        const QString name = QString::fromUtf8(label.name);
        const bool left = label.text.x() < label.target.x();
        const double end = left ? painter.fontMetrics().horizontalAdvance(name) + 12 : -10;
        painter.setPen(QPen(ink, 2.5));
        painter.drawLine(label.target, label.text + QPointF(end, -10));
        painter.drawText(label.text, name);
    }
    painter.setFont(sans(50, QFont::Bold));
    painter.drawText(QPointF(70, 90), QStringLiteral("Les parties de la fleur"));
    painter.setFont(sans(28));
    painter.drawText(QPointF(70, 800), QStringLiteral("Colorie chaque partie,"));
    painter.drawText(QPointF(70, 840), QStringLiteral("puis complète la légende."));
}

double light(double x, double y)
{
    // The edge of a blind: beyond it the table lies in the dark.
    const double edge = 1 / (1 + std::exp((x - 0.55 * y - 700) / 26));
    const double dx = (x - 1330) / 300;
    const double dy = (y - 210) / 240;
    const double spot = 1.5 * std::exp(-dx * dx - dy * dy);
    return (0.72 + spot) * (1 - 0.8 * edge) * (1 - 0.16 * y / sceneSize.height());
}

} // namespace

void DifficultLight::drawStill(QImage &picture, const std::atomic<bool> &abandoned) const
{
    drawTable(picture, table, abandoned);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.setTransform(sceneTransform(picture.size()));
    painter.save();
    painter.translate(sheetPlace);
    painter.rotate(-2);
    QPainterPath outline;
    outline.addRect(sheet);
    drawShadow(painter, outline.translated(6, 6), 16, 0.5);
    painter.fillPath(outline, paper);
    drawFlower(painter);
    drawLabels(painter);
    painter.restore();
    drawPencil(painter, {1290, 500}, QColor(226, 170, 40));
    drawPencil(painter, {1265, 590}, QColor(60, 150, 80));
    painter.end();
    applyLight(picture, light, abandoned);
}

void DifficultLight::drawMoving(QPainter &painter, double seconds) const
{
    // The shadow of a hand that points at one part after another.
    const QPointF hand(1000 + 50 * std::sin(seconds * 0.8), 640 + 26 * std::sin(seconds * 1.1));
    QPainterPath pointing;
    pointing.setFillRule(Qt::WindingFill);
    pointing.addEllipse(QPointF(0, 0), 74, 84);
    QTransform finger;
    finger.rotate(-14);
    QPainterPath bone;
    bone.addRoundedRect(QRectF(-46, -250, 44, 230), 22, 22);
    pointing.addPath(finger.map(bone));
    finger.rotate(66);
    QPainterPath thumb;
    thumb.addRoundedRect(QRectF(-20, -150, 42, 130), 21, 21);
    pointing.addPath(finger.map(thumb));
    pointing.addPolygon(QPolygonF({{-58, 40}, {66, 30}, {190, 460}, {30, 480}, {-58, 40}}));
    drawShadow(painter, pointing.simplified().translated(hand), 16, 0.55);
}

} // namespace kivra::cameras
