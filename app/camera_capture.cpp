// Taking a picture: clipboard first, then the file.

#include "app/camera.h"

#include "storage/paths.h"
#include "storage/settings.h"
#include "ui_camera.h"

#include <QClipboard>
#include <QDebug>
#include <QDir>

void Camera::takeImage()
{
    camera->searchAndLock();
    qDebug() << "take image";
    captureInProgress = true;
    const QString name = daytimeFile(QStringLiteral("im"), QStringLiteral(".jpg"));
    imagePath = checkAndCreateDir(QStringLiteral("tableaux")) + QLatin1Char('/') + name;
    rawStore = settings::rawStore.stored();

    clipboard->setImage(ui->displayWidget->grab().toImage(), QClipboard::Clipboard);
    if (rawStore) {
        // A camera service takes a relative path from a folder of its own choice.
        if (imageCapture->isAvailable())
            imageCapture->capture(QDir::current().absoluteFilePath(imagePath));
        qDebug() << imageCapture->errorString();
    } else {
        ui->displayWidget->saveToFile(imagePath);
    }

    captureInProgress = false;
    camera->unlock();
}

void Camera::on_actionEnregistrer_image_triggered()
{
    takeImage();
    displayMsg(QStringLiteral("enregistrement image"));
}

void Camera::processCapturedImage(int, const QImage &) {}

void Camera::imageSaved(int, const QString &)
{
    captureInProgress = false;
    if (closePending)
        close();
}
