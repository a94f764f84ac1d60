#include "rendu/mark.h"

#include "rendu/choices.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>
#include <zlib.h>

namespace kivra::rendu {

namespace {

// In a PNG file, after the signature and the header. In a JPEG file, after the first segment, which
// some programs require to be the first.
constexpr int pngPlace = 8 + 25;
constexpr int jpegPlace = 2 + 18;

const QByteArray &pngBegin()
{
    static const QByteArray begin("\x89PNG\r\n\x1a\n");
    return begin;
}

QByteArray optionsText(const Options &options)
{
    const FrameSettings &settings = options.settings;
    return QStringLiteral("kivra-rendu effet=%1 rendu=%2 contraste=%3 lumiere=%4 reglage=%5")
        .arg(modeNames()[settings.mode], effectNames()[settings.effect])
        .arg(settings.contraste)
        .arg(settings.lumiere)
        .arg(options.reglage)
        .toLatin1();
}

// Pages of one size and name lie in several months' folders.
QByteArray fileMark(const QString &source)
{
    const QFileInfo file(source);
    return QFile::encodeName(file.canonicalFilePath()) + '\0' + QByteArray::number(file.size()) +
           '\0' + QByteArray::number(file.lastModified().toMSecsSinceEpoch()) + '\0';
}

QByteArray digestOf(const QStringList &sources)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QString &source : sources)
        hash.addData(fileMark(source));
    return hash.result().toHex();
}

QByteArray bigEndian(quint32 number)
{
    QByteArray bytes(sizeof number, 0);
    qToBigEndian(number, bytes.data());
    return bytes;
}

QByteArray pngChunk(const QByteArray &mark)
{
    const QByteArray body = QByteArray("tEXtComment", 11) + '\0' + mark;
    const uLong sum =
        crc32(0, reinterpret_cast<const Bytef *>(body.constData()), uInt(body.size()));
    constexpr int typeBytes = 4;
    return bigEndian(quint32(body.size() - typeBytes)) + body + bigEndian(quint32(sum));
}

QByteArray jpegComment(const QByteArray &mark)
{
    const int length = mark.size() + 2;
    return QByteArray("\xFF\xFE") + char(length >> 8) + char(length & 0xFF) + mark;
}

QByteArray bytesAt(const QString &path, qint64 place, int count)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.seek(place < 0 ? file.size() + place : place) ? file.read(count) : QByteArray();
}

} // namespace

QByteArray markOf(const Options &options, const QString &source)
{
    return optionsText(options) + " source=" + digestOf({source});
}

QByteArray documentMarkOf(const Options &options)
{
    return optionsText(options) + " sources=" + digestOf(options.sources);
}

QByteArray withMark(const QByteArray &file, const QByteArray &mark)
{
    const bool isPng = file.startsWith(pngBegin());
    QByteArray marked = file;
    marked.insert(isPng ? pngPlace : jpegPlace, isPng ? pngChunk(mark) : jpegComment(mark));
    return marked;
}

QByteArray documentEnd(const QByteArray &mark)
{
    return "%" + mark + "\n";
}

bool bearsMark(const QString &path, const QByteArray &mark)
{
    const QByteArray chunk = pngChunk(mark);
    const QByteArray comment = jpegComment(mark);
    return (bytesAt(path, 0, pngBegin().size()) == pngBegin() &&
            bytesAt(path, pngPlace, chunk.size()) == chunk) ||
           bytesAt(path, jpegPlace, comment.size()) == comment;
}

bool documentBearsMark(const QString &path, const QByteArray &mark)
{
    const QByteArray end = documentEnd(mark);
    return bytesAt(path, -end.size(), end.size()) == end;
}

} // namespace kivra::rendu
