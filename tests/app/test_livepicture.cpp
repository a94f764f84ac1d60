// When the live picture is shown: not over an opened picture, and again by itself once a lost
// camera is back or a first camera comes.

#include "tests/app/windowtest.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDialog>
#include <QVideoSurfaceFormat>

using kivra::test::cameraError;
using kivra::test::gradient;
using kivra::test::Sandbox;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

const QSize pageSize(90, 60);
const QSize liveSize(64, 48);

} // namespace

class TestLivePicture : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        plugInTwo();
        openWindow();
    }

    void lateFrameLeavesAnOpenedPicture()
    {
        QVERIFY(device().pushPicture(gradient(liveSize)));
        openPicture();
        presentLate();
        QCOMPARE(shownSize(), pageSize);
    }

    void lateFrameAfterStopLeavesTheLastOne()
    {
        QVERIFY(device().pushPicture(gradient({32, 24})));
        window->trigger("actionStopCamera");
        const int before = window->probe.framesDisplayed();
        presentLate();
        QCOMPARE(shownSize(), QSize(32, 24));
        QCOMPARE(window->probe.framesDisplayed(), before);
    }

    void lateFrameUnderTheFileDialog()
    {
        QVERIFY(device().pushPicture(gradient({32, 24})));
        boxes->expect(QStringLiteral("Ouvrir image"), [this](QDialog *dialog) {
            presentLate();
            dialog->reject();
        });
        boxes->expect(kivra::test::openFailure);
        window->trigger("actionOuvrir_Image");
        QVERIFY(window->probe.lastFrame().isNull()); // as the failed loading leaves it
    }

    // The old camera's last frame comes before the new camera has begun.
    void framesCountFromTheNextCamerasStart()
    {
        QVERIFY(device().pushPicture(gradient({32, 24})));
        device().setStartAnswer(kivra::test::TestCamera::Answer::OnCall);
        chooseDevice(1);
        presentLate();
        QCOMPARE(shownSize(), QSize(32, 24));
        device().answerStart();
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient(liveSize)));
        QCOMPARE(shownSize(), liveSize);
    }

    void startReplacesAnOpenedPicture()
    {
        openPicture();
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient(liveSize)));
        QCOMPARE(shownSize(), liveSize);
    }

    void backWithoutAClick()
    {
        window->trigger("actionTexte");
        window->trigger("actionNegatif");
        window->trigger("actionContraste");
        window->trigger("actionIncCoef");
        const int contrast = window->probe.contraste();
        QVERIFY(contrast != 100);
        loseCamera();
        QCOMPARE(boxes->answered(), 1);
        QCOMPARE(boxes->lastText(), QStringLiteral("La caméra a été débranchée."));
        expectActive();
        device().bringBack({"ailleurs", QStringLiteral("Un")});
        expectLive();
        QCOMPARE(window->probe.imageProcessing(), 3);
        QCOMPARE(window->probe.displayMode(), 2);
        QCOMPARE(window->probe.contraste(), contrast);
        QCOMPARE(boxes->answered(), 1);
    }

    void backInAnotherSize()
    {
        loseCamera();
        device().setFormat(QVideoSurfaceFormat({32, 24}, QVideoFrame::Format_RGB32));
        device().bringBack({"un", QStringLiteral("Un")});
        QVERIFY(device().pushPicture(gradient({32, 24})));
        QCOMPARE(shownSize(), QSize(32, 24));
    }

    void backBehindTheBox()
    {
        boxes->expect(cameraError, [this](QDialog *box) {
            device().bringBack({"un", QStringLiteral("Un")});
            expectLive();
            box->accept();
        });
        device().lose("un");
        QCOMPARE(boxes->answered(), 1);
        expectLive();
    }

    // A loose plug must not fill the screen with boxes.
    void oneBoxAtATime()
    {
        boxes->expect(cameraError, [this](QDialog *box) {
            for (int times = 0; times < 5; ++times) {
                device().bringBack({"un", QStringLiteral("Un")});
                device().lose("un");
            }
            box->accept();
        });
        device().lose("un");
        QCOMPARE(boxes->answered(), 1);
        device().bringBack({"un", QStringLiteral("Un")});
        expectLive();
        loseCamera(); // the next loss is reported again
        QCOMPARE(boxes->answered(), 2);
    }

    void stopEndsTheWaiting_data()
    {
        QTest::addColumn<QByteArray>("stop");
        QTest::newRow("action") << QByteArray("actionStopCamera");
        QTest::newRow("toggle") << QByteArray("actionCamera");
    }

    void stopEndsTheWaiting()
    {
        QFETCH(QByteArray, stop);
        loseCamera();
        window->trigger(stop.constData());
        QVERIFY(window->action("actionStartCamera")->isEnabled());
        device().bringBack({"un", QStringLiteral("Un")});
        QVERIFY(!device().isRunning());
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        expectLive();
    }

    void openedPictureEndsTheWaiting()
    {
        loseCamera();
        openPicture();
        device().bringBack({"un", QStringLiteral("Un")});
        QVERIFY(!device().isRunning());
        QCOMPARE(shownSize(), pageSize);
        window->trigger("actionCamera");
        QTRY_VERIFY(device().isRunning());
        expectLive();
    }

    void anotherIsChosenMeanwhile()
    {
        loseCamera();
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(device().record().device, QByteArray("deux"));
        expectLive();
    }

    void firstCameraOpensByItself()
    {
        startWithoutACamera();
        expectActive();
        plugInTwo();
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(device().record().device, QByteArray("un"));
        expectLive();
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        window->trigger("actionEnregistrer_image");
        QTRY_COMPARE(storedFiles().size(), 1);
    }

    void firstCameraOpensBehindTheBox()
    {
        window.reset();
        device().setDevices({});
        boxes->expect(cameraError, [](QDialog *box) {
            plugInTwo();
            QTRY_VERIFY(device().isRunning());
            box->accept();
        });
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        expectLive();
    }

    void firstCameraDoesNotReplaceAnOpenedPicture()
    {
        startWithoutACamera();
        openPicture();
        QVERIFY(window->action("actionStartCamera")->isEnabled());
        plugInTwo();
        QVERIFY(!device().isOpen());
        QCOMPARE(shownSize(), pageSize);
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        expectLive();
    }

