#pragma once

#include "democamera/cameracontrol.h"
#include "democamera/camerasession.h"
#include "democamera/deviceselector.h"
#include "democamera/exposurecontrol.h"
#include "democamera/lockscontrol.h"
#include "democamera/renderercontrol.h"
#include "democamera/stillcontrol.h"
#include "democamera/stillsettings.h"

#include <QMediaService>

namespace kivra::democamera {

/// A camera as Qt's QCamera uses one: a session and the controls that lead to it.
class CameraService : public QMediaService
{
    Q_OBJECT

public:
    /// \a catalogue must outlive the service.
    explicit CameraService(DeviceCatalogue &catalogue);

    using QMediaService::requestControl;
    /// One of the controls, owned by the service; null for what the camera does not have.
    QMediaControl *requestControl(const char *name) override;
    void releaseControl(QMediaControl *control) override;

private:
    // The session comes first, and so goes last: the controls refer to it.
    CameraSession session;
    CameraControl camera;
    DeviceSelector selector;
    RendererControl renderer;
    StillSettings stillSettings;
    StillControl stills;
    LocksControl locks;
    ExposureControl exposure;
};

} // namespace kivra::democamera
