#include "benchmarks/simulated.h"

#include "cameras/demo/printedpage.h"
#include "cameras/demo/scenepictures.h"
#include "tests/videonode/node.h"
#include "tests/videonode/videonodes.h"

#include <QBuffer>
#include <QImageWriter>
#include <atomic>
#include <ctime>
#include <dlfcn.h>
#include <memory>

namespace kivra::benchmarks {

namespace {

// What document cameras send: 360 kB at 1920 x 1080.
constexpr double jpegBitsPerPixel = 1.4;

std::vector<QImage> pageFilmed(QSize size)
{
    cameras::ScenePictures scene(std::make_unique<cameras::PrintedPage>());
    std::vector<QImage> pictures(2, QImage(size, QImage::Format_RGB32));
    const std::atomic<bool> abandoned{false};
    double seconds = 0;
    for (QImage &picture : pictures)
        scene.make(picture, seconds += 1, 0, abandoned);
    return pictures;
}

qint64 jpegBytes(const QImage &picture, int quality)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(quality);
    writer.write(picture);
    return buffer.size();
}

// The highest quality, in steps of four, whose file is no larger than a camera's.
int cameraQuality(const QImage &picture)
{
    const double wanted = picture.width() * double(picture.height()) * jpegBitsPerPixel / 8;
    int quality = 98;
    while (quality > 30 && double(jpegBytes(picture, quality)) > wanted)
        quality -= 4;
    return quality;
}

} // namespace

SimulatedCamera::SimulatedCamera(const QString &format, QSize size, int rate)
{
    const test::VideoNodes nodes(folder.path());
    const std::vector<QImage> pictures = pageFilmed(size);
    nodes.setFrames(format, pictures, cameraQuality(pictures.front()));
    test::VideoNodes::Camera camera;
    camera.formats = QStringList{
        QStringLiteral("%1 %2x%3@%4").arg(format).arg(size.width()).arg(size.height()).arg(rate)};
    nodes.plugIn(camera);
}

void SimulatedCamera::showToChildren() const
{
    const QMap<QString, QString> variables = test::VideoNodes(folder.path()).environment();
    for (auto variable = variables.begin(); variable != variables.end(); ++variable)
        qputenv(variable.key().toLatin1().constData(), variable.value().toUtf8());
}

bool readCameraFigures(CameraFigures &figures)
{
    const auto *const node = static_cast<const test::videonode::Figures *>(
        dlsym(RTLD_DEFAULT, "kivra_videonode_figures"));
    if (!node)
        return false;
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const double nowMs = double(now.tv_sec) * 1e3 + double(now.tv_nsec) * 1e-6;
    figures.frames = node->delivered + node->lost;
    figures.sinceLastMs = nowMs - double(node->lastDequeuedNs) * 1e-6;
    figures.firstFrameDelayMs = double(node->startDelayNs) * 1e-6;
    return true;
}

} // namespace kivra::benchmarks
