#pragma once

#include "cameras/service/cameracontrol.h"
#include "cameras/service/camerasession.h"
#include "cameras/service/deviceselector.h"
#include "cameras/service/exposurecontrol.h"
#include "cameras/service/lockscontrol.h"
#include "cameras/service/renderercontrol.h"
#include "cameras/service/stillcontrol.h"
#include "cameras/service/stillsettings.h"

#include <QMediaService>

namespace kivra::cameras {

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
    // The controls refer to the session, so it is declared first and destroyed last.
    CameraSession session;
    CameraControl camera;
    DeviceSelector selector;
    RendererControl renderer;
    StillSettings stillSettings;
    StillControl stills;
    LocksControl locks;
    ExposureControl exposure;
};

} // namespace kivra::cameras
