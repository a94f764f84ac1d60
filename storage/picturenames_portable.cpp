#include "storage/picturenames.h"

#include <QDir>

QStringList pictureNames(const QString &path)
{
    if (path.isEmpty()) // for QDir, the current folder
        return {};
    QDir folder(path, QString(), QDir::NoSort, QDir::Files | QDir::CaseSensitive);
    folder.setNameFilters({QStringLiteral("*.jpg"), QStringLiteral("*.png")});
    QStringList names;
    for (const QFileInfo &entry : folder.entryInfoList()) {
        if (entry.isFile()) // links to what is no file are listed too
            names += entry.fileName();
    }
    return names;
}
