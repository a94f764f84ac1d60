#include "rendu/encoding.h"

#include <QBuffer>
#include <QImageWriter>
#include <algorithm>
#include <optional>
#include <utility>

namespace kivra::rendu {

namespace {

constexpr int jpegQuality = 90;

struct Colours
{
    QRgb light = 0;
    QRgb dark = 0;
};

const QRgb *wordsOf(const QImage &picture, int y)
{
    return reinterpret_cast<const QRgb *>(picture.constScanLine(y));
}

// Ends early for most pictures: a third colour shows within a few pixels.
std::optional<Colours> coloursOf(const QImage &picture)
{
    if (picture.isNull())
        return std::nullopt;
    const QRgb one = wordsOf(picture, 0)[0];
    QRgb other = one;
    for (int y = 0; y < picture.height(); ++y) {
        const QRgb *const row = wordsOf(picture, y);
        const QRgb *const end = row + picture.width();
        const auto isNew = [&](QRgb word) { return word != one && word != other; };
        const QRgb *next = std::find_if(row, end, isNew);
        if (next != end && other == one) {
            other = *next;
            next = std::find_if(next, end, isNew);
        }
        if (next != end)
            return std::nullopt;
    }
    if (qGray(one) >= qGray(other))
        return Colours{one, other};
    return Colours{other, one};
}

void packRow(const QRgb *words, int width, QRgb dark, uchar *bits)
{
    for (int x = 0; x < width; x += 8) {
        const int count = std::min(8, width - x);
        unsigned int byte = 0;
        for (int i = 0; i < count; ++i)
            byte |= (words[x + i] == dark ? 0x80U : 0U) >> i;
        bits[x / 8] = uchar(byte);
    }
}

QByteArray written(const QImage &picture, const char *format, int quality)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    QImageWriter writer(&file, format);
    writer.setQuality(quality);
    return writer.write(picture) ? file.data() : QByteArray();
}

} // namespace

QImage twoValued(const QImage &picture)
{
    const std::optional<Colours> colours = coloursOf(picture);
    if (!colours)
        return {};
    QImage bits(picture.size(), QImage::Format_Mono);
    if (bits.isNull())
        return {};
    bits.setColorTable({colours->light, colours->dark});
    // A plain picture consists of the first colour alone.
    const QRgb dark = colours->dark == colours->light ? 0 : colours->dark;
    for (int y = 0; y < picture.height(); ++y)
        packRow(wordsOf(picture, y), picture.width(), dark, bits.scanLine(y));
    return bits;
}

QByteArray pngOf(const QImage &picture)
{
    constexpr int usual = -1;
    const QImage bits = twoValued(picture);
    return written(bits.isNull() ? picture : bits, "png", usual);
}

bool isTooLargeForJpeg(const QImage &picture)
{
    constexpr int longestSide = 65500;
    return std::max(picture.width(), picture.height()) > longestSide;
}

QByteArray jpegOf(const QImage &picture)
{
    return isTooLargeForJpeg(picture) ? QByteArray() : written(picture, "jpg", jpegQuality);
}

} // namespace kivra::rendu
