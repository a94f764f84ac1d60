#pragma once

#include "cameras/service/camerasession.h"

#include <QVideoRendererControl>

namespace kivra::cameras {

/// The surface that receives the session's frames.
class RendererControl : public QVideoRendererControl
{
    Q_OBJECT

public:
    explicit RendererControl(CameraSession &session);

    QAbstractVideoSurface *surface() const override;
    void setSurface(QAbstractVideoSurface *surface) override;

private:
    CameraSession &session;
};

} // namespace kivra::cameras
