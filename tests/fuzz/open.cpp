// An input is the content of a picture file. It is opened as the window opens it, so that a fault
// of a reader stays in the decoder program. The fuzzer looks for faults that do not stay there.

#include "decoding/picturedecoder.h"
#include "tests/fuzz/target.h"

#include <QFile>
#include <QGuiApplication>
#include <QtGlobal>

namespace kivra::fuzz {

namespace {

void forget(QtMsgType, const QMessageLogContext &, const QString &) {}

PictureDecoder *theDecoder = nullptr; // of the application below

struct Application : Surroundings
{
    QGuiApplication application;
    PictureDecoder decoder{PictureDecoder::installedProgram(), {1800, 1800}};

    Application(int &argc, char **argv)
        : application(argc, argv)
    {
        qInstallMessageHandler(forget);
        theDecoder = &decoder;
    }
};

// Reads every pixel, and checks that the picture has the form that was promised.
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
    require(isWhole(theDecoder->load(file.fileName())), "the picture is not what is promised");
}

} // namespace kivra::fuzz
