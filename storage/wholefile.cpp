#include "storage/wholefile.h"

#include <QFile>
#include <QRandomGenerator>
#include <cstdio>

namespace {

// In the same folder, from where it can be renamed; the browser does not list it.
QString temporaryName(const QString &path)
{
    return path + QStringLiteral(".%1.part")
                      .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
}

// In one step where the system can: then a file is at this path at every moment.
bool replace(const QString &path, const QString &by)
{
    if (std::rename(QFile::encodeName(by).constData(), QFile::encodeName(path).constData()) == 0)
        return true;
    return QFile::remove(path) && QFile::rename(by, path);
}

} // namespace

bool writeWholeFile(const QString &path, const QByteArray &content)
{
    QFile file(temporaryName(path));
    const bool isOpen =
        file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered);
    const bool isWritten = isOpen && file.write(content) == content.size();
    file.close();
    const bool isReplaced = isWritten && replace(path, file.fileName());
    if (isReplaced)
        syncToDisk(path);
    else if (isOpen)
        file.remove();
    return isReplaced;
}
