// Faults of the device: the user learns what matters, and afterwards the window shows frames,
// changes its mode and stores pictures as before.

#include "tests/app/windowtest.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QMessageBox>
#include <QTimer>

using kivra::test::cameraError;
using kivra::test::gradient;
using kivra::test::Sandbox;
using kivra::test::storeSetting;
using kivra::test::TestCamera;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

using Answer = TestCamera::Answer;

const QString captureError = QStringLiteral("Image Capture Error");

// A frame of a format that the surface has not asked for.
QVideoFrame foreignFrame(QVideoFrame::PixelFormat format, const QSize &size, int bytesPerPixel)
{
    return QVideoFrame(size.width() * size.height() * bytesPerPixel, size,
                       size.width() * bytesPerPixel, format);
}

} // namespace

class TestFaults;
using Fault = void (TestFaults::*)();
Q_DECLARE_METATYPE(Fault)

class TestFaults : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        QGuiApplication::clipboard()->clear();
    }

    void fault_data()
    {
        QTest::addColumn<Fault>("happen");
        QTest::newRow("absent at the start") << &TestFaults::absent;
        QTest::newRow("gone before the window is up") << &TestFaults::goneBeforeTheWindow;
        QTest::newRow("busy at the start") << &TestFaults::busy;
        QTest::newRow("busy, and busy again") << &TestFaults::busyForLong;
        QTest::newRow("start never answered") << &TestFaults::neverAnsweringStart;
        QTest::newRow("error in mid-stream") << &TestFaults::failing;
        QTest::newRow("unplugged") << &TestFaults::unplugged;
        QTest::newRow("unplugged, a picture opened") << &TestFaults::unpluggedAndAPictureOpened;
        QTest::newRow("unplugged, another chosen") << &TestFaults::unpluggedAndAnotherChosen;
        QTest::newRow("unplugged under a dialog") << &TestFaults::unpluggedUnderADialog;
        QTest::newRow("unplugged under the image settings")
            << &TestFaults::unpluggedUnderTheImageSettings;
        QTest::newRow("unplugged under a held button") << &TestFaults::unpluggedUnderAHeldButton;
        QTest::newRow("unplugged under a box") << &TestFaults::unpluggedUnderABox;
        QTest::newRow("failing when let go") << &TestFaults::failingWhenLetGo;
        QTest::newRow("frames stop") << &TestFaults::stoppedFrames;
        QTest::newRow("frames change their size") << &TestFaults::changingSizes;
        QTest::newRow("format changes") << &TestFaults::changingFormats;
        QTest::newRow("frames of other formats") << &TestFaults::foreignFormats;
        QTest::newRow("format that cannot be shown") << &TestFaults::impossibleFormat;
        QTest::newRow("five times too many frames") << &TestFaults::flood;
        QTest::newRow("unplugged while capturing") << &TestFaults::unpluggedWhileCapturing;
        QTest::newRow("still never answered") << &TestFaults::silentStill;
        QTest::newRow("still answered twice") << &TestFaults::stillAnsweredTwice;
        QTest::newRow("still after the device is gone") << &TestFaults::stillAfterTheDeviceIsGone;
        QTest::newRow("still after another camera is chosen")
            << &TestFaults::stillAfterAnotherCameraIsChosen;
    }

    void fault()
    {
        QFETCH(Fault, happen);
        (this->*happen)();
        if (!QTest::currentTestFailed())
            expectUsable();
    }

    // No frames can come, but files can be opened, and the shown picture can be stored.
    void withoutAService()
    {
        device().setService(TestCamera::Service::None);
        expectBox(cameraError, QStringLiteral("The camera service is missing"));
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        takePicture();
        QVERIFY(!QGuiApplication::clipboard()->image().isNull());
        QVERIFY(storedFiles().isEmpty());
        storeSetting(QStringLiteral("preferences/rawStore"), false);
        takePicture();
        QCOMPARE(storedFiles().size(), 1);
        window->open(storedFiles().constFirst());
        QVERIFY(!window->probe.lastFrame().isNull());
    }

    void withoutStills_data()
    {
        QTest::addColumn<bool>("raw");
        QTest::newRow("raw") << true;
        QTest::newRow("as shown") << false;
    }

    // A still that cannot be taken leaves a trace only in the log.
    void withoutStills()
    {
        QFETCH(bool, raw);
        device().setService(TestCamera::Service::WithoutStills);
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        storeSetting(QStringLiteral("preferences/rawStore"), raw);
        open();
        QVERIFY(!window->probe.imageCapture()->isAvailable());
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QTest::ignoreMessage(QtDebugMsg, "take image");
        if (raw)
            QTest::ignoreMessage(QtDebugMsg, "\"\"");
        takePicture();
        QCOMPARE(window->messageText(), QStringLiteral("enregistrement image"));
        QVERIFY(!QGuiApplication::clipboard()->image().isNull());
        QCOMPARE(storedFiles().size(), raw ? 0 : 1);
        QVERIFY(!window->probe.captureInProgress());
        QCOMPARE(device().record().locks, QCamera::LockTypes());
        QCOMPARE(boxes->answered(), 0);
        QVERIFY(device().pushPicture(gradient({32, 24})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(32, 24));
        QVERIFY(window->close());
    }

    void settingsWithoutStills()
    {
        device().setService(TestCamera::Service::WithoutStills);
        open();
        boxes->expect(QStringLiteral("Dialog"), [](QDialog *dialog) {
            for (const char *name : {"imageCodecBox", "imageResolutionBox"})
                QCOMPARE(dialog->findChild<QComboBox *>(QLatin1String(name))->count(), 1);
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        window->trigger("actionImageSettings");
        QCOMPARE(boxes->answered(), 1);
    }

private:
    // At the start
    void absent()
    {
        device().setDevices({});
        boxes->expect(cameraError);
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        takePicture();
        QVERIFY(!QGuiApplication::clipboard()->image().isNull());
        boxes->expect(captureError);
        QTRY_COMPARE(boxes->answered(), 2);
        plugIn();
    }

    void goneBeforeTheWindow()
    {
        device().setStartAnswer(Answer::OnCall);
        window = std::make_unique<Window>();
        expectBox(cameraError, QStringLiteral("La caméra a été débranchée."));
        device().unplug("essai");
        QTRY_COMPARE(boxes->answered(), 1);
        device().setStartAnswer(Answer::AtOnce);
        plugIn();
    }

    void busy()
    {
        device().setStartAnswer(Answer::Refuse);
        device().setErrorText(QStringLiteral("La caméra est occupée."));
        expectBox(cameraError, QStringLiteral("La caméra est occupée."));
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        device().setStartAnswer(Answer::AtOnce);
    }

    void busyForLong()
    {
        busy();
        device().setStartAnswer(Answer::Refuse);
        for (int attempt = 2; attempt <= 3; ++attempt) {
            expectBox(cameraError, QStringLiteral("La caméra est occupée."));
            window->trigger("actionCamera");
            QTRY_COMPARE(boxes->answered(), attempt);
            QVERIFY(window->action("actionStartCamera")->isEnabled());
        }
        device().setStartAnswer(Answer::AtOnce);
    }

    void neverAnsweringStart()
    {
        device().setStartAnswer(Answer::OnCall);
        window = std::make_unique<Window>();
        QTRY_COMPARE(device().record().started, 1);
        window->trigger("actionStopCamera");
        device().setStartAnswer(Answer::AtOnce);
    }

    // In mid-stream
    void failing()
    {
        open();
        expectBox(cameraError, QStringLiteral("Flux interrompu."));
        device().raiseError(QCamera::CameraError, QStringLiteral("Flux interrompu."));
        QTRY_COMPARE(boxes->answered(), 1);
    }

    void unplugged()
    {
        open();
        expectBox(cameraError, QStringLiteral("La caméra a été débranchée."));
        device().unplug("essai");
        QTRY_COMPARE(boxes->answered(), 1);
        QVERIFY(window->action("actionStartCamera")->isEnabled());
        QVERIFY(!window->action("actionStopCamera")->isEnabled());
        plugIn();
    }

    // Opening a picture asks nothing of the camera, so the camera reports no further error.
    void unpluggedAndAPictureOpened()
    {
        open();
        boxes->expect(cameraError);
        device().unplug("essai");
        QTRY_COMPARE(boxes->answered(), 1);
        const QString path = Sandbox::instance().documents() + QStringLiteral("/page.png");
        QVERIFY(gradient({90, 60}).save(path));
        window->open(path);
        QCOMPARE(window->probe.lastFrame().size(), QSize(90, 60));
        QCOMPARE(window->probe.camera()->state(), QCamera::UnloadedState);
        plugIn();
    }

    void unpluggedAndAnotherChosen()
    {
        plugInTwo();
        open();
        boxes->expect(cameraError);
        device().unplug("un");
        QTRY_COMPARE(boxes->answered(), 1);
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(device().record().device, QByteArray("deux"));
    }

    // The box covers the dialog, which can be used again once the box is closed.
    void unpluggedUnderADialog()
    {
        open();
        boxes->expect(QStringLiteral("Dialog"), [this](QDialog *dialog) {
            boxes->expect(cameraError);
            device().unplug("essai");
            QCOMPARE(boxes->answered(), 2);
            QVERIFY(dialog->isVisible());
            QTest::keyClick(dialog, Qt::Key_Return);
            QVERIFY(!dialog->isVisible());
        });
        window->trigger("actionPreferences");
        plugIn();
    }

    void unpluggedUnderTheImageSettings()
    {
        open();
        boxes->expect(QStringLiteral("Dialog"), [this](QDialog *dialog) {
            boxes->expect(cameraError);
            device().unplug("essai");
            auto *const sizes =
                dialog->findChild<QComboBox *>(QStringLiteral("imageResolutionBox"));
            sizes->setCurrentText(QStringLiteral("32x24"));
            QTest::keyClick(dialog, Qt::Key_Return);
            QVERIFY(!dialog->isVisible());
        });
        window->trigger("actionImageSettings");
        plugIn();
    }

    // The picture waits for a release that the box gets instead.
    void unpluggedUnderAHeldButton()
    {
        open();
        QTest::mousePress(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, {300, 300});
        QTRY_VERIFY(window->probe.view()->busy);
        boxes->expect(cameraError, [](QDialog *box) {
            QTest::mouseRelease(box->windowHandle(), Qt::LeftButton);
            QCoreApplication::processEvents();
            box->accept();
        });
        device().unplug("essai");
        QTRY_COMPARE(boxes->answered(), 1);
        plugIn();
    }

    void unpluggedUnderABox()
    {
        open();
        boxes->expect(captureError, [this](QDialog *box) {
            boxes->expect(cameraError);
            device().unplug("essai");
            box->accept();
        });
        device().raiseStillError(1, QCameraImageCapture::ResourceError, QStringLiteral("plein"));
        QTRY_COMPARE(boxes->answered(), 2);
        plugIn();
    }

    // An error of a device that is no longer in use is not shown; nor is one while the window goes.
    void failingWhenLetGo()
    {
        device().setService(TestCamera::Service::FailsAtTheEnd);
        plugInTwo();
        open();
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(device().record().device, QByteArray("deux"));
    }

    // Frames
    void stoppedFrames()
    {
        open();
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QTRY_COMPARE(window->probe.framesDisplayed(), 0); // for a second none has come
        window->trigger("actionNegatif");
        window->call("updateDisplay");
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
        window->trigger("actionNegatif");
        window->trigger("actionCamera");
        window->trigger("actionCamera");
        QTRY_VERIFY(device().isRunning());
    }

    void changingSizes()
    {
        open();
        window->trigger("actionTexte_manuscrit");
        for (const QSize size : {QSize(640, 480), QSize(1, 1), QSize(1920, 1080), QSize(3, 700)}) {
            QVERIFY(device().pushPicture(gradient(size)));
            QCOMPARE(window->probe.lastFrame().size(), size);
        }
        window->trigger("actionTrNormal");
    }

    void changingFormats()
    {
        open();
        for (const auto format : {QVideoFrame::Format_ARGB32, QVideoFrame::Format_RGB32}) {
            for (const QSize size : {QSize(320, 240), QSize(96, 64)}) {
                device().changeFormat(QVideoSurfaceFormat(size, format));
                QVERIFY(device().isRunning());
                QVERIFY(device().pushPicture(gradient(size)));
                QCOMPARE(window->probe.lastFrame().size(), size);
            }
        }
    }

    // The surface reads them as the agreed format, as far as their memory reaches.
    void foreignFormats()
    {
        open();
        const QSize size(64, 48);
        for (const auto &[format, bytes] :
             {std::pair(QVideoFrame::Format_YUYV, 2), std::pair(QVideoFrame::Format_RGB24, 3),
              std::pair(QVideoFrame::Format_Y8, 1), std::pair(QVideoFrame::Format_Invalid, 4)}) {
            device().pushFrame(foreignFrame(format, size, bytes));
            QVERIFY(window->probe.lastFrame().isNull() || window->probe.lastFrame().size() == size);
        }
    }

    void impossibleFormat()
    {
        open();
        expectBox(cameraError,
                  QStringLiteral("L'affichage refuse le format d'image de la caméra."));
        device().changeFormat(QVideoSurfaceFormat(QSize(0, 0), QVideoFrame::Format_RGB32));
        QTRY_COMPARE(boxes->answered(), 1);
        QVERIFY(window->action("actionStartCamera")->isEnabled());
        device().setFormat(QVideoSurfaceFormat(QSize(64, 48), QVideoFrame::Format_RGB32));
    }

    // Each turn of the event loop brings five frames that are slow to render. Keys are still
    // handled in between, and the last frame is the one shown at the end.
    void flood()
    {
        constexpr int turns = 30;
        open();
        window->trigger("actionTexte_manuscrit");
        int turn = 0;
        int modeAtTheEnd = 0;
        QTimer camera;
        connect(&camera, &QTimer::timeout, this, [&] {
            if (turn == 0)
                QTest::sendKeyEvent(QTest::Click, window->windowHandle(), Qt::Key_F7, QString(),
                                    {});
            for (int i = 0; i < 5; ++i)
                QVERIFY(device().pushPicture(gradient({320, 200 + turn})));
            if (++turn == turns) {
                modeAtTheEnd = window->probe.imageProcessing();
                camera.stop();
            }
        });
        camera.start(0);
        QTRY_VERIFY(!camera.isActive());
        QCOMPARE(modeAtTheEnd, 5);
        QCOMPARE(window->probe.lastFrame().height(), 200 + turns - 1);
        window->trigger("actionTrNormal");
    }

    // Stills
    void unpluggedWhileCapturing()
    {
        device().setStillAnswer(Answer::OnCall);
        open();
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        takePicture();
        QTRY_COMPARE(device().record().stills.size(), 1);
        boxes->expect(cameraError);
        expectBox(captureError,
                  QStringLiteral("La caméra a été fermée avant que l'image soit prise."));
        device().unplug("essai");
        QTRY_COMPARE(boxes->answered(), 2);
        QVERIFY(storedFiles().isEmpty());
        device().setStillAnswer(Answer::AtOnce);
        plugIn();
    }

    // The window does not wait for the still, and forgets it when the camera is opened anew.
    void silentStill()
    {
        device().setStillAnswer(Answer::OnCall);
        open();
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        takePicture();
        QTRY_COMPARE(device().record().stills.size(), 1);
        QVERIFY(!window->probe.captureInProgress());
        QVERIFY(device().pushPicture(gradient({32, 24})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(32, 24));
        storeSetting(QStringLiteral("preferences/rawStore"), false);
        takePicture();
        QCOMPARE(storedFiles().size(), 1);

        storeSetting(QStringLiteral("preferences/rawStore"), true);
        device().setStillAnswer(Answer::AtOnce);
        chooseDevice(0);
    }

    void stillAnsweredTwice()
    {
        device().setStillAnswer(Answer::Twice);
        open();
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        takePicture();
        QTRY_COMPARE(storedFiles().size(), 1);
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
    }

    void stillAfterTheDeviceIsGone()
    {
        unpluggedWhileCapturing();
        device().answerStill();
        device().raiseSaved(device().record().stills.constFirst().id, QStringLiteral("tard.jpg"));
        QVERIFY(storedFiles().isEmpty());
        QVERIFY(window->isVisible());
    }

    void stillAfterAnotherCameraIsChosen()
    {
        plugInTwo();
        device().setStillAnswer(Answer::OnCall);
        open();
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        takePicture();
        QTRY_COMPARE(device().record().stills.size(), 1);
        device().setStillAnswer(Answer::AtOnce);
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        device().answerStill(); // no still is pending any more
        QVERIFY(storedFiles().isEmpty());
    }

    void open()
    {
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
    }

    void expectUsable()
    {
        QVERIFY(window->isVisible() && window->isEnabled());
        QVERIFY(!window->probe.captureInProgress());
        if (!device().isRunning() && window->action("actionStartCamera")->isEnabled())
            window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        QVERIFY(window->action("actionStopCamera")->isEnabled());

        const QSize size(66, 44);
        QTRY_VERIFY(!window->probe.view()->busy);
        QVERIFY(device().pushPicture(gradient(size)));
        QCOMPARE(window->probe.lastFrame().size(), size);
        const QImage normal = window->shownPicture(size);
        window->trigger("actionTexte");
        QVERIFY(device().pushPicture(gradient(size)));
        QVERIFY(window->shownPicture(size) != normal);
        window->trigger("actionTrNormal");
        QVERIFY(device().pushPicture(gradient(size)));
        KIVRA_COMPARE_PICTURES(window->shownPicture(size), normal);

        for (const QString &earlier : storedFiles())
            QVERIFY(QFile::remove(earlier));
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        takePicture();
        QTRY_COMPARE(storedFiles().size(), 1);
        QTRY_VERIFY(!QImage(storedFiles().constFirst()).isNull());
    }

    void expectBox(const QString &title, const QString &text)
    {
        boxes->expect(title, [text](QDialog *box) {
            QCOMPARE(qobject_cast<QMessageBox *>(box)->text(), text);
            box->accept();
        });
    }

    void takePicture() const { window->trigger("actionEnregistrer_image"); }
    static void plugIn() { device().setDevices({{"essai", QStringLiteral("Caméra d'essai")}}); }
};

KIVRA_TEST(TestFaults)
#include "test_faults.moc"
