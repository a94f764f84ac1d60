#include "storage/picturenames.h"

#include <QDir>

QStringList pictureNames(const QString &path)
{
    if (path.isEmpty()) // for QDir, the current folder
        return {};
    QDir folder(path, QString(), QDir::NoSort, QDir::Files | QDir::CaseSensitive);
    folder.setNameFilters({QStringLiteral("*.jpg"), QStringLiteral("*.png")});
    return folder.entryList();
}
