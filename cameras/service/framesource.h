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

/// One still picture to be taken. Everything is settled when it is asked for, so that later changes
/// of the settings do not reach it.
struct StillRequest
{
    int id = 0;
    QString path;     ///< absolute
    QSize resolution; ///< one of FrameSource::stillResolutions(); empty when the source offers none
    QString codec;    ///< one of FrameSource::stillCodecs(), in lower case
    QMultimedia::EncodingQuality quality = QMultimedia::NormalQuality;
};

/// Where a camera's pictures come from, and how it behaves: what differs from one device to another
/// and what a test wants to decide. The service around it knows Qt's rules for cameras.
///
/// Lives on the thread that made it, the window's; its functions are called and its signals are
/// emitted there. A slot may delete the source, so emitting is the last thing that a function does.
class FrameSource : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// What the next frames look like; asked for after started() and formatChanged().
    virtual QVideoSurfaceFormat format() const = 0;

    /// The codecs of still pictures, the default first.
    virtual QStringList stillCodecs() const = 0;
    /// The sizes of still pictures in pixels, the default first.
    virtual QList<QSize> stillResolutions() const = 0;

    /// Begins to deliver. Answered, now or later, by started() or failed().
    virtual void start() = 0;
    /// Ends delivering: no frame comes after the return. Harmless when nothing is delivered.
    virtual void stop() = 0;

    /// Takes a picture. Answered by stillExposed() and then stillTaken() or stillEncoded(), or by
    /// stillFailed(); also after stop(), which does not end it.
    virtual void takeStill(const StillRequest &request) = 0;
    /// Drops the picture being taken. Its answer, should it still come, is ignored.
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
    /// Looks for \a locks (focus, exposure, white balance). Answered by locksFound(), now or later.
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
    /// The device failed with \a text for the user and is now in \a state. Active says that it is
    /// away and that the source looks for it: started() comes once more when it is back, unless
    /// stop() has ended the search.
    void failed(QCamera::Error error, const QString &text, QCamera::State state);

    /// The device came back as the one that the catalogue lists by this name.
    void renamed(const QByteArray &name);

    /// The picture \a id has been exposed: what moves now is no longer on it.
    void stillExposed(int id);
    /// The picture \a id, to be encoded and written by the service, and a smaller view of it.
    void stillTaken(int id, const QImage &picture, const QImage &preview);
    /// The picture \a id as the device encoded it, a complete file of the codec asked for, to be
    /// written by the service as it is, and a smaller view of it.
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