private:
    static QString pagePath()
    {
        return Sandbox::instance().documents() + QStringLiteral("/page.png");
    }
    QSize shownSize() const { return window->probe.lastFrame().size(); }

    void openPicture()
    {
        QVERIFY(gradient(pageSize).save(pagePath()));
        window->open(pagePath());
        QCOMPARE(shownSize(), pageSize);
    }

    // Presents a frame like a service that has not noticed the stop yet.
    void presentLate()
    {
        QVERIFY(window->probe.videoSurface()->present(QVideoFrame(gradient(liveSize))));
    }

    void loseCamera()
    {
        boxes->expect(cameraError);
        device().lose(device().record().device);
        QVERIFY(!device().isRunning());
    }

    void startWithoutACamera()
    {
        window.reset();
        device().setDevices({});
        boxes->expect(cameraError);
        window = std::make_unique<Window>();
        QTRY_COMPARE(boxes->answered(), 1);
    }

    void expectActive()
    {
        QCOMPARE(window->probe.camera()->state(), QCamera::ActiveState);
        QVERIFY(!window->action("actionStartCamera")->isEnabled());
        QVERIFY(window->action("actionStopCamera")->isEnabled());
    }

    void expectLive()
    {
        expectActive();
        const int before = window->probe.framesDisplayed();
        QVERIFY(device().pushPicture(gradient(liveSize)));
        QCOMPARE(shownSize(), liveSize);
        QCOMPARE(window->probe.framesDisplayed(), before + 1);
    }
};

KIVRA_TEST(TestLivePicture)
#include "test_livepicture.moc"
