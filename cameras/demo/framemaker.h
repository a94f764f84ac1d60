#pragma once

#include "cameras/demo/picturemaker.h"
#include "cameras/demo/picturepool.h"
#include "cameras/service/framesource.h"

#include <QElapsedTimer>
#include <QThread>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace kivra::cameras {

/// The worker thread that makes a demonstration device's pictures.
///
/// Hand-over: the window's thread asks for a frame; this thread makes it in a picture of the pool
/// and puts it into the only slot, under the lock; the window's thread takes it out under the same
/// lock and thereby asks for the next. So at most one frame is ready, frames are skipped when the
/// window is late, and this thread sleeps without a timer when nothing is wanted. Nobody writes to
/// a picture in the slot. Only this thread uses the maker.
///
/// Signals are emitted on this thread; receivers on the window's thread get them queued. Everything
/// else is called on the window's thread and never waits for a picture. Only the destructor waits,
/// until this thread notices that the work is abandoned.
class FrameMaker : public QThread
{
    Q_OBJECT

public:
    /// Will make frames of \a frameSize with \a maker.
    FrameMaker(std::unique_ptr<PictureMaker> maker, QSize frameSize);
    ~FrameMaker() override;

    /// Begins to make frames. firstFrameReady() announces the first, with the number returned here.
    int startFrames();
    /// Makes no more frames and forgets the one that is ready.
    void stopFrames();
    /// Returns the frame that is ready, or null, and asks for the next one.
    std::shared_ptr<const QImage> takeFrame();

    /// Makes a still picture, before the next frame.
    void takeStill(const StillRequest &request);
    /// Drops the still picture unless it is begun; one that is begun is still answered.
    void cancelStill();

    /// Pictures begun from now on are lighter or darker by \a ev stops.
    void setExposureCompensation(double ev);

signals:
    void firstFrameReady(int start);
    /// No frame can be made: there is nothing to see.
    void nothingToSee(int start);
    void stillExposed(int id);
    /// \a picture is null if it could not be made.
    void stillTaken(int id, const QImage &picture, const QImage &preview);

protected:
    void run() override;

private:
    void makeFrame(std::unique_lock<std::mutex> &lock);
    void makeStill(std::unique_lock<std::mutex> &lock);

    // Used by this thread only.
    const std::unique_ptr<PictureMaker> maker;
    const std::shared_ptr<PicturePool> pool;
    const QElapsedTimer clock;

    std::atomic<bool> abandoned{false};
    std::mutex mutex; // guards what follows
    std::condition_variable wake;
    std::shared_ptr<QImage> readyFrame;
    std::unique_ptr<StillRequest> still;
    double exposure = 0;
    int currentStart = 0; // counts the calls of startFrames() and stopFrames()
    bool frameWanted = false;
    bool firstFrame = false; // the next frame is the first after the start
};

} // namespace kivra::cameras
