// Showing a picture file in place of the live picture.

#include "app/camera.h"

#include "decoding/pictureopener.h"
#include "storage/images.h"
#include "storage/paths.h"
#include "ui_camera.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QTimer>

namespace {

constexpr int prepareMs = 1000;    // after the start, which has other things to do first
constexpr int longOpeningMs = 200; // a pointer that changes for less flickers

} // namespace

// A camera that is not running, such as one that was unplugged, would be loaded by a call to stop,
// and a box would tell that this fails. Start and Stop may still say that it runs.
void Camera::endLivePicture()
{
    if (camera->state() == QCamera::ActiveState)
        camera->stop();
    else
        updateCameraState(camera->state());
}

void Camera::setUpOpening()
{
    opener = std::make_unique<kivra::PictureOpener>();
    connect(opener.get(), &kivra::PictureOpener::opened, this,
            [this](const QString &path, const QImage &picture) {
                showThatFileIsOpening(false);
                if (picture.isNull())
                    tellFailure(path);
                else
                    showFile(path, picture);
            });
    QTimer::singleShot(prepareMs, opener.get(), &kivra::PictureOpener::prepare);
    longOpening = std::make_unique<QTimer>();
    longOpening->setSingleShot(true);
    longOpening->setInterval(longOpeningMs);
    connect(longOpening.get(), &QTimer::timeout, this, [this] { setCursor(Qt::BusyCursor); });
}

void Camera::showThatFileIsOpening(bool opening)
{
    if (opening) {
        longOpening->start();
    } else {
        longOpening->stop();
        unsetCursor();
    }
}

void Camera::displayFile(const QString &path)
{
    const bool wasOpening = opener->isOpening();
    opener->open(path);
    if (opener->isOpening() && !wasOpening)
        showThatFileIsOpening(true);
}

void Camera::showFile(const QString &path, const QImage &picture)
{
    lastFrame = picture;
    lastFrameIsOpaque = true;
    imagePath = path;
    endLivePicture();
    coefZoom = 100;
    PixmapWidget *const view = ui->displayWidget;
    view->setZoomFactor(1.0F);
    view->setScaleFactor(float(view->width()) / float(lastFrame.width()));
    view->resetPos();
    updateDisplay();
    statusBar()->showMessage(path);
    sinceBrowsed.start();
    lookAhead();
}

// Until the box is answered there is no picture, and no live one takes its place behind the box.
void Camera::tellFailure(const QString &path)
{
    lastFrame = QImage();
    failureStands = true;
    const QPointer<Camera> alive(this);
    QMessageBox::warning(this, QStringLiteral("échec chargement de fichier"),
                         QStringLiteral("impossible d'ouvrir l'image ") + path, QMessageBox::Ok);
    if (!alive)
        return;
    failureStands = false;
    sinceBrowsed.start();
}

void Camera::giveUpFile()
{
    const QString path = opener->path();
    forgetFile();
    tellFailure(path);
}

void Camera::forgetFile()
{
    opener->giveUp();
    showThatFileIsOpening(false);
}

// Who steps through stored pictures goes on in the same direction; a running camera needs the
// processor and the memory itself.
void Camera::lookAhead()
{
    if (!lastStep || camera->state() == QCamera::ActiveState)
        return;
    Images next = *images;
    (next.*lastStep)();
    opener->lookAhead(next.currentImage);
}

// A cancelled dialog is not told apart: the failed loading of no file tells the user.
void Camera::on_actionOuvrir_Image_triggered()
{
    endLivePicture();
    const QString file = QFileDialog::getOpenFileName(nullptr, QStringLiteral("Ouvrir image"),
                                                      getDir(QStringLiteral("tableaux")),
                                                      QStringLiteral("Files (*.*)"));
    images->useStorageRoot = false;
    const QString folder = QFileInfo(file).path(); // empty for no file
    images->setDir(folder.isEmpty() ? QStringLiteral(".") : folder);
    images->reinit();
    displayFile(file);
}
