#pragma once

#include "cameras/demo/scene.h"

namespace kivra::cameras {

/// A green board with white and yellow chalk, wiped many times, for the mode of that name. The
/// shadow of an arm passes over it.
class Chalkboard : public Scene
{
public:
    void drawStill(QImage &picture, const std::atomic<bool> &abandoned) const override;
    void drawMoving(QPainter &painter, double seconds) const override;
};

} // namespace kivra::cameras
