#include "cameras/demo/handwrittenpage.h"

#include "cameras/demo/desk.h"
#include "cameras/demo/handwriting.h"
#include "cameras/demo/pencil.h"

#include <cmath>

namespace kivra::cameras {

namespace {

const QColor table(128, 126, 122);
const QColor paper(236, 234, 226);
const QColor blueInk(48, 62, 128);
const QColor redInk(186, 52, 58);

// French school ruling: a strong line every four, 8 mm apart, and columns as wide.
constexpr double line = 84;
constexpr double margin = 272;
constexpr QRectF sheet(0, 0, 1330, 1900);
constexpr QPointF sheetPlace(120, -60);
constexpr double sheetAngle = 1.1;

void drawRuling(QPainter &painter)
{
    const QPen fine(QColor(218, 219, 228), 1.2);
    const QPen strong(QColor(188, 181, 210), 2);
    for (int i = 0; i * line / 4 < sheet.height(); ++i) {
        painter.setPen(i % 4 == 0 ? strong : fine);
        painter.drawLine(QPointF(0, i * line / 4), QPointF(sheet.width(), i * line / 4));
    }
    painter.setPen(strong);
    for (int i = 1; margin + i * line < sheet.width(); ++i)
        painter.drawLine(QPointF(margin + i * line, 0), QPointF(margin + i * line, sheet.height()));
    painter.setPen(QPen(QColor(222, 128, 140), 3));
    painter.drawLine(QPointF(margin, 0), QPointF(margin, sheet.height()));
}

void underline(QPainter &painter, QPointF from, QPointF to)
{
    painter.setPen(QPen(redInk, 3.4));
    painter.drawLine(from, to);
}

void drawWriting(QPainter &painter)
{
    const Handwriting hand;
    const QPen pen(blueInk, 3.6);
    const auto row = [&](int number, double indent, const char *text) {
        return hand.write(painter, pen, {margin + 14 + indent * line, number * line},
                          QString::fromUtf8(text));
    };
    const QPointF dateEnd = row(2, 3, "Mardi 14 mars");
    underline(painter, {margin + 14 + 3 * line, 2 * line + 8}, {dateEnd.x(), 2 * line + 6});
    const QPointF titleEnd = row(3, 1, "Dictée : un matin de brume");
    underline(painter, {margin + 14 + line, 3 * line + 8}, {titleEnd.x(), 3 * line + 6});
    row(5, 1, "Ce matin, la brume couvre toute la vallée.");
    row(6, 0, "Les élèves marchent en silence vers l'école et");
    row(7, 0, "leurs pas crissent sur le chemin gelé. Près du");
    row(8, 0, "pont, un merle chante déjà. Peu à peu, une");
    row(9, 0, "lumière dorée passe entre les arbres : la journée");
    row(10, 0, "sera belle !");

    const QPen red(redInk, 4);
    Handwriting teacher;
    teacher.xHeight = 27;
    teacher.slant = 0.3;
    teacher.write(painter, red, {70, 5 * line}, QStringLiteral("TB"));
    teacher.write(painter, red, {44, 6.2 * line}, QStringLiteral("19,5"));
    painter.drawLine(QPointF(50, 6.5 * line), QPointF(170, 6.42 * line));
    teacher.write(painter, red, {74, 7.2 * line}, QStringLiteral("20"));
}

} // namespace

void HandwrittenPage::drawStill(QImage &picture, const std::atomic<bool> &abandoned) const
{
    drawTable(picture, table, abandoned);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setTransform(sceneTransform(picture.size()));
    painter.translate(sheetPlace);
    painter.rotate(sheetAngle);
    QPainterPath outline;
    outline.addRect(sheet);
    drawShadow(painter, outline.translated(6, 4), 16, 0.5);
    painter.fillPath(outline, paper);
    drawRuling(painter);
    drawWriting(painter);
    painter.end();
    applyLight(
        picture,
        [](double x, double y) {
            // A lamp on the right; somebody leans over the left part and shades it.
            const double dx = (x - 1150) / 1500;
            const double dy = (y - 300) / 1100;
            const double shade = 1 / (1 + std::exp((x - 0.5 * y - 360) / 110));
            return (1.0 - 0.34 * (dx * dx + dy * dy)) * (1 - 0.38 * shade) +
                   0.01 * smoothNoise(x / 160, y / 160);
        },
        abandoned);
}

void HandwrittenPage::drawMoving(QPainter &painter, double seconds) const
{
    // As if the next word were about to be written.
    const double x = 720 + 60 * std::sin(seconds * 0.9) + 8 * std::sin(seconds * 6.1);
    const double y = 806 + 10 * std::sin(seconds * 1.3) + 7 * std::sin(seconds * 7.3);
    drawPencil(painter, {x, y}, QColor(36, 88, 170));
}

} // namespace kivra::cameras
