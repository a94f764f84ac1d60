#include "cameras/service/renderercontrol.h"

namespace kivra::cameras {

RendererControl::RendererControl(CameraSession &owner)
    : session(owner)
{
}

QAbstractVideoSurface *RendererControl::surface() const
{
    return session.surface();
}

void RendererControl::setSurface(QAbstractVideoSurface *surface)
{
    session.setSurface(surface);
}

} // namespace kivra::cameras
