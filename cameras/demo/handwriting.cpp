#include "cameras/demo/handwriting.h"

#include "cameras/demo/desk.h"

#include <QHash>
#include <QVector>
#include <cmath>

namespace kivra::cameras {

namespace {

/// How the first stroke of a character follows the letter before it.
enum class Join {
    None,   ///< stands alone
    Lifted, ///< part of a word, but the pen is lifted before it, as before round letters at school
    Drawn,  ///< carries on without lifting the pen
};

/// The strokes of a character, in hundredths of the height of a small letter, above the base line:
/// "x y x y ..." each, with ";" between strokes.
struct GlyphSource
{
    char16_t character;
    int advance;
    Join join;
    const char *strokes;
};

const GlyphSource glyphSources[] = {
    {u'a', 108, Join::Lifted, "76 84 46 100 12 58 22 6 52 10 76 60 80 96 78 34 88 2 108 24"},
    {u'b', 100, Join::Drawn,
     "30 110 42 180 30 208 17 160 15 50 30 0 60 10 70 56 60 84 74 74 100 80"},
    {u'c', 86, Join::Lifted, "70 82 46 100 12 58 20 8 50 0 86 28"},
    {u'd', 110, Join::Lifted,
     "76 84 46 100 12 58 22 6 52 10 76 70 84 190 82 120 80 34 90 2 110 24"},
    {u'e', 80, Join::Drawn, "34 40 62 74 48 100 20 80 15 32 40 0 80 28"},
    {u'f', 80, Join::Drawn,
     "30 90 50 178 39 208 26 160 21 0 18 -76 29 -98 40 -60 30 -4 50 6 80 28"},
    {u'g', 104, Join::Lifted,
     "76 84 46 100 12 58 22 8 52 12 76 60 80 96 78 0 70 -74 50 -98 36 -76 60 -30 "
     "104 24"},
    {u'h', 100, Join::Drawn,
     "30 110 42 180 30 208 17 150 14 0 20 48 44 97 67 80 69 30 80 2 100 24"},
    {u'i', 58, Join::Drawn, "20 60 28 98 26 34 36 2 58 24;27 138 36 158"},
    {u'j', 60, Join::Drawn, "25 60 34 98 32 0 25 -74 8 -98 -5 -75 20 -30 60 24;33 138 42 158"},
    {u'k', 90, Join::Drawn,
     "30 110 42 180 30 208 17 150 14 0 20 48 48 92 54 66 26 50 50 30 66 2 90 24"},
    {u'l', 60, Join::Drawn, "28 90 45 182 33 208 18 150 20 30 35 0 60 24"},
    {u'm', 134, Join::Drawn,
     "8 70 19 96 24 50 22 0 30 60 50 98 62 70 62 0 70 60 90 98 104 70 104 25 114 2 "
     "134 24"},
    {u'n', 98, Join::Drawn, "8 70 19 96 24 50 22 0 30 60 52 98 68 75 68 25 78 2 98 24"},
    {u'o', 90, Join::Lifted, "66 84 40 100 10 55 30 2 62 25 66 75 46 98 60 82 90 86"},
    {u'p', 95, Join::Drawn,
     "20 70 28 98 24 0 20 -96 22 20 36 84 60 94 75 50 56 2 36 10 60 0 95 24"},
    {u'q', 104, Join::Lifted,
     "76 84 46 100 12 58 22 8 52 12 76 60 80 96 78 0 76 -96 80 -40 104 24"},
    {u'r', 80, Join::Drawn, "14 70 24 106 35 88 56 86 53 40 59 4 80 24"},
    {u's', 82, Join::Drawn, "24 60 39 106 45 80 60 40 50 2 22 9 46 2 82 24"},
    {u't', 62, Join::Drawn, "20 80 30 158 26 80 26 30 38 2 62 24;4 114 56 119"},
    {u'u', 100, Join::Drawn, "14 70 22 98 20 40 35 2 60 25 72 96 70 34 80 2 100 24"},
    {u'v', 95, Join::Drawn, "12 80 21 96 32 40 42 2 60 60 62 96 74 82 95 86"},
    {u'x', 85, Join::Drawn, "10 76 25 98 42 50 60 4 85 24;66 96 14 4"},
    {u'y', 98, Join::Drawn,
     "14 70 22 98 20 40 38 8 60 30 72 96 70 0 60 -74 42 -98 29 -74 56 -30 98 24"},
    {u'z', 80, Join::Drawn, "10 86 30 98 62 92 40 46 12 5 40 10 80 20"},
    // Over or under the preceding letter.
    {u'\u0301', 0, Join::None, "-50 132 -28 166"},
    {u'\u0300', 0, Join::None, "-62 166 -40 132"},
    {u'\u0302', 0, Join::None, "-68 132 -50 164 -32 132"},
    {u'\u0327', 0, Join::None, "-44 0 -34 -22 -52 -38"},
    // Capitals, a little above the ascenders.
    {u'A', 150, Join::None, "4 0 40 90 76 206 84 120 112 0;28 70 112 74"},
    {u'B', 140, Join::None,
     "30 200 26 100 22 0;6 176 50 208 92 176 72 118 30 108 84 104 104 50 70 2 10 8"},
    {u'C', 130, Join::None, "104 178 84 206 40 180 12 90 34 8 74 2 112 36"},
    {u'D', 150, Join::None, "34 200 30 100 26 4;6 182 60 206 116 160 116 70 70 4 8 6"},
    {u'G', 140, Join::None,
     "104 176 80 206 36 176 14 90 36 8 76 10 98 60 104 96 98 10;64 92 104 96"},
    {u'J', 110, Join::None, "20 196 60 206 96 196;66 204 62 60 44 0 12 8"},
    {u'L', 120, Join::None, "70 170 52 206 34 170 30 60 14 4 56 12 104 6"},
    {u'M', 170, Join::None, "6 4 24 100 34 202 56 110 76 50 104 130 124 204 128 100 146 2"},
    {u'P', 130, Join::None, "32 198 28 100 24 0;6 176 54 208 102 170 84 112 34 104"},
    {u'T', 130, Join::None, "6 182 40 206 76 196 116 206;64 198 60 100 54 20 26 4"},
    {u'U', 150, Join::None, "8 180 26 204 24 80 44 4 84 20 106 120 110 204 108 60 118 4 138 20"},
    {u'0', 94, Join::None, "50 176 18 130 16 50 44 2 74 46 76 130 50 176 40 174"},
    {u'1', 74, Join::None, "12 126 48 178 46 90 44 0"},
    {u'2', 94, Join::None, "14 136 40 176 70 146 56 80 12 4 44 8 80 2"},
    {u'3', 92, Join::None, "14 158 44 178 68 142 36 98 70 70 66 18 36 0 10 18"},
    {u'4', 98, Join::None, "48 178 12 66 12 56 50 58 84 62;62 104 58 50 54 0"},
    {u'5', 92, Join::None, "70 174 28 172 22 104 54 108 74 64 56 12 28 0 10 16"},
    {u'6', 94, Join::None, "66 170 30 120 14 50 36 2 70 24 70 72 44 90 18 60"},
    {u'9', 92, Join::None, "68 130 46 176 18 140 30 98 62 112 70 150 66 70 52 0"},
    {u'²', 60, Join::None, "6 186 22 206 38 186 28 152 4 118 24 122 44 118"},
    {u'+', 100, Join::None, "14 78 86 80;50 116 50 42"},
    {u'=', 100, Join::None, "14 98 84 100;14 60 84 62"},
    {u'.', 40, Join::None, "18 2 20 6"},
    {u',', 44, Join::None, "20 8 18 -8 8 -26"},
    {u':', 54, Join::None, "26 12 28 15;28 74 30 77"},
    {u'!', 50, Join::None, "34 196 26 60;22 8 23 12"},
    {u'-', 76, Join::None, "12 56 60 58"},
    {u'\'', 36, Join::None, "22 206 12 164"},
};

struct Glyph
{
    double advance = 70; // of a space
    Join join = Join::None;
    QVector<QVector<QPointF>> strokes;
};

Glyph parsed(const GlyphSource &source)
{
    Glyph glyph;
    glyph.advance = source.advance;
    glyph.join = source.join;
    for (const QString &stroke : QString::fromLatin1(source.strokes).split(QLatin1Char(';'))) {
        const QStringList numbers = stroke.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QVector<QPointF> points;
        for (int i = 0; i + 1 < numbers.size(); i += 2)
            points.append({numbers.at(i).toDouble(), numbers.at(i + 1).toDouble()});
        glyph.strokes.append(points);
    }
    return glyph;
}

const QHash<QChar, Glyph> &glyphs()
{
    static const QHash<QChar, Glyph> all = [] {
        QHash<QChar, Glyph> table;
        for (const GlyphSource &source : glyphSources)
            table.insert(QChar(source.character), parsed(source));
        return table;
    }();
    return all;
}

/// Draws a smooth line through \a points (Catmull-Rom, as cubic pieces). Like a nib, each piece is
/// as wide as its direction makes it.
void drawStroke(QPainter &painter, const QPen &pen, double pressure, const QVector<QPointF> &points)
{
    for (int i = 0; i + 1 < points.size(); ++i) {
        const QPointF from = points.at(i);
        const QPointF to = points.at(i + 1);
        const QPointF before = points.at(std::max(0, i - 1));
        const QPointF after = points.at(std::min(points.size() - 1, i + 2));
        QPainterPath piece(from);
        piece.cubicTo(from + (to - before) / 6, to - (after - from) / 6, to);
        const QPointF way = to - from;
        const double down = way.y() / std::max(1e-6, std::hypot(way.x(), way.y()));
        QPen wide(pen);
        wide.setWidthF(pen.widthF() * (1 + pressure * std::max(0.0, down)));
        painter.strokePath(piece, wide);
    }
}

} // namespace

QPointF Handwriting::write(QPainter &painter, const QPen &pen, QPointF start,
                           const QString &text) const
{
    QPen nib(pen);
    nib.setCapStyle(Qt::RoundCap);
    nib.setJoinStyle(Qt::RoundJoin);
    const double unit = xHeight / 100;
    double x = 0;
    int count = 0;
    QVector<QPointF> joined; // the line that runs through the letters of a word
    const auto endWord = [&] {
        drawStroke(painter, nib, pressure, joined);
        joined.clear();
    };
    for (const QChar character : text.normalized(QString::NormalizationForm_D)) {
        const Glyph glyph = glyphs().value(character);
        // No two letters of a handwriting are the same.
        const double seed = start.y() * 0.37 + ++count * 1.7;
        const double size = unit * (1 + 0.05 * smoothNoise(seed, 3));
        const double rise = 0.05 * xHeight * smoothNoise(x / 300, start.y());
        const auto place = [&](QPointF point) {
            const double wobble = 2.2 * smoothNoise(seed + point.x() / 31, point.y() / 31);
            const double height = point.y() + wobble;
            return start + QPointF(x * unit + (point.x() + wobble + slant * height) * size,
                                   -height * size - rise);
        };
        const bool isAccent = glyph.advance <= 0;
        if (glyph.join != Join::Drawn && !isAccent)
            endWord();
        for (int i = 0; i < glyph.strokes.size(); ++i) {
            QVector<QPointF> points;
            for (const QPointF &point : glyph.strokes.at(i))
                points.append(place(point));
            if (glyph.join != Join::None && i == 0)
                joined += points;
            else
                drawStroke(painter, nib, pressure, points);
        }
        x += glyph.advance * (1 + 0.04 * smoothNoise(seed, 8));
    }
    endWord();
    return start + QPointF(x * unit, 0);
}

} // namespace kivra::cameras
