// An input is the content of a picture file. It is opened as the window opens it, so that a fault
// of a reader stays in its child process; what is looked for is a fault that does not.

#include "decoding/decoder.h"
#include "decoding/picturefile.h"
#include "tests/fuzz/target.h"

#include <QFile>
#include <QGuiApplication>
#include <QtGlobal>

namespace kivra::fuzz {

namespace {

void forget(QtMsgType, const QMessageLogContext &, const QString &) {}

// Pictures with text need fonts, and those an application.
struct Application : Surroundings
{
    QGuiApplication application;

    Application(int &argc, char **argv)
        : application(argc, argv)
    {
        qInstallMessageHandler(forget);
    }
};

// Every pixel is read; what is loaded has the form that it is promised to have.
bool isWhole(const QImage &picture)
{
    if (picture.isNull())
        return true;
    if (!isDecodable(picture.size()) || picture.format() != QImage::Format_RGB32)
        return false;
    for (int y = 0; y < picture.height(); ++y) {
        const auto *const row = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            if (qAlpha(row[x]) != 255)
                return false;
        }
    }
    return true;
}

} // namespace

std::unique_ptr<Surroundings> prepare(int &argc, char **argv)
{
    return std::make_unique<Application>(argc, argv);
}

void run(const std::uint8_t *data, std::size_t size)
{
    QFile file(QStringLiteral("fuzz-open-input"));
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate), "the input cannot be stored");
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();
    require(isWhole(loadPicture(file.fileName())), "the picture is not what is promised");
}

} // namespace kivra::fuzz
