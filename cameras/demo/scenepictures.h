#pragma once

#include "cameras/demo/exposure.h"
#include "cameras/demo/picturemaker.h"
#include "cameras/demo/scene.h"

#include <memory>

namespace kivra::cameras {

/// Pictures of a scene. What does not move is drawn once, at the size of the first call, and kept.
/// For another size it is drawn anew each time, into the caller's picture.
class ScenePictures : public PictureMaker
{
public:
    explicit ScenePictures(std::unique_ptr<Scene> scene);

    bool make(QImage &picture, double seconds, double ev,
              const std::atomic<bool> &abandoned) override;

private:
    void copyKept(QImage &picture) const;

    const std::unique_ptr<Scene> scene;
    const Grain grain;
    QImage kept;
};

} // namespace kivra::cameras
