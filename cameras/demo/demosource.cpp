#include "cameras/demo/demosource.h"

#include <QPointer>

namespace kivra::cameras {

namespace {

constexpr int lockSearchMs = 250;

} // namespace

DemoSource::DemoSource(std::unique_ptr<PictureMaker> pictures, const DemoSettings &wanted)
    : settings(wanted)
    , frames(std::move(pictures), wanted.frameSize)
{
    pace.setTimerType(Qt::PreciseTimer);
    pace.setInterval(1000 / settings.frameRate);
    lockTimer.setSingleShot(true);
    lockTimer.setInterval(lockSearchMs);
    connect(&pace, &QTimer::timeout, this, &DemoSource::deliver);
    connect(&lockTimer, &QTimer::timeout, this, &DemoSource::onLockTimer);
    // The first frame is delivered as soon as it is ready, without waiting for the timer.
    connect(&frames, &FrameMaker::firstFrameReady, this, [this](int start) {
        if (start == currentStart && !announced)
            deliver();
    });
    connect(&frames, &FrameMaker::nothingToSee, this, &DemoSource::onNothingToSee);
    connect(&frames, &FrameMaker::stillExposed, this, &DemoSource::stillExposed);
    connect(&frames, &FrameMaker::stillTaken, this, &DemoSource::onStillTaken);
}

QVideoSurfaceFormat DemoSource::format() const
{
    QVideoSurfaceFormat format(settings.frameSize, QVideoFrame::Format_RGB32);
    format.setFrameRate(settings.frameRate);
    return format;
}

QStringList DemoSource::stillCodecs() const
{
    return {QStringLiteral("jpeg"), QStringLiteral("png")};
}

QList<QSize> DemoSource::stillResolutions() const
{
    QList<QSize> sizes{settings.frameSize};
    for (const QSize size : {QSize(640, 360), QSize(1280, 720), QSize(1920, 1080),
                             QSize(2560, 1440), QSize(3840, 2160)}) {
        if (size != settings.frameSize)
            sizes.append(size);
    }
    return sizes;
}

void DemoSource::start()
{
    running = true;
    announced = false;
    currentStart = frames.startFrames();
    pace.start();
}

void DemoSource::stop()
{
    running = false;
    pace.stop();
    frames.stopFrames();
}

void DemoSource::takeStill(const StillRequest &request)
{
    frames.takeStill(request);
}

void DemoSource::cancelStill()
{
    frames.cancelStill();
}

void DemoSource::setExposureCompensation(double ev)
{
    frames.setExposureCompensation(ev);
}

void DemoSource::searchLocks(QCamera::LockTypes locks)
{
    searched |= locks;
    lockTimer.start();
}

void DemoSource::releaseLocks(QCamera::LockTypes locks)
{
    searched &= ~locks;
    if (!searched)
        lockTimer.stop();
}

void DemoSource::deliver()
{
    const std::shared_ptr<const QImage> picture = frames.takeFrame();
    if (!picture)
        return;
    if (!announced) {
        announced = true;
        const QPointer<DemoSource> alive(this);
        emit started();
        if (!alive || !running)
            return;
    }
    emit frameReady(
        QVideoFrame(new PictureBuffer(picture), picture->size(), QVideoFrame::Format_RGB32));
}

void DemoSource::onNothingToSee(int start)
{
    if (running && start == currentStart)
        emit failed(QCamera::CameraError, tr("Le dossier ne contient plus d'image lisible."),
                    QCamera::LoadedState);
}

void DemoSource::onStillTaken(int id, const QImage &picture, const QImage &preview)
{
    if (picture.isNull())
        emit stillFailed(id, QCameraImageCapture::ResourceError,
                         tr("La caméra n'a pas pu prendre l'image."));
    else
        emit stillTaken(id, picture, preview);
}

void DemoSource::onLockTimer()
{
    const QCamera::LockTypes found = searched;
    searched = QCamera::NoLock;
    emit locksFound(found, true);
}

} // namespace kivra::cameras
