#pragma once

#include "cameras/demo/scene.h"

namespace kivra::cameras {

/// A printed worksheet on a wooden table, in even light that falls off to one side, for the mode
/// for text. A pencil follows the lines.
class PrintedPage : public Scene
{
public:
    void drawStill(QImage &picture, const std::atomic<bool> &abandoned) const override;
    void drawMoving(QPainter &painter, double seconds) const override;
};

} // namespace kivra::cameras
