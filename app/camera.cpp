#include "app/camera.h"

#include "app/accessibility.h"
#include "app/devicemenu.h"
#include "app/plaintext.h"
#include "app/secondpress.h"
#include "decoding/pictureopener.h"
#include "render/renderer.h"
#include "resources/resources.h"
#include "storage/images.h"
#include "storage/settings.h"
#include "ui_camera.h"
#include "video/videosurface.h"

#include <QActionGroup>
#include <QClipboard>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QLayout>
#include <QScreen>
#include <QTimer>

QString _imgAOuvrir;
const QString _versionNr = QStringLiteral(KIVRA_VERSION);

namespace {

constexpr int figuresMs = 1000;
constexpr int messageMs = 2000;

void registerMetaTypes()
{
    qRegisterMetaType<QCamera::LockStatus>("QCamera::LockStatus");
    qRegisterMetaType<QCamera::LockChangeReason>("QCamera::LockChangeReason");
    qRegisterMetaType<QCamera::State>("QCamera::State");
    qRegisterMetaType<QCameraImageCapture::Error>("QCameraImageCapture::Error");
}

} // namespace

Camera::Camera(QWidget *parent)
    : QMainWindow(parent)
    , ui(std::make_unique<Ui_Camera>())
{
    initialiseResources();
    registerMetaTypes();
    new PlainText(this);
    setUpForm();
    setUpOpening();
    readSettings();
    images = std::make_unique<Images>();
    videoSurface = std::make_unique<VideoSurface>(nullptr);
    renderer = std::make_unique<kivra::Renderer>();
    connect(videoSurface.get(), &VideoSurface::activeChanged, this, &Camera::noteSurfaceStart);
    clipboard = QGuiApplication::clipboard();
    const QByteArray device = fillDeviceMenu();
    connect(QGuiApplication::screens().constFirst(), SIGNAL(virtualGeometryChanged(QRect)), this,
            SLOT(orientationEcran(QRect)));
    setCamera(device);
    groupActions();
    setShortcuts();
    startTimers();
    ui->displayWidget->setZoomFactor(float(coefZoom * 0.01));
    if (!_imgAOuvrir.isEmpty()) {
        displayFile(_imgAOuvrir);
        opener->wait();
    }
    ui->displayWidget->busy = false;
}

// The camera draws on the surface to its last moment, so it is destroyed first.
Camera::~Camera()
{
    imageCapture.reset();
    camera.reset();
}

// The view counts as busy until the window is complete, so that no frame is shown earlier.
void Camera::setUpForm()
{
    ui->setupUi(this);
    setWindowTitle(QStringLiteral("Kivra"));
    makeAccessible(this, *ui);
    ui->displayWidget->busy = true;
    setUpToolBar();
    if (settings::wholeWindow.stored())
        centralWidget()->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    // Every frame repaints the window, and with it each widget that lets its background through.
    ui->menubar->setAutoFillBackground(true);
    ui->statusbar->setAutoFillBackground(true);
    layOut();
    ui->msgDisplay->setAttribute(Qt::WA_TransparentForMouseEvents);
    ui->msgDisplay->hide(); // even without text, every frame would repaint it
    setFocusPolicy(Qt::FocusPolicy(Qt::StrongFocus | Qt::WheelFocus));
    setFocus(Qt::OtherFocusReason);
}

void Camera::setUpToolBar()
{
    ui->toolBar->setVisible(false);
    secondPress = std::make_unique<SecondPress>(ui->displayWidget, ui->toolBar);
    connect(ui->toolBar, &QToolBar::actionTriggered, this, &Camera::takeKeyboardFromToolBar);
}

// Qt lays a window out when it is shown. That is too late for a picture given at the start, which
// is fitted to the view before, and a label that is hidden then, as the message is, never gets its
// place.
void Camera::layOut()
{
    layout()->activate();
    centralWidget()->layout()->activate();
    ui->displayWidget->layout()->activate();
}

