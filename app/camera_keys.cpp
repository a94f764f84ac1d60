// The keyboard: one key at a time, without regard to modifiers.

#include "app/camera.h"

#include "decoding/pictureopener.h"
#include "storage/images.h"

#include <QKeyEvent>

// Presses queued while a picture is painted would page on after the release; a repeat that arrives
// within 10 ms is dropped. A repeat while a picture is being opened is dropped too: it would give
// up each picture before it is shown.
void Camera::browse(const QKeyEvent &key, void (Images::*step)())
{
    constexpr int soonMs = 10;
    const bool isTooSoon = sinceBrowsed.isValid() && !sinceBrowsed.hasExpired(soonMs);
    if (key.isAutoRepeat() && (isTooSoon || opener->isOpening()))
        return;
    lastStep = step;
    (images.get()->*step)();
    displayFile(images->currentImage);
}

void Camera::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Space:
        browse(*event, &Images::getNextImage);
        break;
    case Qt::Key_Backspace:
        browse(*event, &Images::getPrevImage);
        break;
    case Qt::Key_Plus:
    case Qt::Key_Up:
        on_incCoef();
        break;
    case Qt::Key_Minus:
    case Qt::Key_Down:
        on_decCoef();
        break;
    case Qt::Key_Left:
        on_resetCoef();
        break;
    case Qt::Key_C:
        coefCourant = 0;
        displayMsg(QStringLiteral("contraste "));
        break;
    case Qt::Key_L:
        coefCourant = 1;
        displayMsg(QStringLiteral("lumière "));
        break;
    case Qt::Key_R:
        coefCourant = 2;
        displayMsg(QStringLiteral("réglage "));
        break;
    case Qt::Key_Z:
        coefCourant = 3;
        displayMsg(QStringLiteral("zoom "));
        setFocus(Qt::OtherFocusReason);
        break;
    case Qt::Key_Escape:
        if (opener->isOpening())
            giveUpFile();
        else
            QMainWindow::keyPressEvent(event);
        break;
    case Qt::Key_Camera:
        if (!event->isAutoRepeat())
            takeImage();
        event->accept();
        break;
    case Qt::Key_CameraFocus:
        // The key is still held but unlocked: an auto-repeat release was taken for a real one. Lock
        // again.
        if (!event->isAutoRepeat() || camera->lockStatus() == QCamera::Unlocked)
            camera->searchAndLock();
        event->accept();
        break;
    default:
        QMainWindow::keyPressEvent(event);
    }
}

// Auto-repeat sends release/press pairs; they neither unlock nor start a search.
void Camera::keyReleaseEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_CameraFocus)
        QMainWindow::keyReleaseEvent(event);
    else if (!event->isAutoRepeat())
        camera->unlock();
}
