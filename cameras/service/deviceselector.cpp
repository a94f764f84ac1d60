#include "cameras/service/deviceselector.h"

namespace kivra::cameras {

DeviceSelector::DeviceSelector(CameraSession &owner)
    : session(owner)
{
    connect(&session, &CameraSession::devicesChanged, this, &DeviceSelector::devicesChanged);
    connect(&session, &CameraSession::selectedDeviceChanged, this, [this](int index) {
        emit selectedDeviceChanged(index);
        emit selectedDeviceChanged(deviceName(index));
    });
}

int DeviceSelector::deviceCount() const
{
    return session.devices().size();
}

QString DeviceSelector::deviceName(int index) const
{
    return QString::fromUtf8(session.devices().value(index).name);
}

QString DeviceSelector::deviceDescription(int index) const
{
    return session.devices().value(index).description;
}

int DeviceSelector::defaultDevice() const
{
    return 0;
}

int DeviceSelector::selectedDevice() const
{
    return session.selectedDevice();
}

void DeviceSelector::setSelectedDevice(int index)
{
    session.selectDevice(index);
}

} // namespace kivra::cameras
