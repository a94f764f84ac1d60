#pragma once

#include "cameras/service/camerasession.h"

#include <QVideoDeviceSelectorControl>

namespace kivra::cameras {

/// The list of the catalogue's devices and the choice among them.
class DeviceSelector : public QVideoDeviceSelectorControl
{
    Q_OBJECT

public:
    explicit DeviceSelector(CameraSession &session);

    int deviceCount() const override;
    /// The name of a device; empty for an invalid index.
    QString deviceName(int index) const override;
    QString deviceDescription(int index) const override;
    int defaultDevice() const override;
    int selectedDevice() const override;
    void setSelectedDevice(int index) override;

private:
    CameraSession &session;
};

} // namespace kivra::cameras
