#include "tests/support/files.h"

#include "tests/support/sandbox.h"

#include <QFile>

namespace kivra::test {

QString pathOf(const QString &name)
{
    return Sandbox::instance().documents() + QLatin1Char('/') + name;
}

QString written(const QString &name, const QByteArray &content)
{
    QFile file(pathOf(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(name));
    return file.fileName();
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace kivra::test
