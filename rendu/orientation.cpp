#include "rendu/orientation.h"

#include <QFile>
#include <QTransform>
#include <QtEndian>
#include <optional>

namespace kivra::rendu {

namespace {

constexpr int uprightMark = 1;
constexpr int lastMark = 8;

// Reads numbers of the TIFF structure in which a JPEG file holds its Exif notes. There are none
// beyond its end.
class TiffNumbers
{
public:
    TiffNumbers(QFile &content, qint64 begin, qint64 end)
        : file(content)
        , first(begin)
        , last(end)
    {
        const QByteArray order = bytes(0, 2);
        isBig = order == "MM";
        isTiff = (isBig || order == "II") && word(2) == 42;
    }

    bool areThere() const { return isTiff; }
    std::optional<quint16> word(qint64 at) { return number<quint16>(at); }
    std::optional<quint32> longWord(qint64 at) { return number<quint32>(at); }

private:
    QByteArray bytes(qint64 at, int count)
    {
        const bool isInside = at >= 0 && first + at + count <= last && file.seek(first + at);
        return isInside ? file.read(count) : QByteArray();
    }

    template<typename Number>
    std::optional<Number> number(qint64 at)
    {
        const QByteArray content = bytes(at, sizeof(Number));
        if (content.size() != int(sizeof(Number)))
            return std::nullopt;
        return isBig ? qFromBigEndian<Number>(content.constData())
                     : qFromLittleEndian<Number>(content.constData());
    }

    QFile &file;
    qint64 first;
    qint64 last;
    bool isBig = false;
    bool isTiff = false;
};

// The orientation of the first picture: the header points to its directory.
int orientationIn(TiffNumbers tiff)
{
    constexpr quint16 orientationTag = 0x0112;
    constexpr quint16 shortType = 3;
    constexpr int entryBytes = 12;
    if (!tiff.areThere())
        return uprightMark;
    const qint64 directory = tiff.longWord(4).value_or(0);
    const int entries = tiff.word(directory).value_or(0);
    for (int i = 0; i < entries; ++i) {
        const qint64 entry = directory + 2 + qint64(i) * entryBytes;
        const auto tag = tiff.word(entry);
        if (!tag)
            break;
        if (tag == orientationTag && tiff.word(entry + 2) == shortType) {
            const int mark = tiff.word(entry + 8).value_or(uprightMark);
            return mark >= uprightMark && mark <= lastMark ? mark : uprightMark;
        }
    }
    return uprightMark;
}

// Goes through the segments before the image data. The Exif notes are in an APP1 segment that
// begins with "Exif".
int orientationInJpeg(QFile &file)
{
    constexpr quint16 startOfScan = 0xFFDA;
    constexpr quint16 app1 = 0xFFE1;
    constexpr int headBytes = 4;
    constexpr int mostSegments = 256;
    const QByteArray exif("Exif\0\0", 6);
    qint64 at = 2;
    for (int i = 0; i < mostSegments && file.seek(at); ++i) {
        const QByteArray head = file.read(headBytes + exif.size());
        if (head.size() < headBytes || uchar(head[0]) != 0xFF)
            break;
        const quint16 marker = qFromBigEndian<quint16>(head.constData());
        if (marker == startOfScan)
            break;
        if (marker == 0xFFFF) { // a fill byte
            ++at;
            continue;
        }
        const qint64 end = at + 2 + qFromBigEndian<quint16>(head.constData() + 2);
        if (marker == app1 && head.mid(headBytes) == exif)
            return orientationIn(TiffNumbers(file, at + headBytes + exif.size(), end));
        at = end;
    }
    return uprightMark;
}

} // namespace

int orientationOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return uprightMark;
    return file.peek(2) == "\xFF\xD8" ? orientationInJpeg(file) : uprightMark;
}

QImage upright(const QImage &picture, int orientation)
{
    const auto turned = [](const QImage &image, int degrees) {
        return image.transformed(QTransform().rotate(degrees));
    };
    switch (orientation) {
    case 2:
        return picture.mirrored(true, false);
    case 3:
        return picture.mirrored(true, true);
    case 4:
        return picture.mirrored(false, true);
    case 5:
        return turned(picture.mirrored(false, true), 90);
    case 6:
        return turned(picture, 90);
    case 7:
        return turned(picture.mirrored(true, false), 90);
    case 8:
        return turned(picture, 270);
    default:
        return picture;
    }
}

} // namespace kivra::rendu
