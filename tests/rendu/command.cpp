#include "tests/rendu/command.h"

#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/thisbuild.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <random>

namespace kivra::test {

Command::Command()
{
    QDir(path()).removeRecursively();
    QDir().mkpath(path());
}

QString Command::path(const QString &name) const
{
    const QString folder = Sandbox::instance().home() + QStringLiteral("/mois");
    return name.isEmpty() ? folder : folder + QLatin1Char('/') + name;
}

QString Command::picture(const QString &name, const QImage &content) const
{
    QDir().mkpath(QFileInfo(path(name)).path());
    if (!content.save(path(name)))
        qFatal("cannot write %s", qPrintable(name));
    return path(name);
}

QString Command::file(const QString &name, const QByteArray &content) const
{
    QDir().mkpath(QFileInfo(path(name)).path());
    QFile made(path(name));
    if (!made.open(QIODevice::WriteOnly) || made.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(name));
    return path(name);
}

QStringList Command::filesIn(const QString &folder) const
{
    return QDir(path(folder)).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

QByteArray Command::contentOf(const QString &name) const
{
    QFile made(path(name));
    return made.open(QIODevice::ReadOnly) ? made.readAll() : QByteArray();
}

QImage Command::result(const QString &name) const
{
    return QImage(path(name)).convertToFormat(QImage::Format_RGB32);
}

void Command::age(const QString &name, int seconds) const
{
    QFile made(path(name));
    if (!made.open(QIODevice::ReadWrite) ||
        !made.setFileTime(QDateTime::currentDateTime().addSecs(-seconds),
                          QFileDevice::FileModificationTime))
        qFatal("cannot change the time of %s", qPrintable(name));
}

int Command::run(const QStringList &arguments, const QByteArray &input)
{
    QProcess process;
    start(&process, arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool ends = process.waitForFinished(4 * patienceMs);
    out = QString::fromUtf8(process.readAllStandardOutput());
    complaints = complaintsOf(&process);
    return ends && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

int Command::runBy(const QString &by, const QStringList &before, const QStringList &arguments)
{
    QProcess process;
    process.setWorkingDirectory(path());
    process.start(by, before + QStringList{program()} + arguments);
    const bool ends = process.waitForFinished(4 * patienceMs);
    out = QString::fromUtf8(process.readAllStandardOutput());
    complaints = complaintsOf(&process);
    return ends && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void Command::start(QProcess *process, const QStringList &arguments) const
{
    process->setWorkingDirectory(path());
    process->start(program(), arguments);
    if (!process->waitForStarted(patienceMs))
        qFatal("the command does not start");
}

QString Command::complaintsOf(QProcess *process)
{
    QString all = QString::fromUtf8(process->readAllStandardError());
    if (!isSanitized())
        return all;
    // The command's own lines, wherever they begin: a decoder that is killed while it prints leaves
    // its line unfinished.
    static const QRegularExpression ownLine(QStringLiteral("kivra-rendu : [^\n]*\n"));
    QString own;
    for (QRegularExpressionMatchIterator lines = ownLine.globalMatch(all); lines.hasNext();)
        own += lines.next().captured();
    return own;
}

QString Command::program()
{
    return besideTheProgram(QStringLiteral("kivra-rendu"));
}

QImage noise(const QSize &size, unsigned int number)
{
    std::mt19937 random(number);
    return drawn(size, QImage::Format_RGB32,
                 [&](int, int) { return 0xFF000000U | (QRgb(random()) & 0xFFFFFFU); });
}

QStringList words(const char *line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

} // namespace kivra::test
