// Showing a picture file in place of the live picture.

#include "app/camera.h"

#include "decoding/picturefile.h"
#include "storage/images.h"
#include "storage/paths.h"
#include "ui_camera.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

// A camera that is not running, such as one that was unplugged, would be loaded by a call to stop,
// and a box would tell that this fails. Start and Stop may still say that it runs.
void Camera::endLivePicture()
{
    if (camera->state() == QCamera::ActiveState)
        camera->stop();
    else
        updateCameraState(camera->state());
}

void Camera::displayFile(const QString &path)
{
    lastFrame = QImage(); // its memory may serve the next one
    lastFrame = kivra::loadPicture(path);
    if (lastFrame.isNull()) {
        QMessageBox::warning(this, QStringLiteral("échec chargement de fichier"),
                             QStringLiteral("impossible d'ouvrir l'image ") + path,
                             QMessageBox::Ok);
        return;
    }
    imagePath = path;
    endLivePicture();
    coefZoom = 100;
    PixmapWidget *const view = ui->displayWidget;
    view->setZoomFactor(1.0F);
    view->setScaleFactor(float(view->width()) / float(lastFrame.width()));
    view->resetPos();
    updateDisplay();
    statusBar()->showMessage(path);
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
