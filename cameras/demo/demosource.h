#pragma once

#include "cameras/demo/demosettings.h"
#include "cameras/demo/framemaker.h"
#include "cameras/service/framesource.h"

#include <QTimer>

namespace kivra::cameras {

/// A demonstration device in use: delivers the pictures of a maker at a steady rate.
///
/// The window's thread only takes finished pictures. Memory holds at most three frames, what the
/// maker keeps, and a still picture while it is made and written.
class DemoSource : public FrameSource
{
    Q_OBJECT

public:
    DemoSource(std::unique_ptr<PictureMaker> pictures, const DemoSettings &settings);

    QVideoSurfaceFormat format() const override;
    /// "jpeg" and "png".
    QStringList stillCodecs() const override;
    /// The size of the frames, then the usual ones from 640x360 to 3840x2160.
    QList<QSize> stillResolutions() const override;

    void start() override;
    void stop() override;
    void takeStill(const StillRequest &request) override;
    void cancelStill() override;
    void setExposureCompensation(double ev) override;
    void searchLocks(QCamera::LockTypes locks) override;
    void releaseLocks(QCamera::LockTypes locks) override;

private:
    void deliver();
    void onNothingToSee(int start);
    void onStillTaken(int id, const QImage &picture, const QImage &preview);
    void onLockTimer();

    const DemoSettings settings;
    FrameMaker frames;
    QTimer pace;
    QTimer lockTimer;
    QCamera::LockTypes searched;
    int currentStart = 0;
    bool running = false;
    bool announced = false; // started() was emitted since start()
};

} // namespace kivra::cameras
