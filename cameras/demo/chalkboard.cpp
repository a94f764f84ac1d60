#include "cameras/demo/chalkboard.h"

#include "cameras/demo/desk.h"
#include "cameras/demo/handwriting.h"

#include <cmath>

namespace kivra::cameras {

namespace {

const QColor board(48, 94, 74);
const QColor white(232, 234, 226);
const QColor yellow(240, 214, 112);
constexpr double trayTop = 836;

/// How much the chalk dust that the sponge left brightens the board.
double dust(double x, double y)
{
    const double bend = 60 * smoothNoise(x / 500, y / 500);
    const double wipe = smoothNoise((x + y) / 420, (y - 0.5 * x + bend) / 52);
    const double cloud = smoothNoise(x / 260 + 40, y / 200);
    return 0.08 * wipe + 0.07 * cloud;
}

void drawTriangle(QPainter &painter)
{
    const QPointF a(1060, 660);
    const QPointF b(1060, 320);
    const QPointF c(1460, 660);
    painter.setPen(QPen(white, 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF({a, b, c, a}));
    painter.setPen(QPen(yellow, 6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF({{1060, 622}, {1098, 622}, {1098, 660}}));
    Handwriting hand;
    hand.xHeight = 25;
    hand.slant = 0;
    const QPen chalk(white, 6);
    hand.write(painter, chalk, {1006, 716}, QStringLiteral("A"));
    hand.write(painter, chalk, {1004, 318}, QStringLiteral("B"));
    hand.write(painter, chalk, {1474, 716}, QStringLiteral("C"));
    const QPen measure(yellow, 6);
    hand.write(painter, measure, {1000, 510}, QStringLiteral("3"));
    hand.write(painter, measure, {1240, 722}, QStringLiteral("4"));
    hand.write(painter, measure, {1290, 460}, QStringLiteral("5"));
}

void drawLesson(QPainter &painter)
{
    Handwriting hand;
    hand.xHeight = 34;
    hand.slant = 0.1;
    hand.pressure = 0.15;
    const QPen chalk(white, 6.5);
    const QPen accent(yellow, 7);
    hand.write(painter, chalk, {1100, 110}, QStringLiteral("Mardi 14 mars"));
    const QPointF titleEnd =
        hand.write(painter, accent, {110, 190}, QStringLiteral("Le triangle rectangle"));
    painter.setPen(QPen(accent.color(), 6, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(112, 212), QPointF(titleEnd.x(), 206));
    hand.xHeight = 30;
    hand.write(painter, chalk, {110, 330}, QStringLiteral("Dans un triangle rectangle,"));
    hand.write(painter, chalk, {110, 420}, QStringLiteral("on additionne les carrés"));
    hand.write(painter, chalk, {110, 510}, QStringLiteral("des deux petits côtés :"));
    hand.xHeight = 38;
    hand.write(painter, accent, {160, 640}, QStringLiteral("AB² + AC² = BC²"));
    hand.write(painter, chalk, {160, 770}, QStringLiteral("9 + 16 = 25"));
}

/// Chalk only sticks to the rough spots of the board: takes away a part of each pixel of \a layer.
void roughen(QImage &layer, const std::atomic<bool> &abandoned)
{
    const double unit = 1 / sceneScale(layer.size());
    for (int row = 0; row < layer.height() && !abandoned; ++row) {
        auto *pixels = reinterpret_cast<QRgb *>(layer.scanLine(row));
        for (int column = 0; column < layer.width(); ++column) {
            const QRgb pixel = pixels[column];
            if (qAlpha(pixel) == 0)
                continue;
            const double rough = smoothNoise(column * unit / 1.9, row * unit / 1.9);
            const int kept = toLevel(215 + 110 * std::min(0.35, rough));
            pixels[column] = qRgba(qRed(pixel) * kept / 255, qGreen(pixel) * kept / 255,
                                   qBlue(pixel) * kept / 255, qAlpha(pixel) * kept / 255);
        }
    }
}

void drawTray(QPainter &painter)
{
    const QRectF tray(-2000, trayTop, 6000, 1200);
    QPainterPath outline;
    outline.addRect(tray);
    drawShadow(painter, outline.translated(0, -8), 12, 0.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(158, 122, 84));
    painter.drawRect(tray);
    painter.setBrush(QColor(186, 150, 108));
    painter.drawRect(QRectF(tray.left(), trayTop, tray.width(), 9));
    painter.setBrush(white);
    painter.drawRoundedRect(QRectF(420, trayTop + 20, 96, 20), 6, 6);
    painter.setBrush(yellow);
    painter.drawRoundedRect(QRectF(560, trayTop + 26, 70, 20), 6, 6);
}

} // namespace

void Chalkboard::drawStill(QImage &picture, const std::atomic<bool> &abandoned) const
{
    picture.fill(board);
    QImage chalk(picture.size(), QImage::Format_ARGB32_Premultiplied);
    chalk.fill(Qt::transparent);
    QPainter layer(&chalk);
    layer.setRenderHint(QPainter::Antialiasing);
    layer.setTransform(sceneTransform(picture.size()));
    drawLesson(layer);
    drawTriangle(layer);
    layer.end();
    roughen(chalk, abandoned);

    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawImage(0, 0, chalk);
    painter.setTransform(sceneTransform(picture.size()));
    drawTray(painter);
    painter.end();
    applyLight(
        picture,
        [](double x, double y) {
            // A window on the left shines back a little from the board.
            const double dx = (x - 260) / 520;
            const double dy = (y - 180) / 420;
            return 0.92 + 0.22 * std::exp(-dx * dx - dy * dy) - 0.1 * x / sceneSize.width() +
                   dust(x, y);
        },
        abandoned);
}

void Chalkboard::drawMoving(QPainter &painter, double seconds) const
{
    const double sway = std::sin(seconds * 0.7);
    QPainterPath arm;
    arm.moveTo(960 + 90 * sway, 980);
    arm.cubicTo(900 + 120 * sway, 800, 830 + 160 * sway, 700, 800 + 190 * sway, 610);
    arm.cubicTo(810 + 190 * sway, 560, 880 + 190 * sway, 560, 890 + 190 * sway, 620);
    arm.cubicTo(960 + 150 * sway, 720, 1060 + 110 * sway, 820, 1120 + 90 * sway, 980);
    drawShadow(painter, arm, 46, 0.4);
}

} // namespace kivra::cameras
