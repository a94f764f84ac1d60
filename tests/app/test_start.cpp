// Start and end of the window: settings, device menu, a picture to open, closing.

#include "storage/settings.h"
#include "tests/app/windowtest.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QActionGroup>
#include <QCheckBox>
#include <QDialog>
#include <QFile>
#include <QMenu>
#include <QStatusBar>
#include <QToolBar>

using kivra::test::Sandbox;
using kivra::test::storeSetting;
using kivra::test::TestCamera;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

QByteArray storeContent()
{
    QSettings store = settingsStore();
    store.sync();
    QFile file(store.fileName());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

struct StoredCoefficient
{
    const char *key;
    int value;
    int absent;
    int (CameraProbe::*shown)() const;
};

constexpr StoredCoefficient storedCoefficients[] = {
    {"params/lumiere", -40, 0, &CameraProbe::lumiere},
    {"params/contraste", 172, 100, &CameraProbe::contraste},
    {"params/reglage", 70, 50, &CameraProbe::reglage},
    {"params/zoom", 200, 100, &CameraProbe::coefZoom}};

QList<QAction *> deviceActions(const Window &window)
{
    return window.find<QMenu>("menuDevices")->actions().mid(3); // after Start, Stop, separator
}

} // namespace

class TestStart : public WindowTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void startValues()
    {
        window = std::make_unique<Window>();
        QCOMPARE(window->windowTitle(), QStringLiteral("Kivra"));
        QCOMPARE(window->probe.imageProcessing(), 0);
        QCOMPARE(window->probe.displayMode(), 0);
        QCOMPARE(window->probe.framesDisplayed(), 0);
        QCOMPARE(window->probe.coefCourant(), 3);
        QVERIFY(window->probe.lastFrame().isNull());
        QVERIFY(!window->probe.captureInProgress());
        QVERIFY(!window->probe.closePending());
        QVERIFY(!window->probe.view()->busy);
        QVERIFY(!window->find<QToolBar>("toolBar")->isVisible());
        QCOMPARE(window->statusText(), QStringLiteral("caméra active"));
        QCOMPARE(window->focusPolicy(), Qt::ClickFocus);
        QCOMPARE(window->focusWidget(), window.get());
    }

    // Nothing stored, everything, or one key alone: the keys do not depend on each other.
    void restore_data()
    {
        QTest::addColumn<QVariant>("restore");
        QTest::addColumn<QVariant>("smallField");
        QTest::addColumn<int>("stored");
        constexpr int all = (1 << std::size(storedCoefficients)) - 1;
        for (const QVariant &restore : {QVariant(), QVariant(false), QVariant(true)}) {
            const auto addRow = [&](const QVariant &smallField, int stored) {
                QTest::addRow("restore %s, small field %s, coefficients %d",
                              qPrintable(restore.toString()), qPrintable(smallField.toString()),
                              stored)
                    << restore << smallField << stored;
            };
            addRow({}, 0);
            addRow(false, 0);
            addRow(true, 0);
            for (int one = 1; one < all; one *= 2)
                addRow({}, one);
            addRow(false, all);
        }
    }

    void restore()
    {
        QFETCH(QVariant, restore);
        QFETCH(QVariant, smallField);
        QFETCH(int, stored);
        if (restore.isValid())
            storeSetting(QStringLiteral("preferences/restore"), restore);
        if (smallField.isValid())
            storeSetting(QStringLiteral("preferences/smallField"), smallField);
        for (std::size_t i = 0; i < std::size(storedCoefficients); ++i) {
            if (stored & 1 << i)
                storeSetting(QLatin1String(storedCoefficients[i].key), storedCoefficients[i].value);
        }
        window = std::make_unique<Window>();
        const bool wanted = restore.toBool();
        for (std::size_t i = 0; i < std::size(storedCoefficients); ++i) {
            const StoredCoefficient &one = storedCoefficients[i];
            QCOMPARE((window->probe.*one.shown)(),
                     wanted && (stored & 1 << i) ? one.value : one.absent);
        }
        QCOMPARE(window->probe.coefCourant(), 3);
        QCOMPARE(window->probe.smallField(),
                 wanted && (!smallField.isValid() || smallField.toBool()));
    }

    void unreadableNumbersCountAsAbsent()
    {
        storeSetting(QStringLiteral("preferences/restore"), true);
        storeSetting(QStringLiteral("params/lumiere"), QStringLiteral("beaucoup"));
        storeSetting(QStringLiteral("params/contraste"), QStringLiteral("99999999999"));
        storeSetting(QStringLiteral("params/zoom"), QString());
        window = std::make_unique<Window>();
        QCOMPARE(window->probe.lumiere(), 0);
        QCOMPARE(window->probe.contraste(), 100);
        QCOMPARE(window->probe.coefZoom(), 100);
    }

    void restoredZoomIsShown()
    {
        storeSetting(QStringLiteral("preferences/restore"), true);
        storeSetting(QStringLiteral("preferences/smallField"), false);
        storeSetting(QStringLiteral("params/zoom"), 200);
        window = std::make_unique<Window>();
        QImage white(64, 48, QImage::Format_RGB32);
        white.fill(Qt::white);
        QTRY_VERIFY(device().pushPicture(white));
        const QImage shown = window->probe.view()->grab().toImage();
        const QPoint middle = shown.rect().center();
        QCOMPARE(shown.pixelColor(middle + QPoint(-60, 0)), QColor(Qt::white));
        QVERIFY(shown.pixelColor(middle + QPoint(-70, 0)) != QColor(Qt::white));
    }

    // Settings that are read at the start are not read again when they change.
    void preferencesOfTheStartActAtTheNextOne()
    {
        openWindow();
        boxes->expect(QStringLiteral("Dialog"), [this](QDialog *dialog) {
            QCOMPARE(dialog->parent(), window.get());
            QVERIFY(dialog->isModal());
            dialog->findChild<QCheckBox *>(QStringLiteral("checkRestore"))->setChecked(true);
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        storeSetting(QStringLiteral("params/zoom"), 200);
        window->trigger("actionPreferences");
        QVERIFY(device().pushPicture(kivra::test::gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
        QCOMPARE(window->probe.coefZoom(), 100);

        window.reset();
        openWindow();
        QVERIFY(device().pushPicture(kivra::test::gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(32, 24));
        QCOMPARE(window->probe.coefZoom(), 200);
    }

    void textWhereNumbersBelong()
    {
        storeSetting(QStringLiteral("preferences/restore"), true);
        for (const char *key : {"lumiere", "contraste", "reglage", "zoom"})
            storeSetting(QStringLiteral("params/") + QLatin1String(key),
                         QStringLiteral("beaucoup"));
        window = std::make_unique<Window>();
        QCOMPARE(window->probe.lumiere(), 0);
        QCOMPARE(window->probe.contraste(), 100);
        QCOMPARE(window->probe.reglage(), 50);
        QCOMPARE(window->probe.coefZoom(), 100);
    }

    void deviceMenuListsTheDevices()
    {
        device().setDevices({{"b", QStringLiteral("Deuxième")},
                             {"a", QStringLiteral("Première")},
                             {"c", QStringLiteral("Troisième")}});
        window = std::make_unique<Window>();
        const QList<QAction *> devices = deviceActions(*window);
        QCOMPARE(devices.size(), 3);
        QCOMPARE(devices.at(0)->text(), QStringLiteral("Deuxième"));
        QCOMPARE(devices.at(1)->text(), QStringLiteral("Première"));
        QCOMPARE(devices.at(2)->text(), QStringLiteral("Troisième"));
        QCOMPARE(devices.at(1)->data().toByteArray(), QByteArray("a"));
        for (const QAction *device : devices)
            QVERIFY(device->isCheckable());
        QVERIFY(devices.at(0)->isChecked());
        QVERIFY(devices.at(0)->actionGroup()->isExclusive());
        QCOMPARE(devices.at(0)->actionGroup()->parent(), window.get());
        QCOMPARE(device().record().device, QByteArray("b"));
    }

    void withoutACameraABoxAndAUsableWindow()
    {
        device().setDevices({});
        boxes->expect(QStringLiteral("Camera error"));
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        QVERIFY(deviceActions(*window).isEmpty());
        QVERIFY(window->isVisible());
        QVERIFY(window->isEnabled());
        QVERIFY(!boxes->lastText().isEmpty());
        QVERIFY(window->probe.camera());
        QVERIFY(!window->action("actionStartCamera")->isEnabled()); // it waits for one
        QVERIFY(window->action("actionStopCamera")->isEnabled());
        QCOMPARE(boxes->lastText(), window->probe.camera()->errorString());
        window->trigger("actionZoom");
        window->trigger("actionIncCoef");
        QCOMPARE(window->probe.coefZoom(), 118);
    }

    void windowIsThereBeforeTheBox()
    {
        device().setDevices({});
        bool shown = false;
        boxes->expect(QStringLiteral("Camera error"), [&](QDialog *box) {
            shown = box->parentWidget()->isVisible();
            box->accept();
        });
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        QVERIFY(shown);
    }

    void toggleWithoutACamera()
    {
        device().setDevices({});
        boxes->expect(QStringLiteral("Camera error"));
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        window->trigger("actionCamera"); // no longer waits for one
        QVERIFY(window->action("actionStartCamera")->isEnabled());
        QVERIFY(!window->action("actionStopCamera")->isEnabled());
        boxes->expect(QStringLiteral("Camera error"));
        window->trigger("actionCamera");
        QVERIFY(!window->action("actionStartCamera")->isEnabled());
        QVERIFY(window->action("actionStopCamera")->isEnabled());
        QTRY_COMPARE(boxes->answered(), 2);
    }

    void pictureWithoutACameraPutsStartRight()
    {
        device().setDevices({});
        boxes->expect(QStringLiteral("Camera error"));
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        const QString path = Sandbox::instance().documents() + QStringLiteral("/carte.png");
        QVERIFY(kivra::test::gradient({30, 20}).save(path));
        window->open(path);
        QVERIFY(window->action("actionStartCamera")->isEnabled());
        QVERIFY(!window->action("actionStopCamera")->isEnabled());
    }

    void pictureOfTheCommandLine()
    {
        const QString path = Sandbox::instance().documents() + QStringLiteral("/carte.png");
        const QImage picture = kivra::test::gradient({300, 200});
        QVERIFY(picture.save(path));
        _imgAOuvrir = path;
        window = std::make_unique<Window>();
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), picture);
        QCOMPARE(window->statusText(), path);
        QVERIFY(window->action("actionStartCamera")->isEnabled());
        QVERIFY(!window->probe.view()->busy);
    }

    // The view has no width of its own before the window is shown.
    void pictureOfTheCommandLineIsFittedToTheWidth()
    {
        _imgAOuvrir = Sandbox::instance().documents() + QStringLiteral("/bande.png");
        QImage red(300, 20, QImage::Format_RGB32);
        red.fill(Qt::red);
        QVERIFY(red.save(_imgAOuvrir));
        window = std::make_unique<Window>();
        const QImage shown = window->probe.view()->grab().toImage();
        QVERIFY(shown.width() > 600);
        const int middle = shown.height() / 2;
        QCOMPARE(shown.pixelColor(1, middle), QColor(Qt::red));
        QCOMPARE(shown.pixelColor(shown.width() - 2, middle), QColor(Qt::red));
        QVERIFY(shown.pixelColor(shown.width() / 2, middle - shown.width() / 20) != Qt::red);
    }

    void missingPictureOfTheCommandLine()
    {
        _imgAOuvrir = QStringLiteral("nulle/part.jpg");
        boxes->expect(kivra::test::openFailure);
        window = std::make_unique<Window>();
        QCOMPARE(boxes->lastText(), QStringLiteral("impossible d'ouvrir l'image nulle/part.jpg"));
        QVERIFY(window->isVisible());
    }

    // A box that opens while the window is being made runs an event loop, which delivers frames.
    void frameBeforeTheWindowIsCompleteIsDropped()
    {
        _imgAOuvrir = QStringLiteral("nulle/part.jpg");
        boxes->expect(kivra::test::openFailure, [](QDialog *box) {
            QTRY_VERIFY(device().pushPicture(kivra::test::gradient({64, 48})));
            box->accept();
        });
        window = std::make_unique<Window>();
        QVERIFY(window->probe.lastFrame().isNull());
        QVERIFY(device().pushPicture(kivra::test::gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void closes()
    {
        window = std::make_unique<Window>();
        QVERIFY(window->close());
        QVERIFY(!window->isVisible());
    }

    void closeWaitsForTheCapture()
    {
        openWindow();
        window->probe.setCaptureInProgress(true);
        QVERIFY(!window->close());
        QVERIFY(window->isVisible());
        QVERIFY(!window->isEnabled());
        QVERIFY(window->probe.closePending());
        device().raiseSaved(1, QString());
        QTRY_VERIFY(!window->isVisible());
        QVERIFY(!window->probe.captureInProgress());
    }

    void savedPictureAloneDoesNotClose()
    {
        window = std::make_unique<Window>();
        window->probe.setCaptureInProgress(true);
        window->call("imageSaved", Q_ARG(int, 1), Q_ARG(QString, QString()));
        QVERIFY(window->isVisible());
        QVERIFY(!window->probe.captureInProgress());
    }

    void captureErrorDoesNotResumeAClose()
    {
        window = std::make_unique<Window>();
        window->probe.setCaptureInProgress(true);
        QVERIFY(!window->close());
        boxes->expect(QStringLiteral("Image Capture Error"));
        window->call("displayCaptureError", Q_ARG(int, 1),
                     Q_ARG(QCameraImageCapture::Error, QCameraImageCapture::ResourceError),
                     Q_ARG(QString, QStringLiteral("plus de place")));
        QCOMPARE(boxes->lastText(), QStringLiteral("plus de place"));
        QVERIFY(!window->probe.captureInProgress());
        QVERIFY(window->isVisible());
        QVERIFY(!window->isEnabled());
        QVERIFY(window->probe.closePending());
    }

    void closeRightAfterACaptureTakesEffect()
    {
        device().setStillAnswer(TestCamera::Answer::OnCall);
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
        window->call("takeImage");
        QVERIFY(!window->probe.captureInProgress());
        QVERIFY(window->close());
        QVERIFY(!window->isVisible());
    }

    void closingWritesNoSettings()
    {
        storeSetting(QStringLiteral("params/zoom"), 166);
        const QByteArray before = storeContent();
        window = std::make_unique<Window>();
        window->close();
        window.reset();
        QCOMPARE(storeContent(), before);
    }

    // Stills belong to the camera, and the camera draws on the surface to its last moment.
    void captureGoesBeforeTheCameraAndThatBeforeTheSurface()
    {
        QStringList gone;
        window = std::make_unique<Window>();
        const std::pair<QObject *, QString> parts[] = {
            {window->probe.videoSurface(), QStringLiteral("surface")},
            {window->probe.camera(), QStringLiteral("camera")},
            {window->probe.imageCapture(), QStringLiteral("capture")}};
        for (const auto &part : parts)
            connect(part.first, &QObject::destroyed, this,
                    [&gone, name = part.second] { gone += name; });
        window.reset();
        const QStringList order = {QStringLiteral("capture"), QStringLiteral("camera"),
                                   QStringLiteral("surface")};
        QCOMPARE(gone, order);
    }

    void manyWindowsOneAfterTheOther()
    {
        for (int i = 0; i < 20; ++i) {
            window = std::make_unique<Window>();
            QTRY_VERIFY(device().isRunning());
            window.reset();
        }
        QCOMPARE(device().record().opened, device().record().closed);
    }
};

KIVRA_TEST(TestStart)
#include "test_start.moc"
