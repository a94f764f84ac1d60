#include "cameras/service/cameracontrol.h"

namespace kivra::cameras {

CameraControl::CameraControl(CameraSession &owner)
    : session(owner)
{
    connect(&session, &CameraSession::stateChanged, this, &CameraControl::stateChanged);
    connect(&session, &CameraSession::statusChanged, this, &CameraControl::statusChanged);
    connect(&session, &CameraSession::error, this, &CameraControl::error);
}

QCamera::State CameraControl::state() const
{
    return session.state();
}

void CameraControl::setState(QCamera::State state)
{
    session.setState(state);
}

QCamera::Status CameraControl::status() const
{
    return session.status();
}

QCamera::CaptureModes CameraControl::captureMode() const
{
    return mode;
}

void CameraControl::setCaptureMode(QCamera::CaptureModes wanted)
{
    if (wanted == mode || !isCaptureModeSupported(wanted))
        return;
    mode = wanted;
    emit captureModeChanged(mode);
}

bool CameraControl::isCaptureModeSupported(QCamera::CaptureModes wanted) const
{
    return !wanted.testFlag(QCamera::CaptureVideo);
}

bool CameraControl::canChangeProperty(PropertyChangeType change, QCamera::Status status) const
{
    Q_UNUSED(status)
    return change != VideoEncodingSettings && change != ViewfinderSettings;
}

} // namespace kivra::cameras
