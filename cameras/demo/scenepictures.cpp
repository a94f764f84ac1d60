#include "cameras/demo/scenepictures.h"

#include <cstring>

namespace kivra::cameras {

namespace {

constexpr double grainSigma = 1.3;

} // namespace

ScenePictures::ScenePictures(std::unique_ptr<Scene> subject)
    : scene(std::move(subject))
    , grain(grainSigma)
{
}

bool ScenePictures::make(QImage &picture, double seconds, double ev,
                         const std::atomic<bool> &abandoned)
{
    if (kept.isNull()) {
        QImage still(picture.size(), QImage::Format_RGB32);
        scene->drawStill(still, abandoned);
        if (abandoned)
            return false;
        kept = still;
    }
    if (picture.size() == kept.size())
        copyKept(picture);
    else
        scene->drawStill(picture, abandoned);

    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setTransform(sceneTransform(picture.size()));
    scene->drawMoving(painter, seconds);
    painter.end();

    expose(picture, ev, grain.reach());
    grain.addTo(picture, static_cast<unsigned>(seconds * 1000));
    return !abandoned;
}

void ScenePictures::copyKept(QImage &picture) const
{
    for (int y = 0; y < kept.height(); ++y) {
        std::memcpy(picture.scanLine(y), kept.constScanLine(y),
                    static_cast<size_t>(kept.bytesPerLine()));
    }
}

} // namespace kivra::cameras
