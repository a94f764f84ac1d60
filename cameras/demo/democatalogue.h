#pragma once

#include "cameras/demo/picturemaker.h"
#include "cameras/service/framesource.h"

namespace kivra::cameras {

/// The demonstration devices: the folder of KIVRA_DEMO_FOLDER if there is one, then one device for
/// each kind of subject that Kivra has a rendering mode for.
class DemoCatalogue : public DeviceCatalogue
{
    Q_OBJECT

public:
    using DeviceCatalogue::DeviceCatalogue;

    QList<Device> devices() const override;
    std::unique_ptr<FrameSource> open(const QByteArray &name) override;

    /// What the device \a name sees; null if there is no such device.
    static std::unique_ptr<PictureMaker> pictures(const QByteArray &name);
};

} // namespace kivra::cameras
