#pragma once

#include "cameras/service/framesource.h"
#include "cameras/video/camerathread.h"

namespace kivra::cameras {

class SourceMailbox;

/// A V4L2 camera as a source of frames.
///
/// A CameraThread does the work. The catalogue owns and ends it, so closing a camera that does not
/// answer blocks nobody. The thread's callbacks arrive as events on the window's thread; those
/// older than the last start() are ignored.
class VideoSource : public FrameSource
{
    Q_OBJECT

public:
    /// Makes the thread that calls the listener.
    using MakeThread =
        std::function<std::shared_ptr<CameraThread>(std::shared_ptr<CameraListener> listener)>;

    explicit VideoSource(const MakeThread &makeThread);
    ~VideoSource() override;

    QVideoSurfaceFormat format() const override;
    QStringList stillCodecs() const override;
    QList<QSize> stillResolutions() const override;
    QCamera::LockTypes supportedLocks() const override;
    bool canCompensateExposure() const override;

    void start() override;
    void stop() override;
    void takeStill(const StillRequest &request) override;
    void cancelStill() override;
    void setExposureCompensation(double ev) override;
    void searchLocks(QCamera::LockTypes locks) override;
    void releaseLocks(QCamera::LockTypes locks) override;

private:
    friend class SourceMailbox;

    void hearStart(int start, const StreamFacts &facts);
    void hearPicture(int start);
    void hearFault(int start, const FaultReport &report);
    void hearStill(const StillResult &result);
    void show(const std::shared_ptr<const DecodedFrame> &picture);

    const std::shared_ptr<SourceMailbox> mailbox;
    const std::shared_ptr<CameraThread> thread;
    StreamFacts facts;
    QSize frameSize;
    int currentStart = 0;
    bool running = false;
    bool announced = false; // started() was emitted for the present frames
};

} // namespace kivra::cameras
