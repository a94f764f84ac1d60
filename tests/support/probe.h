#pragma once

#include "app/camera.h"

#include "decoding/pictureopener.h"
#include "display/pixmapwidget.h"
#include "ui_camera.h"
#include "video/videosurface.h"

#include <QTimer>

/// Lets the tests see state of the window that no widget shows.
class CameraProbe
{
public:
    explicit CameraProbe(Camera &observed)
        : window(observed)
    {
    }

    QCamera *camera() const { return window.camera.get(); }
    QCameraImageCapture *imageCapture() const { return window.imageCapture.get(); }
    QAbstractVideoSurface *videoSurface() const { return window.videoSurface.get(); }
    PixmapWidget *view() const { return window.ui->displayWidget; }
    QImage lastFrame() const { return window.lastFrame; }
    int imageProcessing() const { return window.imageProcessing; }
    int displayMode() const { return window.displayMode; }
    int framesDisplayed() const { return window.framesDisplayed; }
    int lastPixelCount() const { return window.lastPixelCount; }
    double processingTimeMsPerMp() const { return window.processingTimeMsPerMp; }
    double displayTimeMsPerMp() const { return window.displayTimeMsPerMp; }
    int lumiere() const { return window.lumiere; }
    int contraste() const { return window.contraste; }
    int reglage() const { return window.reglage; }
    int coefZoom() const { return window.coefZoom; }
    int coefCourant() const { return window.coefCourant; }
    int modeTailleFenetre() const { return window.modeTailleFenetre; }
    const QTimer *figuresTimer() const { return window.aTimer.get(); }
    const QTimer *messageTimer() const { return window.bTimer.get(); }
    bool smallField() const { return window.smallField; }
    bool closePending() const { return window.closePending; }
    bool captureInProgress() const { return window.captureInProgress; }
    void setCaptureInProgress(bool on) { window.captureInProgress = on; }
    /// Sets a coefficient by its number, without the other effects of a change.
    void setCoefficient(int number, int value)
    {
        int *const coefficients[] = {&window.contraste, &window.lumiere, &window.reglage,
                                     &window.coefZoom};
        *coefficients[number] = value;
    }
    void setTimes(double processing, double display)
    {
        window.processingTimeMsPerMp = processing;
        window.displayTimeMsPerMp = display;
    }
    void setCoefCourant(int number) { window.coefCourant = number; }
    void displayFile(const QString &path) { window.displayFile(path); }
    bool isOpening() const { return window.opener->isOpening(); }
    bool isLookingAhead() const
    {
        for (const auto *decoder : window.opener->findChildren<kivra::PictureDecoder *>()) {
            if (decoder->isBusy())
                return true;
        }
        return false;
    }
    bool failureStands() const { return window.failureStands; }

private:
    Camera &window;
};
