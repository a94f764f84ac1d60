// The camera device: create, switch, start, stop, lock, and its errors.

#include "app/camera.h"

#include "decoding/pictureopener.h"
#include "ui_camera.h"
#include "video/videosurface.h"

#include <QCameraExposure>
#include <QCameraInfo>
#include <QMessageBox>
#include <QPointer>

void Camera::setCamera(const QByteArray &cameraDevice)
{
    forgetFile();
    imageCapture.reset();
    camera.reset();
    surfaceStarted = false;

    camera = cameraDevice.isEmpty() ? std::make_unique<QCamera>()
                                    : std::make_unique<QCamera>(cameraDevice);
    connect(camera.get(), SIGNAL(stateChanged(QCamera::State)), this,
            SLOT(updateCameraState(QCamera::State)));
    connect(camera.get(), SIGNAL(error(QCamera::Error)), this, SLOT(displayCameraError()));

    imageCapture = std::make_unique<QCameraImageCapture>(camera.get());
    camera->setCaptureMode(QCamera::CaptureStillImage);
    camera->setViewfinder(videoSurface.get());
    update();
    updateCameraState(camera->state());
    connectCamera();

    camera->start();
    statusBar()->showMessage(QStringLiteral("caméra active"));
    ui->displayWidget->setScaleFactor(1.0F);
    setFocusPolicy(Qt::ClickFocus);
}

// The surface and the view outlive the camera, so their connections are made only once. Otherwise,
// with a second camera, each frame would be shown and each picture taken twice.
void Camera::connectCamera()
{
    connect(imageCapture.get(), SIGNAL(readyForCaptureChanged(bool)), this,
            SLOT(readyForCapture(bool)));
    connect(imageCapture.get(), SIGNAL(imageCaptured(int, QImage)), this,
            SLOT(processCapturedImage(int, QImage)));
    connect(imageCapture.get(), SIGNAL(imageSaved(int, QString)), this,
            SLOT(imageSaved(int, QString)));
    connect(imageCapture.get(), SIGNAL(error(int, QCameraImageCapture::Error, QString)), this,
            SLOT(displayCaptureError(int, QCameraImageCapture::Error, QString)));
    connect(camera.get(), SIGNAL(lockStatusChanged(QCamera::LockStatus, QCamera::LockChangeReason)),
            this, SLOT(updateLockStatus(QCamera::LockStatus, QCamera::LockChangeReason)));
    connect(videoSurface.get(), SIGNAL(frameAvailable()), this, SLOT(displayImage()),
            Qt::UniqueConnection);
    connect(ui->displayWidget, SIGNAL(captureImage()), this,
            SLOT(on_actionEnregistrer_image_triggered()), Qt::UniqueConnection);
    connect(ui->displayWidget, SIGNAL(menuGraphique(bool)), this, SLOT(show_Menu_graphique(bool)),
            Qt::UniqueConnection);
}

// Identifies the open camera; empty while it is away.
QByteArray Camera::openDevice() const
{
    return QCameraInfo(*camera).deviceName().toLatin1();
}

void Camera::noteSurfaceStart(bool active)
{
    surfaceStarted |= active;
}

// Some camera services deliver a frame or two after they were stopped, or after the next camera was
// opened. Such a frame must not replace a picture that was opened meanwhile.
bool Camera::wantsLivePicture() const
{
    return surfaceStarted && camera && camera->state() == QCamera::ActiveState;
}

void Camera::updateCameraDevice(QAction *action)
{
    setCamera(action->data().toByteArray());
}

void Camera::updateCameraState(QCamera::State state)
{
    switch (state) {
    case QCamera::UnloadedState:
    case QCamera::LoadedState:
        ui->actionStartCamera->setEnabled(true);
        ui->actionStopCamera->setEnabled(false);
        break;
    case QCamera::ActiveState:
        ui->actionStartCamera->setEnabled(false);
        ui->actionStopCamera->setEnabled(true);
        opener->forget();
        isFirstFrame = true;
        break;
    }
}

void Camera::startCamera()
{
    forgetFile();
    ui->displayWidget->setZoomFactor(1.0F);
    ui->displayWidget->resetPos();
    camera->start();
}

void Camera::stopCamera()
{
    camera->stop();
    setFocus(Qt::OtherFocusReason);
}

void Camera::on_actionCamera_triggered()
{
    const bool start = ui->actionStartCamera->isEnabled();
    if (start)
        startCamera();
    else
        stopCamera();
    ui->actionStartCamera->setEnabled(!start);
    ui->actionStopCamera->setEnabled(start);
}

void Camera::toggleLock()
{
    switch (camera->lockStatus()) {
    case QCamera::Unlocked:
        camera->searchAndLock();
        break;
    case QCamera::Searching:
    case QCamera::Locked:
        camera->unlock();
        break;
    }
}

void Camera::updateLockStatus(QCamera::LockStatus, QCamera::LockChangeReason) {}

void Camera::readyForCapture(bool) {}

void Camera::setExposureCompensation(int index)
{
    constexpr double stopsPerStep = 0.5;
    camera->exposure()->setExposureCompensation(index * stopsPerStep);
}

// A device may also fail while it is being closed; nobody needs to know that. A loose plug fails
// again and again while the box is open: the box comes again only if the last fault is another one.
void Camera::displayCameraError()
{
    if (!camera)
        return;
    cameraFault = camera->errorString();
    if (tellsCameraFault)
        return;
    tellsCameraFault = true;
    const QPointer<Camera> alive(this);
    QString told;
    do {
        told = cameraFault;
        QMessageBox::warning(this, tr("Camera error"), told);
    } while (alive && cameraFault != told);
    if (alive)
        tellsCameraFault = false;
}

void Camera::displayCaptureError(int, QCameraImageCapture::Error, const QString &errorString)
{
    QMessageBox::warning(this, tr("Image Capture Error"), errorString);
    captureInProgress = false;
}
