#include "tests/videonode/videonodes.h"

#include <QBuffer>
#include <QColor>
#include <QDir>
#include <QFile>
#include <QImageWriter>
#include <sys/stat.h>

namespace kivra::test {

namespace {

struct Yuv
{
    double y, u, v;
};

// Full-range RGB to what cameras send: the weights of BT.601, brightness 16 to 235.
Yuv toYuv(QRgb colour)
{
    const double red = qRed(colour) / 255.0;
    const double green = qGreen(colour) / 255.0;
    const double blue = qBlue(colour) / 255.0;
    const double brightness = 0.299 * red + 0.587 * green + 0.114 * blue;
    return {16 + 219 * brightness, 128 + 224 * (blue - brightness) / 1.772,
            128 + 224 * (red - brightness) / 1.402};
}

// Two pixels in four bytes: Y U Y V.
QByteArray yuyvOf(const QImage &picture)
{
    QByteArray bytes;
    bytes.reserve(picture.width() * picture.height() * 2);
    for (int y = 0; y < picture.height(); ++y) {
        const auto *const row = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        for (int x = 0; x + 1 < picture.width(); x += 2) {
            const Yuv left = toYuv(row[x]);
            const Yuv right = toYuv(row[x + 1]);
            for (const double value :
                 {left.y, (left.u + right.u) / 2, right.y, (left.v + right.v) / 2})
                bytes += char(qRound(value));
        }
    }
    return bytes;
}

QByteArray jpegOf(const QImage &picture, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(quality);
    if (!writer.write(picture))
        qFatal("a frame cannot be encoded");
    return bytes;
}

QString frameName(const QString &format, const QSize &size, int number)
{
    return QStringLiteral("frames/%1-%2x%3.%4")
        .arg(format)
        .arg(size.width())
        .arg(size.height())
        .arg(number);
}

} // namespace

VideoNodes::VideoNodes(const QString &folder)
    : root(folder)
{
    const QDir top(root);
    for (const char *name : {"dev", "sys", "udev", "formats", "frames"})
        top.mkpath(QLatin1String(name));
}

QMap<QString, QString> VideoNodes::environment() const
{
    return {{QStringLiteral("LD_PRELOAD"), QStringLiteral(KIVRA_VIDEO_NODE)},
            {QStringLiteral("KIVRA_TEST_DEVICES"), root}};
}

QByteArray VideoNodes::frame(const QString &format, const QSize &size, int number) const
{
    QFile file(path(frameName(format, size, number)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Makes the node last, when all that can be known about it is there.
void VideoNodes::plugIn(const Camera &camera) const
{
    const QString name = QStringLiteral("video%1").arg(camera.number);
    const QString numbers = QStringLiteral("81:%1").arg(camera.number);
    const QString about = QStringLiteral("sys/") + name;
    QDir(root).mkpath(about + QStringLiteral("/device"));
    write(about + QStringLiteral("/name"), camera.name.toUtf8() + '\n');
    write(about + QStringLiteral("/dev"), numbers.toLatin1() + '\n');
    write(about + QStringLiteral("/index"), "0\n");
    const std::pair<const char *, QString> device[] = {
        {"idVendor", QStringLiteral("1d6b")},
        {"idProduct", QStringLiteral("0102")},
        {"busnum", QStringLiteral("1")},
        {"devpath", camera.port},
        {"removable", QStringLiteral("removable")},
        {"speed", QString::number(camera.speed)},
    };
    for (const auto &[attribute, value] : device)
        write(about + QStringLiteral("/device/") + QLatin1String(attribute), value.toUtf8() + '\n');
    write(QStringLiteral("udev/c") + numbers, "E:ID_V4L_CAPABILITIES=:capture:\n");
    write(QStringLiteral("formats/") + name, camera.formats.join(QLatin1Char('\n')).toUtf8());
    // A pipe, because Qt's own service lists only what is neither file nor folder.
    mkfifo(QFile::encodeName(path(QStringLiteral("dev/") + name)).constData(), S_IRWXU);
}

void VideoNodes::unplug(int number) const
{
    QFile::remove(path(QStringLiteral("dev/video%1").arg(number)));
}

void VideoNodes::setBusy(bool on) const
{
    setExists(QStringLiteral("busy"), on);
}

void VideoNodes::setForbidden(bool on) const
{
    setExists(QStringLiteral("forbidden"), on);
}

void VideoNodes::setBandwidth(qint64 bytes) const
{
    write(QStringLiteral("bandwidth"), QByteArray::number(bytes));
}

void VideoNodes::setAnyBandwidth() const
{
    setExists(QStringLiteral("bandwidth"), false);
}

void VideoNodes::setFrames(const QString &format, const std::vector<QImage> &pictures,
                           int quality) const
{
    int number = 0;
    for (const QImage &picture : pictures) {
        const QString name = frameName(format, picture.size(), number++);
        const bool compressed = format == QLatin1String("MJPG");
        const QImage words = picture.convertToFormat(QImage::Format_RGB32);
        write(name, compressed ? jpegOf(words, quality) : yuyvOf(words));
    }
}

void VideoNodes::write(const QString &name, const QByteArray &content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("%s cannot be written", qPrintable(name));
}

void VideoNodes::setExists(const QString &name, bool on) const
{
    if (on)
        write(name, {});
    else
        QFile::remove(path(name));
}

} // namespace kivra::test
