#include "cameras/video/videosource.h"

#include "cameras/video/faulttexts.h"

#include <QAbstractVideoBuffer>
#include <QPointer>

namespace kivra::cameras {

namespace {

constexpr QSize largestPreview(640, 480);

QSize toQt(Size size)
{
    return {size.width, size.height};
}

LockSet fromQt(QCamera::LockTypes locks)
{
    LockSet set = 0;
    if (locks.testFlag(QCamera::LockFocus))
        set |= LockOfFocus;
    if (locks.testFlag(QCamera::LockExposure))
        set |= LockOfExposure;
    if (locks.testFlag(QCamera::LockWhiteBalance))
        set |= LockOfWhiteBalance;
    return set;
}

QCamera::LockTypes toQt(LockSet set)
{
    QCamera::LockTypes locks;
    locks.setFlag(QCamera::LockFocus, (set & LockOfFocus) != 0);
    locks.setFlag(QCamera::LockExposure, (set & LockOfExposure) != 0);
    locks.setFlag(QCamera::LockWhiteBalance, (set & LockOfWhiteBalance) != 0);
    return locks;
}

/// The picture as a QImage, in the same memory.
QImage imageOf(const std::shared_ptr<const DecodedFrame> &picture)
{
    auto *const keeper = new std::shared_ptr<const DecodedFrame>(picture);
    const auto *const bits = reinterpret_cast<const uchar *>(picture->pixels.get());
    return {bits,
            picture->size.width,
            picture->size.height,
            picture->size.width * 4,
            QImage::Format_RGB32,
            [](void *kept) { delete static_cast<std::shared_ptr<const DecodedFrame> *>(kept); },
            keeper};
}

/// A decoded picture as the content of a QVideoFrame, without a copy. As its handle it gives the
/// picture itself: a surface that keeps a frame then shares it and need not copy it.
class DecodedBuffer : public QAbstractVideoBuffer
{
public:
    explicit DecodedBuffer(std::shared_ptr<const DecodedFrame> content)
        : QAbstractVideoBuffer(NoHandle)
        , picture(std::move(content))
    {
    }

    MapMode mapMode() const override { return currentMode; }

    uchar *map(MapMode mode, int *numBytes, int *bytesPerLine) override
    {
        if (mode != ReadOnly || currentMode != NotMapped)
            return nullptr;
        currentMode = mode;
        const int stride = picture->size.width * 4;
        if (numBytes)
            *numBytes = stride * picture->size.height;
        if (bytesPerLine)
            *bytesPerLine = stride;
        return reinterpret_cast<uchar *>(picture->pixels.get());
    }

    void unmap() override { currentMode = NotMapped; }

    QVariant handle() const override { return imageOf(picture); }

private:
    const std::shared_ptr<const DecodedFrame> picture;
    MapMode currentMode = NotMapped;
};

QImage previewOf(const QImage &picture)
{
    if (picture.width() <= largestPreview.width() && picture.height() <= largestPreview.height())
        return picture;
    return picture.scaled(largestPreview, Qt::KeepAspectRatio);
}

} // namespace

/// Passes the callbacks of the camera's threads on to the source, as long as it exists.
class SourceMailbox : public CameraListener
{
public:
    void setReceiver(VideoSource *next)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        receiver = next;
    }

    void onStarted(int start, const StreamFacts &facts) override
    {
        post([=](VideoSource &source) { source.hearStart(start, facts); });
    }

    void onPicture(int start) override
    {
        post([=](VideoSource &source) { source.hearPicture(start); });
    }

    void onFault(int start, const FaultReport &report) override
    {
        post([=](VideoSource &source) { source.hearFault(start, report); });
    }

    void onFound(const VideoDevice &device) override
    {
        const QByteArray name = QByteArray::fromStdString(device.node);
        post([=](VideoSource &source) { emit source.renamed(name); });
    }

    void onStillExposed(int id) override
    {
        post([=](VideoSource &source) { emit source.stillExposed(id); });
    }

    void onStill(const StillResult &result) override
    {
        post([=](VideoSource &source) { source.hearStill(result); });
    }

