#pragma once

#include "cameras/service/framesource.h"
#include "cameras/video/camerathread.h"
#include "cameras/video/devicewatch.h"

namespace kivra::cameras {

/// The machine's V4L2 cameras, and the threads of those that are open. A device is named by its
/// node.
class VideoCatalogue : public DeviceCatalogue
{
    Q_OBJECT

public:
    /// \a kernel and \a folders are the machine's, or a test's. Both must outlive the catalogue.
    explicit VideoCatalogue(Kernel &kernel = Kernel::system(), const DeviceFolders &folders = {});
    /// Waits until every camera is closed and left as it was found.
    ~VideoCatalogue() override;

    QList<Device> devices() const override;
    std::unique_ptr<FrameSource> open(const QByteArray &name) override;

private:
    void onChange();
    void forgetEnded();

    Kernel &kernel;
    NodeClaims claims;
    std::mutex mutex; // guards what follows
    std::vector<std::shared_ptr<CameraThread>> threads;
    // Declared last, so destroyed first: its thread uses the others.
    std::unique_ptr<DeviceWatch> watch;
};

} // namespace kivra::cameras
