#pragma once

#include <QCoreApplication>
#include <QDateTime>
#include <QProcess>
#include <QStringList>

namespace kivra::test {

/// What a function of the storage library says in another process on another day.
struct ClockReading
{
    QDateTime before;
    QString text;
    QDateTime after;
};

/// Calls \a function in a process of its own whose clock shows \a instant, "yyyy-MM-dd hh:mm:ss" in
/// the time zone \a zone, and stands still; with \a advance it moves by that (such as "i61" for 61
/// seconds) at each reading. Empty text if the process failed.
inline ClockReading readAt(const QString &function, const QString &instant,
                           const QString &advance = {}, const QString &zone = QStringLiteral("UTC"))
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TZ"), zone);
    // A preloaded library comes before the sanitizer's, which objects unless told not to.
    environment.insert(QStringLiteral("ASAN_OPTIONS"),
                       QStringLiteral("verify_asan_link_order=0:detect_leaks=0"));
    process.setProcessEnvironment(environment);
    const QString clock =
        advance.isEmpty() ? instant : QStringLiteral("@%1 %2").arg(instant, advance);
    process.start(QStringLiteral("faketime"),
                  {QStringLiteral("-f"), clock,
                   QCoreApplication::applicationDirPath() + QStringLiteral("/clockprobe"),
                   function});
    if (!process.waitForFinished() || process.exitCode() != 0) {
        qWarning("clockprobe: %s%s", qPrintable(process.errorString()),
                 process.readAllStandardError().constData());
        return {};
    }
    const QStringList lines =
        QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'));
    return {QDateTime::fromString(lines.value(0), Qt::ISODate), lines.value(1),
            QDateTime::fromString(lines.value(2), Qt::ISODate)};
}

} // namespace kivra::test
