#pragma once

#include "cameras/demo/scene.h"

namespace kivra::cameras {

/// A coloured plate and pencils, most of it in deep shadow and a part in a glaring spot: what the
/// mode for difficult lighting is for. The edge of the shadow and a pencil move.
class DifficultLight : public Scene
{
public:
    void drawStill(QImage &picture, const std::atomic<bool> &abandoned) const override;
    void drawMoving(QPainter &painter, double seconds) const override;
};

} // namespace kivra::cameras
