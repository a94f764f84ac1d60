#pragma once

#include "cameras/service/framesource.h"

#include <QStringList>

namespace kivra::test {

/// The cameras that Qt finds in a test program which links kivra_test_camera, and the one that is
/// in use: the test decides what they are, what they deliver and how they fail, and asks what they
/// were told. The service around them is the demonstration camera's own.
///
/// All functions are called on the window's thread. A function that plays an event of the device
/// ("push", "raise", "answer") does nothing while no camera is open; frames before the start are
/// lost, as elsewhere.
class TestCamera : public cameras::DeviceCatalogue
{
    Q_OBJECT

public:
    /// How a request is answered.
    enum class Answer {
        AtOnce, ///< by itself, in the next turn of the event loop
        OnCall, ///< when the test says so; never, if it does not
        Refuse, ///< with an error, in the next turn of the event loop
        Twice,  ///< by itself, and then once more (still pictures only)
    };

    /// What the media service of the next camera has to offer.
    enum class Service {
        Whole,
        WithoutStills, ///< a viewfinder alone
        None,          ///< there is no service, as where its packages are not installed
        FailsAtTheEnd, ///< reports an error while the camera is let go
    };

    /// What the camera was told; reset() forgets it.
    struct Record
    {
        int opened = 0; ///< sources made; each start-up of a camera and each change of device
        int closed = 0;
        int started = 0;
        int stopped = 0;
        QByteArray device;        ///< the last one opened
        double exposure = 0;      ///< in EV
        QCamera::LockTypes locks; ///< searched for or found, and not released
        QCamera::LockTypes everSearched;
        int cancelled = 0; ///< stills
        QList<cameras::StillRequest> stills;
    };

    /// The one of this process, as Qt's plug-in uses it.
    static TestCamera &instance();

    /// Back to how a test begins, with no camera open: one device "essai" of 64 x 48, everything
    /// answered at once, codecs jpeg and png, the sizes of stills 64x48 and 32x24, nothing
    /// recorded.
    void reset();

    /// \name What the camera is. Devices may come and go at any time; the rest is asked for when it
    /// is needed.
    /// @{
    void setDevices(const QList<cameras::Device> &devices);
    void setService(Service service);
    Service service() const { return offeredService; }
    void setFormat(const QVideoSurfaceFormat &format);
    void setStillCodecs(const QStringList &codecs);
    void setStillResolutions(const QList<QSize> &sizes);
    /// The picture that a still is made of, scaled to the requested size; a grey one by default.
    void setStillPicture(const QImage &picture);
    void setStartAnswer(Answer answer);
    void setStillAnswer(Answer answer);
    void setLockAnswer(Answer answer);
    /// Text and codes of the errors with which requests are refused.
    void setErrorText(const QString &text);
    /// @}

    /// \name What happens at the device.
    /// @{
    /// Delivers \a frame as it is, whatever the format says. False if the camera is not running.
    bool pushFrame(const QVideoFrame &frame);
    /// Delivers \a picture (of 32 bits a pixel) as a frame.
    bool pushPicture(const QImage &picture);
    /// Changes the format while frames flow; the surface is started anew with it.
    void changeFormat(const QVideoSurfaceFormat &format);
    /// Answers a start that waits.
    void answerStart();
    /// Answers the last still asked for; may be called again for the same still.
    void answerStill();
    /// Reports the last still as exposed, without more.
    void exposeStill();
    /// Reports that the device has saved a file itself, with any number and path.
    void raiseSaved(int id, const QString &path);
    void raiseStillError(int id, QCameraImageCapture::Error error, const QString &text);
    void answerLocks(bool found = true);
    /// The device fails with \a text and ends in \a state, Unloaded or Loaded.
    void raiseError(QCamera::Error error, const QString &text,
                    QCamera::State state = QCamera::LoadedState);
    /// The device \a name is no longer there; if it is open, it fails and is unloaded.
    void unplug(const QByteArray &name);
    /// The device \a name is away, and if it is open, its source waits for it: it fails once and
    /// stays Active.
    void lose(const QByteArray &name);
    /// The open device is back under the name and in the place of \a device, behind the others;
    /// if it is still waited for, it starts.
    void bringBack(const cameras::Device &device);
    /// @}

    const Record &record() const;
    bool isOpen() const;
    bool isRunning() const; ///< started, and the start answered

    QList<cameras::Device> devices() const override;
    std::unique_ptr<cameras::FrameSource> open(const QByteArray &name) override;

private:
    class Source;

    TestCamera();
    void remove(const QByteArray &name);

    QList<cameras::Device> offered;
    Service offeredService = Service::Whole;
    QVideoSurfaceFormat format;
    QStringList stillCodecs;
    QList<QSize> stillResolutions;
    QImage stillPicture;
    QString errorText;
    Answer startAnswer = Answer::AtOnce;
    Answer stillAnswer = Answer::AtOnce;
    Answer lockAnswer = Answer::AtOnce;
    Record told;
    Source *source = nullptr; // owned by the service
};

} // namespace kivra::test
