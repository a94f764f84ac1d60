#include "storage/paths.h"

#include <QDateTime>
#include <QDir>
#include <QStandardPaths>
#include <QtDebug>

namespace {

void createIfMissing(const QString &path)
{
    const QDir folder(path);
    if (!folder.exists())
        folder.mkpath(QStringLiteral("."));
}

} // namespace

QString getMyDocPath()
{
    QString path = QStandardPaths::locate(QStandardPaths::DocumentsLocation, QString(),
                                          QStandardPaths::LocateDirectory);
    if (path.isEmpty())
        qWarning("There is no Documents folder; pictures are stored in the current folder.");
    return path;
}

QString storageRoot()
{
    return getMyDocPath() + QStringLiteral("TablinoQt");
}

QString monthDir()
{
    const int year = QDateTime::currentDateTime().date().year();
    const int month = QDateTime::currentDateTime().date().month();
    return QString::asprintf("%d-%02d", year, month);
}

QString daytimeFile(QString prefix, QString suffix)
{
    const int year = QDateTime::currentDateTime().date().year() - 2000;
    const int month = QDateTime::currentDateTime().date().month();
    const int day = QDateTime::currentDateTime().date().day();
    const int hour = QDateTime::currentDateTime().time().hour();
    const int minute = QDateTime::currentDateTime().time().minute();
    const int second = QDateTime::currentDateTime().time().second();
    return prefix +
           QString::asprintf("%02d%02d%02d%02d%02d%02d", year, month, day, hour, minute, second) +
           suffix;
}

void createDirRacine()
{
    createIfMissing(storageRoot());
}

QString checkAndCreateDir(QString sub)
{
    QString path = getDir(sub);
    createIfMissing(path);
    return path;
}

QString getDir(QString sub)
{
    return storageRoot() + QLatin1Char('/') + sub + QLatin1Char('/') + monthDir();
}
