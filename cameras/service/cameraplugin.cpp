#include "cameras/service/cameraplugin.h"

#include "cameras/service/cameraservice.h"

namespace kivra::cameras {

CameraPlugin::CameraPlugin(DeviceCatalogue &devices)
    : catalogue(devices)
{
}

QMediaService *CameraPlugin::create(const QString &key)
{
    return key == QLatin1String(Q_MEDIASERVICE_CAMERA) ? new CameraService(catalogue) : nullptr;
}

void CameraPlugin::release(QMediaService *service)
{
    delete service;
}

QList<QByteArray> CameraPlugin::devices(const QByteArray &service) const
{
    QList<QByteArray> names;
    if (service == Q_MEDIASERVICE_CAMERA) {
        for (const Device &device : catalogue.devices())
            names.append(device.name);
    }
    return names;
}

QString CameraPlugin::deviceDescription(const QByteArray &service, const QByteArray &device)
{
    if (service == Q_MEDIASERVICE_CAMERA) {
        for (const Device &candidate : catalogue.devices()) {
            if (candidate.name == device)
                return candidate.description;
        }
    }
    return {};
}

} // namespace kivra::cameras
