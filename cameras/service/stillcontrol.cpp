#include "cameras/service/stillcontrol.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QStandardPaths>

namespace kivra::cameras {

namespace {

constexpr int longestQueue = 4;

/// The absolute path for \a fileName; a free name in the pictures folder if it is empty.
QString resolvedPath(const QString &fileName, const QString &codec)
{
    const QDir pictures(QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    if (!fileName.isEmpty())
        return QDir::cleanPath(pictures.absoluteFilePath(fileName));
    const QString suffix = codec == QLatin1String("jpeg") ? QStringLiteral("jpg") : codec;
    pictures.mkpath(QStringLiteral("."));
    for (int number = 1;; ++number) {
        const QString name =
            QStringLiteral("IMG_%1.%2").arg(number, 4, 10, QLatin1Char('0')).arg(suffix);
        if (!pictures.exists(name))
            return pictures.absoluteFilePath(name);
    }
}

} // namespace

StillControl::StillControl(CameraSession &owner, StillSettings &chosen)
    : session(owner)
    , settings(chosen)
{
    connect(&session, &CameraSession::statusChanged, this, &StillControl::onStatusChanged);
    connect(&session, &CameraSession::sourceChanged, this, &StillControl::connectSource);
    connect(&writer, &StillWriter::written, this, &StillControl::onWritten);
    connect(&writer, &StillWriter::failed, this, &StillControl::onFailed);
    connectSource();
}

void StillControl::connectSource()
{
    FrameSource *source = session.source();
    if (!source)
        return;
    connect(source, &FrameSource::stillExposed, this, &StillControl::onExposed);
    connect(source, &FrameSource::stillTaken, this, &StillControl::onTaken);
    connect(source, &FrameSource::stillEncoded, this, &StillControl::onEncoded);
    connect(source, &FrameSource::stillFailed, this, &StillControl::onFailed);
    connect(source, &FrameSource::stillSaved, this, &StillControl::onWritten);
}

bool StillControl::isReadyForCapture() const
{
    return session.status() == QCamera::ActiveStatus && requests.isEmpty();
}

QCameraImageCapture::DriveMode StillControl::driveMode() const
{
    return QCameraImageCapture::SingleImageCapture;
}

void StillControl::setDriveMode(QCameraImageCapture::DriveMode mode)
{
    Q_UNUSED(mode)
}

int StillControl::capture(const QString &fileName)
{
    const int id = ++lastId;
    if (session.status() != QCamera::ActiveStatus || requests.size() >= longestQueue) {
        refuse(id, QCameraImageCapture::NotReadyError,
               tr("La caméra n'est pas prête à prendre une image."));
        return id;
    }
    const QString codec = codecFor(fileName);
    if (!session.source()->stillCodecs().contains(codec)) {
        refuse(id, QCameraImageCapture::FormatError,
               tr("La caméra ne connaît pas le format d'image « %1 ».").arg(codec));
        return id;
    }
    const QSize size = resolution();
    const QList<QSize> offered = session.source()->stillResolutions();
    if (!offered.isEmpty() && !offered.contains(size)) {
        refuse(id, QCameraImageCapture::NotSupportedFeatureError,
               tr("La caméra ne connaît pas la taille d'image %1 x %2.")
                   .arg(size.width())
                   .arg(size.height()));
        return id;
    }
    requests.append(
        {id, resolvedPath(fileName, codec), size, codec, settings.imageSettings().quality()});
    QMetaObject::invokeMethod(this, &StillControl::next, Qt::QueuedConnection);
    updateReadiness();
    return id;
}

void StillControl::cancelCapture()
{
    if (requests.isEmpty())
        return;
    requests.clear();
    underWay = false;
    writer.cancel();
    if (session.source())
        session.source()->cancelStill();
    updateReadiness();
}

void StillControl::onStatusChanged()
{
    if (session.status() == QCamera::UnloadedStatus && !requests.isEmpty())
        dropAll(tr("La caméra a été fermée avant que l'image soit prise."));
    else
        updateReadiness();
}

/// Hands the first request to the source, unless the source is working on one.
void StillControl::next()
{
    if (underWay || requests.isEmpty() || !session.source())
        return;
    underWay = true;
    session.source()->takeStill(requests.first());
}

/// The first request has its answer.
void StillControl::finish()
{
    requests.removeFirst();
    underWay = false;
    QMetaObject::invokeMethod(this, &StillControl::next, Qt::QueuedConnection);
}

void StillControl::dropAll(const QString &reason)
{
    for (const StillRequest &request : qAsConst(requests))
        refuse(request.id, QCameraImageCapture::ResourceError, reason);
    cancelCapture();
}

// Queued, so that the caller of capture() knows the number before the error comes.
void StillControl::refuse(int id, QCameraImageCapture::Error code, const QString &text)
{
    QMetaObject::invokeMethod(
        this, [=] { emit error(id, code, text); }, Qt::QueuedConnection);
}

void StillControl::updateReadiness()
{
    if (ready == isReadyForCapture())
        return;
    ready = !ready;
    emit readyForCaptureChanged(ready);
}

QString StillControl::codecFor(const QString &fileName) const
{
    QString chosen = settings.imageSettings().codec().toLower();
    if (!chosen.isEmpty())
        return chosen;
    QString suffix = QFileInfo(fileName).suffix().toLower();
    const QStringList offered = session.source()->stillCodecs();
    if (offered.contains(suffix))
        return suffix;
    return offered.isEmpty() ? QStringLiteral("jpeg") : offered.first();
}

QSize StillControl::resolution() const
{
    const QSize chosen = settings.imageSettings().resolution();
    if (!chosen.isEmpty())
        return chosen;
    const QList<QSize> offered = session.source()->stillResolutions();
    return offered.isEmpty() ? QSize() : offered.first();
}

void StillControl::onExposed(int id)
{
    if (underWay && id == requests.first().id)
        emit imageExposed(id);
}

void StillControl::onTaken(int id, const QImage &picture, const QImage &preview)
{
    if (!underWay || id != requests.first().id)
        return;
    writer.write(requests.first(), picture);
    emit imageCaptured(id, preview);
}

void StillControl::onEncoded(int id, const QByteArray &file, const QImage &preview)
{
    if (!underWay || id != requests.first().id)
        return;
    writer.write(requests.first(), file);
    emit imageCaptured(id, preview);
}

// A late answer, to a request that is no longer open, is passed on too; receivers may ignore it. It
// must not count as the answer to the present request.
void StillControl::onFailed(int id, QCameraImageCapture::Error code, const QString &text)
{
    if (underWay && id == requests.first().id)
        finish();
    const QPointer<StillControl> alive(this);
    updateReadiness();
    if (alive)
        emit error(id, code, text);
}

void StillControl::onWritten(int id, const QString &path)
{
    if (underWay && id == requests.first().id)
        finish();
    const QPointer<StillControl> alive(this);
    updateReadiness();
    if (alive)
        emit imageSaved(id, path);
}

} // namespace kivra::cameras
