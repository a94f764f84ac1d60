#pragma once

#include "cameras/service/framesource.h"

#include <QMediaServiceProviderPlugin>

namespace kivra::cameras {

/// A media-service plug-in for a catalogue of cameras. The actual plug-in derives from it and adds
/// its metadata, whose key is Q_MEDIASERVICE_CAMERA.
class CameraPlugin : public QMediaServiceProviderPlugin,
                     public QMediaServiceSupportedDevicesInterface
{
    Q_OBJECT
    Q_INTERFACES(QMediaServiceSupportedDevicesInterface)

public:
    /// A camera, to be given back to release(); null if \a key is not Q_MEDIASERVICE_CAMERA.
    QMediaService *create(const QString &key) override;
    void release(QMediaService *service) override;

    QList<QByteArray> devices(const QByteArray &service) const override;
    QString deviceDescription(const QByteArray &service, const QByteArray &device) override;

protected:
    /// \a catalogue must outlive the plug-in and all its cameras.
    explicit CameraPlugin(DeviceCatalogue &catalogue);

private:
    DeviceCatalogue &catalogue;
};

} // namespace kivra::cameras
