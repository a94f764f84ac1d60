#include "decoding/confined.h"
#include "decoding/decoder.h"
#include "decoding/picturefile.h"

#include <QFile>
#include <QFileInfo>

namespace kivra {

QByteArray contentOfFile(const QString &path)
{
    const QFileInfo is(path);
    QFile file(path);
    if (!is.isFile() || is.size() > mostFileBytes || !file.open(QIODevice::ReadOnly))
        return {};
    return file.read(is.size());
}

QImage decodeConfined(const QByteArray &content, int /*mostMs*/)
{
    QImage picture;
    const QSize size = decodePicture(content, [&](const QSize &wanted) {
        if (picture.size() != wanted)
            picture = QImage(wanted, QImage::Format_RGB32);
        return picture.bits();
    });
    return size.isEmpty() ? QImage() : picture;
}

} // namespace kivra
