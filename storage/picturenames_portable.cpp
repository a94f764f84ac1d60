#include "storage/picturenames.h"

#include <QDir>

QStringList pictureNames(const QString &path)
{
    if (path.isEmpty()) // QDir would take the current folder
        return {};
    QDir folder(path, QString(), QDir::NoSort, QDir::Files | QDir::CaseSensitive);
    folder.setNameFilters({QStringLiteral("*.jpg"), QStringLiteral("*.png")});
    QStringList names;
    for (const QFileInfo &entry : folder.entryInfoList()) {
        if (entry.isFile()) // also listed: links to folders and the like
            names += entry.fileName();
    }
    return names;
}
