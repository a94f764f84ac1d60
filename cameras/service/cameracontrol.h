#pragma once

#include "cameras/service/camerasession.h"

#include <QCameraControl>

namespace kivra::cameras {

/// State, status and errors of the session, as QCamera asks for them. Takes still pictures only.
class CameraControl : public QCameraControl
{
    Q_OBJECT

public:
    explicit CameraControl(CameraSession &session);

    QCamera::State state() const override;
    void setState(QCamera::State state) override;
    QCamera::Status status() const override;
    QCamera::CaptureModes captureMode() const override;
    void setCaptureMode(QCamera::CaptureModes mode) override;
    bool isCaptureModeSupported(QCamera::CaptureModes mode) const override;
    /// True, even while the camera runs, for all but what it does not have: settings of video and
    /// viewfinder.
    bool canChangeProperty(PropertyChangeType change, QCamera::Status status) const override;

private:
    CameraSession &session;
    QCamera::CaptureModes mode = QCamera::CaptureStillImage;
};

} // namespace kivra::cameras
