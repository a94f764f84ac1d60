#include "cameras/demo/framemaker.h"

namespace kivra::cameras {

namespace {

// One shown, one ready, one being made.
constexpr int framesAtOnce = 3;
constexpr QSize largestPreview(640, 480);

QElapsedTimer startedClock()
{
    QElapsedTimer clock;
    clock.start();
    return clock;
}

} // namespace

FrameMaker::FrameMaker(std::unique_ptr<PictureMaker> pictures, QSize frameSize)
    : maker(std::move(pictures))
    , pool(PicturePool::create(frameSize, framesAtOnce))
    , clock(startedClock())
{
}

FrameMaker::~FrameMaker()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        abandoned = true;
    }
    wake.notify_one();
    wait();
}

int FrameMaker::startFrames()
{
    int number = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        frameWanted = true;
        firstFrame = true;
        number = ++currentStart;
    }
    wake.notify_one();
    start();
    return number;
}

void FrameMaker::stopFrames()
{
    const std::lock_guard<std::mutex> lock(mutex);
    ++currentStart;
    frameWanted = false;
    readyFrame.reset();
}

std::shared_ptr<const QImage> FrameMaker::takeFrame()
{
    std::shared_ptr<const QImage> taken;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        taken = std::move(readyFrame);
        frameWanted = true;
    }
    wake.notify_one();
    return taken;
}

void FrameMaker::takeStill(const StillRequest &request)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        still = std::make_unique<StillRequest>(request);
    }
    wake.notify_one();
    start();
}

void FrameMaker::cancelStill()
{
    const std::lock_guard<std::mutex> lock(mutex);
    still.reset();
}

void FrameMaker::setExposureCompensation(double ev)
{
    const std::lock_guard<std::mutex> lock(mutex);
    exposure = ev;
}

void FrameMaker::run()
{
    std::unique_lock<std::mutex> lock(mutex);
    while (true) {
        wake.wait(lock, [this] { return abandoned || still || (frameWanted && !readyFrame); });
        if (abandoned)
            return;
        if (still)
            makeStill(lock);
        else
            makeFrame(lock);
    }
}

void FrameMaker::makeFrame(std::unique_lock<std::mutex> &lock)
{
    // If the window's thread holds all pictures of the pool, none is made until it wants one again.
    frameWanted = false;
    const int start = currentStart;
    const double ev = exposure;
    const std::shared_ptr<QImage> picture = pool->take();
    if (!picture)
        return;
    lock.unlock();
    const bool made =
        maker->make(*picture, static_cast<double>(clock.elapsed()) / 1000, ev, abandoned);
    lock.lock();
    if (start != currentStart || abandoned)
        return;
    if (!made) {
        emit nothingToSee(start);
        return;
    }
    readyFrame = picture;
    if (firstFrame)
        emit firstFrameReady(start);
    firstFrame = false;
}

void FrameMaker::makeStill(std::unique_lock<std::mutex> &lock)
{
    const std::unique_ptr<StillRequest> request = std::move(still);
    const double ev = exposure;
    lock.unlock();
    emit stillExposed(request->id);
    QImage picture(request->resolution, QImage::Format_RGB32);
    const bool made =
        !picture.isNull() &&
        maker->make(picture, static_cast<double>(clock.elapsed()) / 1000, ev, abandoned);
    if (made) {
        const QSize size =
            picture.size().scaled(largestPreview.boundedTo(picture.size()), Qt::KeepAspectRatio);
        emit stillTaken(request->id, picture,
                        picture.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    } else {
        emit stillTaken(request->id, QImage(), QImage());
    }
    lock.lock();
}

} // namespace kivra::cameras
