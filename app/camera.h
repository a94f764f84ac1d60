#pragma once

#include <QCamera>
#include <QCameraImageCapture>
#include <QElapsedTimer>
#include <QImage>
#include <QImageEncoderSettings>
#include <QMainWindow>
#include <array>
#include <memory>

class Images;
class QAction;
class QActionGroup;
class QClipboard;
class QTimer;
class SecondPress;
class Ui_Camera;
class VideoSurface;
namespace kivra {
class PictureOpener;
class Renderer;
} // namespace kivra

/// Path of the picture to show at the start; empty for the live picture.
extern QString _imgAOuvrir;
/// The program's version, for the user.
extern const QString _versionNr;

/// The main window. It shows the live picture of the camera, or a stored one, through the selected
/// rendering mode, the brightness and contrast table and the selected effect.
///
/// Everything runs on the window's thread. Sources: camera.cpp for construction and closing, one
/// camera_<subject>.cpp for each group of slots.
class Camera : public QMainWindow
{
    Q_OBJECT

public:
    explicit Camera(QWidget *parent = nullptr);
    ~Camera() override;

protected:
    bool event(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;

    // The order of the slots is that of the slot table, on which other code may rely.
private slots:
    /// Traces a change of the screen's geometry.
    void orientationEcran(QRect geometry);
    /// Shows a line in the status bar for two seconds, if the user wants such lines.
    void displayOnStatusBar(const QString &text);
    /// Shows a large message on the picture for two seconds, if the user wants messages.
    void displayMsg(const QString &text);

    /// Opens the camera with this identifier, or the system's default one, and starts it.
    void setCamera(const QByteArray &cameraDevice);
    void startCamera();
    void stopCamera();
    /// Focuses and locks, or unlocks.
    void toggleLock();
    /// Puts the shown picture on the clipboard and stores the camera's still or the shown picture,
    /// as the user prefers. The camera may answer later; a file of the shown picture that cannot be
    /// written is not reported.
    void takeImage();
    /// Reports a still that the camera could not take or write.
    void displayCaptureError(int id, QCameraImageCapture::Error error, const QString &errorString);
    /// Lets the user choose format, resolution and quality of stills.
    void configureImageSettings();
    /// Reports the camera's fault in a box. While that box is open, the last further fault is kept
    /// for the next one.
    void displayCameraError();
    void updateCameraDevice(QAction *action);
    /// Enables Start or Stop, whichever the camera's state allows.
    void updateCameraState(QCamera::State state);
    /// Sets the compensation to \a index half stops.
    void setExposureCompensation(int index);
    /// Takes the preview of a still; nothing shows it.
    void processCapturedImage(int requestId, const QImage &img);
    void updateLockStatus(QCamera::LockStatus status, QCamera::LockChangeReason reason);
    void readyForCapture(bool ready);
    /// A still is on disk: a close that waited for it goes ahead.
    void imageSaved(int id, const QString &fileName);

    void on_actionImageSettings_triggered();
    void on_actionEnregistrer_image_triggered();
    void on_actionNegatif_triggered();
    /// Steps the rendering mode.
    void on_actionEffet_triggered();
    /// Takes the camera's frame and shows it.
    void displayImage();
    /// Steps the window's size preset.
    void on_actionTailleFenetre_triggered();
    void on_actionMiseAJour_triggered();
    void on_actionInfoSysteme_triggered();
    void on_actionOuvrir_Image_triggered();
    /// Steps the effect.
    void on_actionMode_triggered();

    /// Sets one coefficient: stores it, announces it and renders the picture again.
    void on_changeCoef(int coef, int value);
    void on_resetCoef();
    void on_incCoef();
    void on_decCoef();

    /// Each second: the line of figures.
    void aTimerSlot();
    /// Two seconds after the last message: hides it.
    void bTimerSlot();

    /// Renders the last frame with the current selections and shows it.
    void updateDisplay();
    /// Replaces the picture, which is lastFrame's, by the result of mode, table and effect, in this
    /// order; by null when memory is short.
    void fProcessing(QImage *pImg, int imageProcessing, int displayMode);

    void on_actionNoir_et_blanc_triggered();
    void on_actionBicolore_triggered();
    void on_actionNormal_triggered();
    void on_actionTrNormal_triggered();
    void on_actionAutomatique_triggered();
    void on_actionEclairage_difficile_triggered();
    void on_actionTexte_triggered();
    void on_actionTexte_manuscrit_triggered();
    void on_actionTableau_vert_triggered();
    void on_actionEffet_artistique_triggered();
    void on_actionAide_triggered();
    void on_actionA_propos_triggered();
    void on_actionMenu_graphique_triggered();
    void on_actionPreferences_triggered();
    void on_actionLumiere_triggered();
    /// Back to normal rendering, no effect, and the start values of all coefficients.
    void on_actionReinit_triggered();
    void on_actionContraste_triggered();
    void on_actionReglageCourant_triggered();
    void on_actionZoom_triggered();
    /// Starts or stops the camera.
    void on_actionCamera_triggered();
    void on_actionIncCoef_triggered();
    void on_actionDecCoef_triggered();
    void on_actionResetCoef_triggered();
    void show_Menu_graphique(bool show);

private:
    friend class CameraProbe; // lets the tests read state that no widget shows

    /// Opens a picture file and shows it in place of the live picture; a box reports a failure. The
    /// window goes on meanwhile: showFile() or tellFailure() is called when the outcome is known,
    /// which may be at once. A file that was being opened before is given up without a message.
    void displayFile(const QString &path);

    // Steps of the construction
    void setUpForm();
    void setUpToolBar();
    void layOut();
    void readSettings();
    QByteArray fillDeviceMenu();
    void groupActions();
    void setShortcuts();
    void startTimers();
    void setUpOpening();

    // Helpers of the slots
    void connectCamera();
    QByteArray openDevice() const;
    void noteSurfaceStart(bool active);
    bool wantsLivePicture() const;
    std::array<QAction *, 7> modeActions() const;
    std::array<QAction *, 4> effectActions() const;
    void fitLivePicture();
    void toggleEffect(int effect);
    void selectCoefficient(int coefficient, const QString &message);
    void stepCoefficient(bool up);
    void endLivePicture();
    void showFile(const QString &path, const QImage &picture);
    void tellFailure(const QString &path);
    /// Escape: gives up the file being opened and reports it as one that cannot be opened.
    void giveUpFile();
    /// For a command that replaces the picture: gives up the file being opened, without a message.
    void forgetFile();
    void showThatFileIsOpening(bool opening);
    void lookAhead();
    void takeKeyboardFromToolBar();
    /// For a key: steps to another stored picture and shows it.
    void browse(const QKeyEvent &key, void (Images::*step)());

    std::unique_ptr<Ui_Camera> ui;
    std::unique_ptr<SecondPress> secondPress;
    std::unique_ptr<QCamera> camera;
    std::unique_ptr<QCameraImageCapture> imageCapture;
    QImageEncoderSettings imageSettings; ///< as last accepted by the user
    QString imagePath;                   ///< of the picture last taken or shown from a file
    bool captureInProgress = false;
    bool closePending = false; ///< the user asked to close while a capture was under way
    int imageProcessing = 0;   ///< rendering mode, 0..6
    int displayMode = 0;       ///< effect, 0..3
    int modeTailleFenetre = 0; ///< window size preset, 0..2
    int framesDisplayed = 0;   ///< since the last line of figures
    int lastPixelCount = 0;
    double displayTimeMsPerMp = 0.0;    ///< of table and effect
    double processingTimeMsPerMp = 0.0; ///< of the mode
    bool rawStore = true;               ///< as read at the last capture
    bool smallField = false;            ///< show the centre of the frame only
    int lumiere = 0;                    ///< -100..100
    int contraste = 100;                ///< per cent, 10..1000
    int reglage = 50;                   ///< 0..100
    int coefZoom = 100;                 ///< per cent, 12..800
    int coefCourant = 3;                ///< 0 contraste, 1 lumiere, 2 reglage, 3 zoom
    std::unique_ptr<VideoSurface> videoSurface;
    bool isFirstFrame = false;      ///< the next frame is the first since the camera started
    QString cameraFault;            ///< the last one, in words
    bool tellsCameraFault = false;  ///< a box is open
    bool surfaceStarted = false;    ///< since the present camera was opened
    QImage lastFrame;               ///< unprocessed, 32-bit; null before the first frame
    bool lastFrameIsOpaque = false; ///< the alpha of each of its pixels is known to be 255
    std::unique_ptr<kivra::Renderer> renderer;
    std::unique_ptr<QTimer> aTimer;
    std::unique_ptr<QTimer> bTimer;
    std::unique_ptr<Images> images;
    std::unique_ptr<kivra::PictureOpener> opener;
    std::unique_ptr<QTimer> longOpening;  ///< a file opens; then the pointer turns busy
    bool failureStands = false;           ///< a box reports a file that cannot be opened
    void (Images::*lastStep)() = nullptr; ///< of the browser; null before the first
    QElapsedTimer sinceBrowsed;           ///< since a file was shown; invalid before the first
    QClipboard *clipboard = nullptr;
};
