#pragma once

#include "cameras/service/framesource.h"

#include <QAbstractVideoSurface>
#include <QPointer>

namespace kivra::cameras {

/// One camera in use: the chosen device, its state and the surface that its frames go to.
///
/// The state is what the caller asked for and changes at once. The status follows one step at a
/// time, and becomes Active only when the device has answered. While a device is away or none has
/// been found yet, the state stays Active and the status Starting; Stop ends that. Errors are
/// reported last, when state and status agree, because the slot often opens a modal box. Everything
/// happens on the window's thread, and any slot may delete the camera.
class CameraSession : public QObject
{
    Q_OBJECT

public:
    /// Chooses the first device of \a catalogue, which must outlive the session.
    explicit CameraSession(DeviceCatalogue &catalogue);
    ~CameraSession() override;

    QList<Device> devices() const;
    /// Index into devices() of the chosen one; -1 if it is gone.
    int selectedDevice() const;
    /// Chooses another device; a running camera goes on with it. Ignores an invalid index.
    void selectDevice(int index);

    /// The source of the chosen device; null if there is none. Replaced with sourceChanged().
    FrameSource *source() const;

    QCamera::State state() const;
    QCamera::Status status() const;
    /// Asks for a state. Without a device, Loaded is refused, and Active waits for the first
    /// device; both report an error in the next turn of the event loop.
    void setState(QCamera::State wanted);

    QAbstractVideoSurface *surface() const;
    /// Sends the frames to \a next, not owned; null for nowhere. An old surface is stopped.
    void setSurface(QAbstractVideoSurface *next);

signals:
    void stateChanged(QCamera::State state);
    void statusChanged(QCamera::Status status);
    void error(int error, const QString &text);
    /// The old source is about to go and source() is the new one, or null.
    void sourceChanged();
    void selectedDeviceChanged(int index);
    void devicesChanged();

private:
    bool openFirst();
    void openSource(const QByteArray &name);
    void connectSource();
    void climb(QCamera::State wanted);
    void endStream();
    bool startSurface();
    void reportMissing();
    void startSource();
    void onDevicesChanged();
    void onStarted();
    void onFormatChanged();
    void onFrame(const QVideoFrame &frame);
    void onRenamed(const QByteArray &name);
    void await();
    void fail(QCamera::Error code, const QString &text, QCamera::State fallback);

    DeviceCatalogue &catalogue;
    QByteArray selectedName;
    std::unique_ptr<FrameSource> currentSource;
    QPointer<QAbstractVideoSurface> currentSurface;
    QCamera::State currentState = QCamera::UnloadedState;
    QCamera::Status currentStatus = QCamera::UnloadedStatus;
    bool streaming = false; // the source was started and not yet stopped
};

} // namespace kivra::cameras
