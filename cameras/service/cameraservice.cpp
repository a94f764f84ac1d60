#include "cameras/service/cameraservice.h"

namespace kivra::cameras {

CameraService::CameraService(DeviceCatalogue &catalogue)
    : QMediaService(nullptr)
    , session(catalogue)
    , camera(session)
    , selector(session)
    , renderer(session)
    , stillSettings(session)
    , stills(session, stillSettings)
    , locks(session)
    , exposure(session)
{
}

QMediaControl *CameraService::requestControl(const char *name)
{
    const struct
    {
        const char *name;
        QMediaControl *control;
    } controls[] = {
        {QCameraControl_iid, &camera},
        {QVideoDeviceSelectorControl_iid, &selector},
        {QVideoRendererControl_iid, &renderer},
        {QImageEncoderControl_iid, &stillSettings},
        {QCameraImageCaptureControl_iid, &stills},
        {QCameraLocksControl_iid, &locks},
        {QCameraExposureControl_iid, &exposure},
    };
    for (const auto &entry : controls) {
        if (qstrcmp(name, entry.name) == 0)
            return entry.control;
    }
    return nullptr;
}

void CameraService::releaseControl(QMediaControl *control)
{
    Q_UNUSED(control)
}

} // namespace kivra::cameras
