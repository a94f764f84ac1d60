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

constexpr int prepareMs = 1000;    // the start of the program has other things to do first
constexpr int longOpeningMs = 200; // for less, a changing pointer only flickers

} // namespace

// stop() would load a camera that is not running, such as an unplugged one; that fails, and a box
// would say so. The actions Start and Stop may still show it as running.
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

// Until the user closes the box there is no picture; no live frame is shown behind the box.
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

// The next step is likely to go in the same direction. A running camera needs the processor and the
// memory itself.
void Camera::lookAhead()
{
    if (!lastStep || camera->state() == QCamera::ActiveState)
        return;
    Images next = *images;
    (next.*lastStep)();
    opener->lookAhead(next.currentImage);
}

// Cancelling is no special case: loading "" fails and shows the error box.
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
