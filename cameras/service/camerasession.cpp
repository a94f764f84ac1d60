#include "cameras/service/camerasession.h"

namespace kivra::cameras {

namespace {

/// The next status after \a now on the way to \a wanted; \a now itself if the way ends there or
/// only the device's answer leads on.
QCamera::Status nextStatus(QCamera::Status now, QCamera::State wanted)
{
    switch (now) {
    case QCamera::UnloadedStatus:
        return wanted == QCamera::UnloadedState ? now : QCamera::LoadingStatus;
    case QCamera::LoadedStatus:
        if (wanted == QCamera::ActiveState)
            return QCamera::StartingStatus;
        return wanted == QCamera::UnloadedState ? QCamera::UnloadingStatus : now;
    case QCamera::StartingStatus:
    case QCamera::ActiveStatus:
        return wanted == QCamera::ActiveState ? now : QCamera::StoppingStatus;
    case QCamera::LoadingStatus:
    case QCamera::StoppingStatus:
        return QCamera::LoadedStatus;
    default:
        return QCamera::UnloadedStatus;
    }
}

} // namespace

CameraSession::CameraSession(DeviceCatalogue &devices)
    : catalogue(devices)
{
    connect(&catalogue, &DeviceCatalogue::devicesChanged, this, &CameraSession::onDevicesChanged);
    openFirst();
}

CameraSession::~CameraSession()
{
    endStream();
}

QList<Device> CameraSession::devices() const
{
    return catalogue.devices();
}

int CameraSession::selectedDevice() const
{
    const QList<Device> offered = catalogue.devices();
    for (int i = 0; i < offered.size(); ++i) {
        if (offered.at(i).name == selectedName)
            return i;
    }
    return -1;
}

void CameraSession::selectDevice(int index)
{
    const QList<Device> offered = catalogue.devices();
    if (index < 0 || index >= offered.size() || offered.at(index).name == selectedName)
        return;
    const QCamera::State wanted = currentState;
    const QPointer<CameraSession> alive(this);
    setState(QCamera::UnloadedState);
    if (!alive)
        return;
    openSource(offered.at(index).name);
    emit selectedDeviceChanged(index);
    if (alive)
        setState(wanted);
}

FrameSource *CameraSession::source() const
{
    return currentSource.get();
}

QCamera::State CameraSession::state() const
{
    return currentState;
}

QCamera::Status CameraSession::status() const
{
    return currentStatus;
}

void CameraSession::setState(QCamera::State wanted)
{
    if (!currentSource && wanted == QCamera::LoadedState && currentState == QCamera::ActiveState)
        wanted = QCamera::UnloadedState; // without a device, nothing can stay loaded
    if (wanted == currentState)
        return;
    const QPointer<CameraSession> alive(this);
    const bool missing = wanted != QCamera::UnloadedState && !currentSource && !openFirst();
    if (!alive)
        return;
    if (!missing || wanted == QCamera::ActiveState) {
        if (wanted != QCamera::ActiveState)
            endStream();
        if (!alive)
            return;
        currentState = wanted;
        emit stateChanged(wanted);
        if (alive)
            climb(wanted);
    }
    if (alive && missing)
        QMetaObject::invokeMethod(this, &CameraSession::reportMissing, Qt::QueuedConnection);
}

// Queued: a window that starts its camera in its constructor is then visible before the box.
void CameraSession::reportMissing()
{
    if (!currentSource)
        emit error(QCamera::ServiceMissingError,
                   tr("Aucune caméra n'est branchée. Branchez la caméra et allumez-la : son image "
                      "apparaîtra d'elle-même."));
}

// Any signal on the way, also the surface's, may call a slot that deletes the camera, or that asks
// for another state. That state is then reached when emit returns, and this way is obsolete.
void CameraSession::climb(QCamera::State wanted)
{
    const QPointer<CameraSession> alive(this);
    while (alive && currentState == wanted) {
        const QCamera::Status next = nextStatus(currentStatus, wanted);
        if (next == currentStatus)
            break;
        currentStatus = next;
        emit statusChanged(next);
    }
    if (alive && currentStatus == QCamera::StartingStatus)
        startSource();
}

void CameraSession::startSource()
{
    if (streaming || !currentSource)
        return;
    streaming = true;
    currentSource->start();
}

QAbstractVideoSurface *CameraSession::surface() const
{
    return currentSurface;
}

void CameraSession::setSurface(QAbstractVideoSurface *next)
{
    if (next == currentSurface)
        return;
    const QPointer<CameraSession> alive(this);
    if (currentSurface && currentSurface->isActive())
        currentSurface->stop();
    if (!alive)
        return;
    currentSurface = next;
    if (currentStatus == QCamera::ActiveStatus)
        onFormatChanged();
}

/// False if there is none.
bool CameraSession::openFirst()
{
    const QList<Device> offered = catalogue.devices();
    if (!offered.isEmpty())
        openSource(offered.first().name);
    return !offered.isEmpty();
}

void CameraSession::openSource(const QByteArray &name)
{
    // The old source is destroyed at the end, after everybody has switched to the new one.
    const std::unique_ptr<FrameSource> old = std::move(currentSource);
    selectedName = name;
    currentSource = catalogue.open(name);
    if (currentSource)
        connectSource();
    emit sourceChanged();
}

void CameraSession::connectSource()
{
    connect(currentSource.get(), &FrameSource::started, this, &CameraSession::onStarted);
    connect(currentSource.get(), &FrameSource::formatChanged, this,
            &CameraSession::onFormatChanged);
    connect(currentSource.get(), &FrameSource::frameReady, this, &CameraSession::onFrame);
    connect(currentSource.get(), &FrameSource::failed, this, &CameraSession::fail);
    connect(currentSource.get(), &FrameSource::renamed, this, &CameraSession::onRenamed);
}

void CameraSession::endStream()
{
    if (!streaming)
        return;
    streaming = false;
    currentSource->stop();
    if (currentSurface && currentSurface->isActive())
        currentSurface->stop();
}

/// Starts the surface with the source's format; false if it refuses, true without a surface.
bool CameraSession::startSurface()
{
    return !currentSurface || currentSurface->start(currentSource->format());
}

// Starts the first camera to arrive, if one is being waited for.
void CameraSession::onDevicesChanged()
{
    const QPointer<CameraSession> alive(this);
    emit devicesChanged();
    if (!alive || currentSource || currentStatus != QCamera::StartingStatus || !openFirst())
        return;
    emit selectedDeviceChanged(0);
    if (alive && currentStatus == QCamera::StartingStatus)
        startSource();
}

void CameraSession::onRenamed(const QByteArray &name)
{
    selectedName = name;
    emit selectedDeviceChanged(selectedDevice());
}

void CameraSession::onStarted()
{
    if (currentStatus != QCamera::StartingStatus)
        return;
    const QPointer<CameraSession> alive(this);
    const bool accepted = startSurface();
    if (!alive)
        return;
    if (!accepted) {
        fail(QCamera::CameraError, tr("L'affichage refuse le format d'image de la caméra."),
             QCamera::LoadedState);
        return;
    }
    currentStatus = QCamera::ActiveStatus;
    emit statusChanged(currentStatus);
}

void CameraSession::onFormatChanged()
{
    if (currentStatus != QCamera::ActiveStatus)
        return;
    const QPointer<CameraSession> alive(this);
    if (currentSurface && currentSurface->isActive())
        currentSurface->stop();
    if (alive && !startSurface()) {
        fail(QCamera::CameraError, tr("L'affichage refuse le format d'image de la caméra."),
             QCamera::LoadedState);
    }
}

// If the surface refuses a frame, it is lost, but the next one may be good: go on.
void CameraSession::onFrame(const QVideoFrame &frame)
{
    if (currentStatus == QCamera::ActiveStatus && currentSurface && currentSurface->isActive())
        currentSurface->present(frame);
}

// Waits for the source to start again, perhaps in another format.
void CameraSession::await()
{
    if (currentStatus != QCamera::ActiveStatus)
        return;
    const QPointer<CameraSession> alive(this);
    if (currentSurface && currentSurface->isActive())
        currentSurface->stop();
    if (!alive)
        return;
    currentStatus = QCamera::StartingStatus;
    emit statusChanged(currentStatus);
}

void CameraSession::fail(QCamera::Error code, const QString &text, QCamera::State fallback)
{
    const QPointer<CameraSession> alive(this);
    if (fallback == QCamera::ActiveState)
        await();
    else if (currentState > fallback)
        setState(fallback);
    if (alive)
        emit error(code, text);
}

} // namespace kivra::cameras
