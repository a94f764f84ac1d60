#include "cameras/demo/printedpage.h"

#include "cameras/demo/desk.h"
#include "cameras/demo/pencil.h"

#include <QFont>
#include <cmath>

namespace kivra::cameras {

namespace {

const QColor table(150, 112, 78);
const QColor paper(240, 237, 228);
const QColor ink(47, 45, 48);

// The sheet in its own coordinates; its lower part lies outside the picture.
constexpr QRectF sheet(0, 0, 1240, 1754);
constexpr QPointF sheetPlace(186, 42);
constexpr double sheetAngle = -1.3;

QFont font(const char *family, int size, int weight = QFont::Normal, bool italic = false)
{
    QFont result(QString::fromLatin1(family));
    result.setPixelSize(size);
    result.setWeight(weight);
    result.setItalic(italic);
    result.setHintingPreference(QFont::PreferNoHinting);
    return result;
}

void drawHeading(QPainter &painter)
{
    painter.setFont(font("sans-serif", 24));
    painter.drawText(QRectF(90, 52, 700, 40), Qt::AlignLeft,
                     QStringLiteral("Sciences et technologie"));
    painter.drawText(QRectF(450, 52, 700, 40), Qt::AlignRight,
                     QStringLiteral("Fiche 12 – l'eau dans la nature"));
    painter.setPen(QPen(ink, 2));
    painter.drawLine(QPointF(90, 94), QPointF(1150, 94));
    painter.setFont(font("serif", 54, QFont::Bold));
    painter.drawText(QRectF(90, 108, 1060, 80), Qt::AlignLeft,
                     QStringLiteral("Le voyage d'une goutte d'eau"));
}

void drawLesson(QPainter &painter)
{
    painter.setFont(font("serif", 28));
    painter.drawText(
        QRectF(90, 202, 590, 380), Qt::TextWordWrap,
        QStringLiteral("Chauffée par le soleil, l'eau de la mer s'évapore : elle devient un gaz "
                       "invisible, la vapeur d'eau. En montant, la vapeur rencontre un air plus "
                       "froid. Elle se condense alors en gouttelettes si légères qu'elles "
                       "flottent : voilà un nuage.\n"
                       "Quand les gouttelettes se rejoignent, elles tombent en pluie ou en neige. "
                       "L'eau ruisselle, s'infiltre dans le sol, puis retourne à la mer."));
}

void drawCloud(QPainter &painter, QPointF middle)
{
    QPainterPath cloud;
    cloud.setFillRule(Qt::WindingFill);
    cloud.addEllipse(middle, 62, 30);
    cloud.addEllipse(middle + QPointF(-30, -20), 34, 26);
    cloud.addEllipse(middle + QPointF(22, -26), 40, 32);
    painter.setBrush(QColor(196, 198, 202));
    painter.drawPath(cloud.simplified());
}

void drawArrow(QPainter &painter, QPointF from, QPointF to)
{
    painter.drawLine(from, to);
    const double angle = std::atan2(to.y() - from.y(), to.x() - from.x());
    for (const double side : {-0.45, 0.45}) {
        painter.drawLine(to,
                         to - QPointF(16 * std::cos(angle + side), 16 * std::sin(angle + side)));
    }
}

void drawFigure(QPainter &painter)
{
    const QRectF frame(716, 206, 434, 300);
    painter.setPen(QPen(ink, 2));
    painter.setBrush(QColor(229, 230, 226));
    painter.drawRect(frame);

    painter.setBrush(QColor(192, 188, 180)); // mountain and shore
    painter.drawPolygon(QPolygonF(
        {{870, 505}, {960, 430}, {1012, 330}, {1052, 388}, {1084, 352}, {1149, 446}, {1149, 505}}));
    painter.setBrush(QColor(158, 180, 204)); // sea
    painter.drawPolygon(QPolygonF({{717, 462}, {800, 458}, {880, 462}, {912, 505}, {717, 505}}));
    painter.setBrush(QColor(238, 216, 150));
    painter.drawEllipse(QPointF(764, 256), 26, 26);
    drawCloud(painter, {880, 280});
    drawCloud(painter, {1050, 268});
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ink, 3));
    drawArrow(painter, {790, 446}, {812, 336});
    drawArrow(painter, {938, 262}, {978, 262});
    for (int i = 0; i < 4; ++i)
        painter.drawLine(QPointF(1020 + i * 20, 308), QPointF(1012 + i * 20, 328));
    drawArrow(painter, {1000, 400}, {930, 476});
    painter.setFont(font("sans-serif", 19));
    painter.drawText(QPointF(822, 404), QStringLiteral("évaporation"));
    painter.drawText(QPointF(1086, 326), QStringLiteral("pluie"));
    painter.drawText(QPointF(748, 492), QStringLiteral("mer"));
    painter.setFont(font("serif", 22, QFont::Normal, true));
    painter.drawText(QRectF(716, 514, 434, 40), Qt::AlignHCenter,
                     QStringLiteral("Figure 1. Le cycle de l'eau."));
}

void drawExercises(QPainter &painter)
{
    painter.setPen(ink);
    painter.setFont(font("sans-serif", 30, QFont::Bold));
    painter.drawText(QPointF(90, 626), QStringLiteral("Je vérifie que j'ai compris"));
    painter.setFont(font("serif", 28));
    painter.drawText(QPointF(90, 680),
                     QStringLiteral("1. Relève dans le texte deux changements d'état de l'eau."));
    painter.drawText(QPointF(90, 778),
                     QStringLiteral("2. Pourquoi un nuage ne tombe-t-il pas sur le sol ?"));
    painter.drawText(QPointF(90, 876),
                     QStringLiteral("3. Complète : 1 litre d'eau = 10 dL = ........ cL"));
    QPen dotted(ink, 2.5, Qt::DotLine);
    painter.setPen(dotted);
    for (const double y : {728.0, 826.0, 930.0})
        painter.drawLine(QPointF(128, y), QPointF(1150, y));
}

} // namespace

void PrintedPage::drawStill(QImage &picture, const std::atomic<bool> &abandoned) const
{
    drawTable(picture, table, abandoned);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.setTransform(sceneTransform(picture.size()));
    painter.translate(sheetPlace);
    painter.rotate(sheetAngle);
    QPainterPath outline;
    outline.addRect(sheet);
    drawShadow(painter, outline.translated(5, 7), 14, 0.5);
    painter.fillPath(outline, paper);
    painter.setPen(ink);
    drawHeading(painter);
    drawLesson(painter);
    drawFigure(painter);
    drawExercises(painter);
    painter.end();
    applyLight(
        picture,
        [](double x, double y) {
            const double dx = (x - 520) / 1600;
            const double dy = (y - 260) / 1300;
            return 0.985 - 0.42 * (dx * dx + dy * dy) + 0.008 * smoothNoise(x / 180, y / 180);
        },
        abandoned);
}

void PrintedPage::drawMoving(QPainter &painter, double seconds) const
{
    // Along a line of text, then along the next, as somebody points who reads aloud.
    const double line = std::fmod(std::floor(seconds / 4), 2) * 98;
    const double along = std::fmod(seconds, 4) / 4;
    const double x = 330 + 880 * along + 6 * std::sin(seconds * 5);
    drawPencil(painter, {x, 742 + line - 22 * along + 3 * std::sin(seconds * 7)},
               QColor(206, 62, 44));
}

} // namespace kivra::cameras
