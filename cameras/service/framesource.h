#pragma once

#include <QCamera>
#include <QCameraImageCapture>
#include <QImage>
#include <QList>
#include <QObject>
#include <QSize>
#include <QStringList>
#include <QVideoFrame>
#include <QVideoSurfaceFormat>
#include <memory>

namespace kivra::cameras {

/// A camera as a list of cameras names it.
struct Device
{
    QByteArray name;     ///< identifies the device; not empty
    QString description; ///< what a menu shows
};

/// One still picture to be taken. Everything is fixed when it is requested; later changes of the
/// settings do not affect it.
struct StillRequest
{
    int id = 0;
    QString path;     ///< absolute
    QSize resolution; ///< one of FrameSource::stillResolutions(); empty when the source offers none
    QString codec;    ///< one of FrameSource::stillCodecs(), in lower case
    QMultimedia::EncodingQuality quality = QMultimedia::NormalQuality;
};

/// Where a camera's pictures come from, and how it behaves: all that differs between devices, or
/// that a test decides. Qt's rules for cameras are in the service around it.
///
/// Lives on the window's thread: its functions are called and its signals are emitted there. A slot
/// may delete the source, so a function emits as its last action.
class FrameSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The format of the next frames; the service reads it after started() and formatChanged().
    virtual QVideoSurfaceFormat format() const = 0;

    /// The codecs of still pictures, the default first.
    virtual QStringList stillCodecs() const = 0;
    /// The sizes of still pictures in pixels, the default first.
    virtual QList<QSize> stillResolutions() const = 0;

    /// Starts to deliver frames. Answered, now or later, by started() or failed().
    virtual void start() = 0;
    /// Stops delivering: no frame comes after it returns. Does nothing if nothing is delivered.
    virtual void stop() = 0;

    /// Takes a picture. Answered by stillExposed() and then stillTaken() or stillEncoded(), or by
    /// stillFailed(). stop() does not cancel it.
    virtual void takeStill(const StillRequest &request) = 0;
    /// Drops the picture being taken. If its answer still comes, it is ignored.
    virtual void cancelStill() = 0;

    /// Whether the device has what setExposureCompensation() needs; may change with started().
    virtual bool canCompensateExposure() const { return true; }
    /// Makes the picture brighter or darker by \a ev stops; one stop doubles or halves the light.
    virtual void setExposureCompensation(double ev) = 0;

    /// What the device can lock; may change with started().
    virtual QCamera::LockTypes supportedLocks() const
    {
        return QCamera::LockExposure | QCamera::LockWhiteBalance | QCamera::LockFocus;
    }
    /// Searches for \a locks (focus, exposure, white balance). Answered by locksFound(), now or
    /// later.
    virtual void searchLocks(QCamera::LockTypes locks) = 0;
    /// Ends the search for \a locks and gives them up.
    virtual void releaseLocks(QCamera::LockTypes locks) = 0;

signals:
    /// Frames will come.
    void started();
    /// The next frames have another format().
    void formatChanged();
    /// A frame for the viewfinder, handed on as it is, whether or not it agrees with format().
    void frameReady(const QVideoFrame &frame);
    /// The device failed, with \a text for the user, and is now in \a state. Active means that it
    /// is away and that the source looks for it: when it is back, started() comes again, unless
    /// stop() has ended the search.
    void failed(QCamera::Error error, const QString &text, QCamera::State state);

    /// The device came back; the catalogue now lists it under this name.
    void renamed(const QByteArray &name);

    /// The picture \a id has been exposed: what moves from now on is not in it.
    void stillExposed(int id);
    /// The picture \a id, which the service encodes and writes, and a smaller view of it.
    void stillTaken(int id, const QImage &picture, const QImage &preview);
    /// The picture \a id as the device encoded it, and a smaller view of it. \a file is complete
    /// and of the codec asked for; the service writes it as it is.
    void stillEncoded(int id, const QByteArray &file, const QImage &preview);
    /// For a device that writes its files itself: the picture \a id is at \a path.
    void stillSaved(int id, const QString &path);
    /// The picture \a id could not be taken, with \a text for the user.
    void stillFailed(int id, QCameraImageCapture::Error error, const QString &text);

    /// The search for \a locks ended; \a found says how.
    void locksFound(QCamera::LockTypes locks, bool found);
};

/// The devices that a service offers.
class DeviceCatalogue : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The devices, the default first.
    virtual QList<Device> devices() const = 0;
    /// A source for the device \a name; null if there is no such device.
    virtual std::unique_ptr<FrameSource> open(const QByteArray &name) = 0;

signals:
    /// A device came or went.
    void devicesChanged();
};

} // namespace kivra::cameras
