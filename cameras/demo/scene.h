#pragma once

#include <QImage>
#include <QPainter>
#include <QTransform>
#include <algorithm>
#include <atomic>

namespace kivra::cameras {

/// What lies under the camera. Scenes are drawn in coordinates of their own, so that they fit every
/// size of picture: the middle of any picture shows the rectangle from (0, 0) to sceneSize.
constexpr QSizeF sceneSize(1600, 900);

/// Pixels of a picture of \a size per unit of the scene.
inline double sceneScale(QSize size)
{
    return std::min(size.width() / sceneSize.width(), size.height() / sceneSize.height());
}

/// From scene coordinates to the pixels of a picture of \a size.
inline QTransform sceneTransform(QSize size)
{
    const double scale = sceneScale(size);
    return QTransform::fromTranslate(size.width() / 2.0, size.height() / 2.0)
        .scale(scale, scale)
        .translate(-sceneSize.width() / 2, -sceneSize.height() / 2);
}

class Scene
{
public:
    Scene() = default;
    virtual ~Scene() = default;
    Scene(const Scene &) = delete;
    Scene &operator=(const Scene &) = delete;

    /// Draws what does not move, light included, over all of \a picture (Format_RGB32). May stop
    /// anywhere once \a abandoned is true.
    virtual void drawStill(QImage &picture, const std::atomic<bool> &abandoned) const = 0;
    /// Draws what moves, where it is at \a seconds. \a painter is in scene coordinates.
    virtual void drawMoving(QPainter &painter, double seconds) const = 0;
};

} // namespace kivra::cameras
