#include "decoding/picturefile.h"

#include <QFileInfo>
#include <QImageReader>
#include <tuple>

namespace kivra {

bool FileState::operator==(const FileState &other) const
{
    const auto all = [](const FileState &is) {
        return std::tie(is.device, is.number, is.bytes, is.modifiedNs, is.changedNs);
    };
    return all(*this) == all(other);
}

QString pictureFile(const QString &path)
{
    if (path.isEmpty() || QFileInfo::exists(path))
        return path;
    for (const QByteArray &format : QImageReader::supportedImageFormats()) {
        QString candidate = path + QLatin1Char('.') + QString::fromLatin1(format);
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return path;
}

} // namespace kivra
