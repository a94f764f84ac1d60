#pragma once

#include "cameras/demo/scene.h"

namespace kivra::cameras {

/// A coloured plate and pencils, mostly in deep shadow, partly in a glaring spot, for the mode for
/// difficult lighting. The shadow of a pointing hand moves.
class DifficultLight : public Scene
{
public:
    void drawStill(QImage &picture, const std::atomic<bool> &abandoned) const override;
    void drawMoving(QPainter &painter, double seconds) const override;
};

} // namespace kivra::cameras