    void onLocks(LockSet locks, bool found) override
    {
        post([=](VideoSource &source) { emit source.locksFound(toQt(locks), found); });
    }

private:
    // An event still queued when the source is destroyed is discarded with it.
    template<typename Function>
    void post(Function function)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        VideoSource *const source = receiver;
        if (source)
            QMetaObject::invokeMethod(
                source, [=] { function(*source); }, Qt::QueuedConnection);
    }

    std::mutex mutex;
    VideoSource *receiver = nullptr;
};

VideoSource::VideoSource(const MakeThread &makeThread)
    : mailbox(std::make_shared<SourceMailbox>())
    , thread(makeThread(mailbox))
{
    mailbox->setReceiver(this);
}

VideoSource::~VideoSource()
{
    mailbox->setReceiver(nullptr);
    thread->quit();
}

QVideoSurfaceFormat VideoSource::format() const
{
    QVideoSurfaceFormat format(frameSize, QVideoFrame::Format_RGB32);
    format.setFrameRate(facts.rate);
    return format;
}

QStringList VideoSource::stillCodecs() const
{
    return {QStringLiteral("jpeg"), QStringLiteral("png")};
}

QList<QSize> VideoSource::stillResolutions() const
{
    QList<QSize> sizes;
    for (const Size size : facts.stillSizes)
        sizes.append(toQt(size));
    return sizes;
}

QCamera::LockTypes VideoSource::supportedLocks() const
{
    return toQt(facts.locks);
}

bool VideoSource::canCompensateExposure() const
{
    return facts.canCompensate;
}

void VideoSource::start()
{
    running = true;
    announced = false;
    currentStart = thread->start();
}

void VideoSource::stop()
{
    running = false;
    thread->stop();
}

void VideoSource::takeStill(const StillRequest &request)
{
    StillOrder order;
    order.id = request.id;
    order.size = {request.resolution.width(), request.resolution.height()};
    order.asFile =
        request.codec == QLatin1String("jpeg") && request.quality >= QMultimedia::NormalQuality;
    thread->takeStill(order);
}

void VideoSource::cancelStill()
{
    thread->cancelStill();
}

void VideoSource::setExposureCompensation(double ev)
{
    thread->compensate(ev);
}

void VideoSource::searchLocks(QCamera::LockTypes locks)
{
    thread->lock(fromQt(locks));
}

void VideoSource::releaseLocks(QCamera::LockTypes locks)
{
    thread->unlock(fromQt(locks));
}

void VideoSource::hearStart(int start, const StreamFacts &told)
{
    if (!running || start != currentStart)
        return;
    facts = told;
    announced = false;
}

void VideoSource::hearPicture(int start)
{
    if (!running || start != currentStart)
        return;
    if (const std::shared_ptr<const DecodedFrame> picture = thread->take())
        show(picture);
}

/// Takes the size of the frames from the picture: a JPEG may have another one than the driver says.
void VideoSource::show(const std::shared_ptr<const DecodedFrame> &picture)
{
    const QPointer<VideoSource> alive(this);
    const QSize size = toQt(picture->size);
    const bool isOther = size != frameSize;
    frameSize = size;
    if (!announced) {
        announced = true;
        emit started();
    } else if (isOther) {
        emit formatChanged();
    }
    if (alive && running && announced)
        emit frameReady(QVideoFrame(new DecodedBuffer(picture), size, QVideoFrame::Format_RGB32));
}

void VideoSource::hearFault(int start, const FaultReport &report)
{
    if (!running || start != currentStart)
        return;
    emit failed(QCamera::CameraError, faultText(report), QCamera::ActiveState);
}

void VideoSource::hearStill(const StillResult &result)
{
    if (!result.picture) {
        emit stillFailed(result.id, QCameraImageCapture::ResourceError,
                         tr("La caméra n'a pas pu prendre l'image."));
        return;
    }
    const QImage picture = imageOf(result.picture);
    if (!result.file) {
        emit stillTaken(result.id, picture, previewOf(picture));
        return;
    }
    const QByteArray file(reinterpret_cast<const char *>(result.file->data()),
                          int(result.file->size()));
    emit stillEncoded(result.id, file, previewOf(picture));
}

} // namespace kivra::cameras
