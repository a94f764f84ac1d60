#include "decoding/picturefile.h"

#include "decoding/confined.h"

#include <QFileInfo>
#include <QImageReader>

namespace kivra {

namespace {

// Also makes the plug-ins be loaded, here and once, and not in every child process anew.
const QList<QByteArray> &formats()
{
    static const QList<QByteArray> known = QImageReader::supportedImageFormats();
    return known;
}

QString withSuffix(const QString &path)
{
    if (path.isEmpty() || QFileInfo::exists(path))
        return path;
    for (const QByteArray &format : formats()) {
        QString candidate = path + QLatin1Char('.') + QString::fromLatin1(format);
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return path;
}

} // namespace

QImage loadPicture(const QString &path, int mostMs)
{
    formats();
    const QByteArray content = contentOfFile(withSuffix(path));
    return content.isEmpty() ? QImage() : decodeConfined(content, mostMs);
}

} // namespace kivra
