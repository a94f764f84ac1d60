#include "cameras/demo/demosettings.h"

#include "cameras/demo/folderpictures.h"

#include <QFileInfo>
#include <QHash>
#include <QLoggingCategory>
#include <QMutex>
#include <QRegularExpression>

namespace kivra::cameras {

namespace {

constexpr QSize smallestFrame(160, 120);
constexpr QSize largestFrame(3840, 2160);
constexpr int highestRate = 60;

/// Logs why the value of \a variable is not used, unless the last line about it said the same.
void warnOnce(const char *variable, const QString &value, const QString &why)
{
    static QMutex mutex;
    static QHash<QByteArray, QString> told;
    const QMutexLocker locker(&mutex);
    if (told.value(variable) == value)
        return;
    told.insert(variable, value);
    qWarning("%s: \"%s\" %s", variable, qUtf8Printable(value), qUtf8Printable(why));
}

QSize frameSize(QSize fallback)
{
    const QString value = qEnvironmentVariable("KIVRA_DEMO_SIZE");
    if (value.isEmpty())
        return fallback;
    static const QRegularExpression pattern(QStringLiteral("^([0-9]{1,5})x([0-9]{1,5})$"));
    const QRegularExpressionMatch match = pattern.match(value);
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (match.hasMatch() && size.boundedTo(largestFrame) == size &&
        size.expandedTo(smallestFrame) == size)
        return size;
    warnOnce("KIVRA_DEMO_SIZE", value,
             QStringLiteral("is no size from %1x%2 to %3x%4; using %5x%6")
                 .arg(smallestFrame.width())
                 .arg(smallestFrame.height())
                 .arg(largestFrame.width())
                 .arg(largestFrame.height())
                 .arg(fallback.width())
                 .arg(fallback.height()));
    return fallback;
}

int frameRate(int fallback)
{
    const QString value = qEnvironmentVariable("KIVRA_DEMO_RATE");
    if (value.isEmpty())
        return fallback;
    bool isNumber = false;
    const int rate = value.toInt(&isNumber);
    if (isNumber && rate >= 1 && rate <= highestRate)
        return rate;
    warnOnce("KIVRA_DEMO_RATE", value,
             QStringLiteral("is no number of frames a second from 1 to %1; using %2")
                 .arg(highestRate)
                 .arg(fallback));
    return fallback;
}

QString folder()
{
    const QString value = qEnvironmentVariable("KIVRA_DEMO_FOLDER");
    if (value.isEmpty())
        return {};
    QString path = QFileInfo(value).absoluteFilePath();
    if (!FolderPictures::picturesIn(path).isEmpty())
        return path;
    warnOnce("KIVRA_DEMO_FOLDER", value,
             QStringLiteral("is no folder with pictures; leaving it out"));
    return {};
}

} // namespace

DemoSettings demoSettings()
{
    DemoSettings settings;
    settings.frameSize = frameSize(settings.frameSize);
    settings.frameRate = frameRate(settings.frameRate);
    settings.folder = folder();
    return settings;
}

} // namespace kivra::cameras
