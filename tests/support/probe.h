#pragma once

#include "app/camera.h"

#include "display/pixmapwidget.h"
#include "ui_camera.h"

/// The tests' eye on state of the window that no widget shows.
class CameraProbe
{
public:
    explicit CameraProbe(Camera &observed)
        : window(observed)
    {
    }

    QCamera *camera() const { return window.camera.get(); }
    QCameraImageCapture *imageCapture() const { return window.imageCapture.get(); }
    PixmapWidget *view() const { return window.ui->displayWidget; }
    QImage lastFrame() const { return window.lastFrame; }
    int imageProcessing() const { return window.imageProcessing; }
    int displayMode() const { return window.displayMode; }
    int framesDisplayed() const { return window.framesDisplayed; }
    int lumiere() const { return window.lumiere; }
    int contraste() const { return window.contraste; }
    int reglage() const { return window.reglage; }
    int coefZoom() const { return window.coefZoom; }
    int coefCourant() const { return window.coefCourant; }
    bool smallField() const { return window.smallField; }
    bool closePending() const { return window.closePending; }
    bool captureInProgress() const { return window.captureInProgress; }
    void setCaptureInProgress(bool on) { window.captureInProgress = on; }
    void setCoefCourant(int number) { window.coefCourant = number; }
    void displayFile(const QString &path) { window.displayFile(path); }

private:
    Camera &window;
};