// The reduced field is off unless the last settings are wanted; then it is on unless stored as off.
void Camera::readSettings()
{
    const QSettings store = settingsStore();
    if (!settings::restore.from(store))
        return;
    lumiere = settings::lumiere.from(store);
    contraste = settings::contraste.from(store);
    reglage = settings::reglage.from(store);
    coefZoom = settings::zoom.from(store);
    smallField = settings::smallField.from(store);
}

// Returns the identifier of the first camera, empty when there is none. A camera that is plugged in
// later appears the next time the menu opens.
QByteArray Camera::fillDeviceMenu()
{
    auto *const devices = new DeviceMenu(ui->menuDevices, this);
    QByteArray chosen = devices->chooseFirst();
    connect(devices->group(), SIGNAL(triggered(QAction *)), this,
            SLOT(updateCameraDevice(QAction *)));
    connect(ui->menuDevices, &QMenu::aboutToShow, devices,
            [this, devices] { devices->update(openDevice()); });
    return chosen;
}

// Exclusive, so that checking one mode or effect unchecks the others.
void Camera::groupActions()
{
    auto *const effects = new QActionGroup(this);
    for (QAction *action : effectActions())
        effects->addAction(action);
    auto *const modes = new QActionGroup(this);
    for (QAction *action : modeActions())
        modes->addAction(action);
}

void Camera::setShortcuts()
{
    constexpr int ctrl = Qt::CTRL; // int, because the keys are another enumeration
    constexpr int alt = Qt::ALT;
    const std::pair<QAction *, QKeySequence> shortcuts[] = {
        {ui->actionImageSettings, Qt::Key_F8},
        {ui->actionExit, alt | Qt::Key_F4},
        {ui->actionEnregistrer_image, ctrl | Qt::Key_S},
        {ui->actionNegatif, ctrl | Qt::Key_I},
        {ui->actionNoir_et_blanc, ctrl | Qt::Key_C},
        {ui->actionBicolore, ctrl | Qt::Key_B},
        {ui->actionEffet, Qt::Key_F7},
        {ui->actionMode, Qt::Key_F6},
        {ui->actionTailleFenetre, Qt::Key_F5},
        {ui->actionAide, Qt::Key_F1},
        {ui->actionInfoSysteme, Qt::Key_F3},
        {ui->actionA_propos, Qt::Key_F4},
        {ui->actionOuvrir_Image, ctrl | Qt::Key_O},
        {ui->actionReinit, ctrl | Qt::Key_Z},
        {ui->actionMenu_graphique, ctrl | Qt::Key_M},
    };
    for (const auto &[action, keys] : shortcuts)
        action->setShortcut(keys);
    // These actions ignore auto-repeat. Some take time: the camera would refuse the next stills,
    // and go on opening and closing long after the key is released; the browser would open one
    // manual after the other. Others toggle or cycle: a negative that goes on and off thirty times
    // a second is a flashing light.
    for (QAction *action :
         {ui->actionEnregistrer_image, ui->actionStartCamera, ui->actionStopCamera, ui->actionAide,
          ui->actionReinit, ui->actionTailleFenetre, ui->actionMenu_graphique, ui->actionNegatif,
          ui->actionNoir_et_blanc, ui->actionBicolore, ui->actionEffet, ui->actionMode})
        action->setAutoRepeat(false);
}

void Camera::startTimers()
{
    aTimer = std::make_unique<QTimer>();
    connect(aTimer.get(), SIGNAL(timeout()), this, SLOT(aTimerSlot()));
    aTimer->start(figuresMs);
    bTimer = std::make_unique<QTimer>();
    bTimer->setInterval(messageMs);
    connect(bTimer.get(), SIGNAL(timeout()), this, SLOT(bTimerSlot()));
}

// The menu entries have no status tips; without this, each would clear the status bar.
bool Camera::event(QEvent *event)
{
    return event->type() == QEvent::StatusTip || QMainWindow::event(event);
}

void Camera::closeEvent(QCloseEvent *event)
{
    if (captureInProgress) {
        setEnabled(false);
        closePending = true;
        event->ignore();
    } else {
        forgetFile();
        event->accept();
    }
}
