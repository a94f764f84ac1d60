#pragma once

#include "cameras/demo/scene.h"

namespace kivra::cameras {

/// A page of an exercise book with a pupil's handwriting in blue ink, on a grey table and in the
/// shade of somebody who leans over it, for the mode for handwriting.
class HandwrittenPage : public Scene
{
public:
    void drawStill(QImage &picture, const std::atomic<bool> &abandoned) const override;
    void drawMoving(QPainter &painter, double seconds) const override;
};

} // namespace kivra::cameras
