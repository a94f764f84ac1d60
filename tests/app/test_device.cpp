// The camera device under the window: switching, starting, stopping, locks, exposure, errors.

#include "storage/settings.h"
#include "tests/app/windowtest.h"
#include "tests/support/files.h"
#include "tests/support/memory.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <QCameraImageCapture>
#include <QDialog>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QToolBar>

using kivra::test::gradient;
using kivra::test::isSanitized;
using kivra::test::residentMemory;
using kivra::test::Sandbox;
using kivra::test::TestCamera;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

constexpr qint64 allowedGrowthOfASwitch = 4 << 20;

QSize shownSize(const Window &window)
{
    return window.probe.lastFrame().size();
}

} // namespace

class TestDevice : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        plugInTwo();
        openWindow();
    }

    void startsWithTheWindow()
    {
        QCOMPARE(device().record().device, QByteArray("un"));
        expectRunning(true);
    }

    void stopAndStart()
    {
        window->trigger("actionStopCamera");
        QTRY_VERIFY(!device().isRunning());
        expectRunning(false);
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        expectRunning(true);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(shownSize(*window), QSize(64, 48));
    }

    void stopTakesTheFocus_data()
    {
        QTest::addColumn<QByteArray>("stop");
        QTest::newRow("action") << QByteArray("actionStopCamera");
        QTest::newRow("toggle") << QByteArray("actionCamera");
    }

    void stopTakesTheFocus()
    {
        QFETCH(QByteArray, stop);
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        window->clearFocus();
        window->trigger(stop.constData());
        QTRY_VERIFY(window->hasFocus());
    }

    void startResetsTheViewNotTheCoefficient()
    {
        window->call("on_changeCoef", Q_ARG(int, 3), Q_ARG(int, 400));
        window->trigger("actionStopCamera");
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(window->probe.coefZoom(), 400);
        QCOMPARE(settingsStore().value(QStringLiteral("params/zoom")).toInt(), 400);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(shownWidth(), 64);
    }

    void startBringsThePictureBackToTheMiddle_data()
    {
        QTest::addColumn<QByteArray>("stop");
        QTest::addColumn<QByteArray>("start");
        QTest::newRow("actions") << QByteArray("actionStopCamera")
                                 << QByteArray("actionStartCamera");
        QTest::newRow("toggle") << QByteArray("actionCamera") << QByteArray("actionCamera");
    }

    void startBringsThePictureBackToTheMiddle()
    {
        QFETCH(QByteArray, stop);
        QFETCH(QByteArray, start);
        const QImage picture = gradient({1000, 800}); // larger than the view, so that it moves
        QVERIFY(device().pushPicture(picture));
        const QImage before = window->probe.view()->grab().toImage();
        window->probe.view()->setZoomFactor(2.0F);
        QTest::mousePress(window->probe.view(), Qt::RightButton, Qt::NoModifier, {100, 100});
        QMouseEvent drag(QEvent::MouseMove, QPointF(150, 130),
                         window->probe.view()->mapToGlobal({150, 130}), Qt::NoButton,
                         Qt::RightButton, Qt::NoModifier);
        QCoreApplication::sendEvent(window->probe.view(), &drag);
        QTest::mouseRelease(window->probe.view(), Qt::RightButton);
        emit window->probe.view()->menuGraphique(false); // restores the view's size

        window->trigger(stop.constData());
        window->trigger(start.constData());
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(picture));
        KIVRA_COMPARE_PICTURES(window->probe.view()->grab().toImage(), before);
    }

    void toggle()
    {
        window->trigger("actionCamera");
        expectRunning(false);
        QTRY_VERIFY(!device().isRunning());
        window->trigger("actionCamera");
        expectRunning(true);
        QTRY_VERIFY(device().isRunning());
        expectRunning(true);
    }

    void toggleBelievesTheActions()
    {
        // The actions change at once, though the device takes its time.
        window->trigger("actionStopCamera");
        device().setStartAnswer(TestCamera::Answer::OnCall);
        window->trigger("actionCamera");
        expectRunning(true);
        device().answerStart();
        QTRY_VERIFY(device().isRunning());
    }

    void stateGivesTheActions_data()
    {
        QTest::addColumn<QCamera::State>("state");
        QTest::addColumn<bool>("running");
        QTest::newRow("unloaded") << QCamera::UnloadedState << false;
        QTest::newRow("loaded") << QCamera::LoadedState << false;
        QTest::newRow("active") << QCamera::ActiveState << true;
    }

    void stateGivesTheActions()
    {
        QFETCH(QCamera::State, state);
        QFETCH(bool, running);
        window->call("updateCameraState", Q_ARG(QCamera::State, state));
        expectRunning(running);
    }

    void anyOtherStateChangesNothing()
    {
        window->call("updateCameraState", Q_ARG(QCamera::State, QCamera::State(3)));
        expectRunning(true);
    }

    void switchToAnotherDevice()
    {
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(device().record().device, QByteArray("deux"));
        QCOMPARE(device().record().closed, device().record().opened - 1);
        expectRunning(true);
        QCOMPARE(window->statusText(), QStringLiteral("caméra active"));
    }

    void switchDropsTheCaptureBeforeTheCamera()
    {
        QStringList gone;
        connect(window->probe.camera(), &QObject::destroyed, this,
                [&gone] { gone += QStringLiteral("camera"); });
        connect(window->probe.imageCapture(), &QObject::destroyed, this,
                [&gone] { gone += QStringLiteral("capture"); });
        chooseDevice(1);
        QCOMPARE(gone, (QStringList{QStringLiteral("capture"), QStringLiteral("camera")}));
    }

    void switchKeepsOneFrameOneDisplay()
    {
        for (const int number : {1, 0, 1}) {
            chooseDevice(number);
            QTRY_VERIFY(device().isRunning());
        }
        const int before = window->probe.framesDisplayed();
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.framesDisplayed(), before + 1);
    }

    void switchKeepsOneDoubleClickOneCapture()
    {
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        emit window->probe.view()->captureImage();
        QTRY_COMPARE(device().record().stills.size(), 1);
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        QCOMPARE(device().record().stills.size(), 1);
    }

    void switchKeepsTheToolBarOnRequest()
    {
        chooseDevice(1);
        emit window->probe.view()->menuGraphique(true);
        QVERIFY(window->find<QToolBar>("toolBar")->isVisible());
        emit window->probe.view()->menuGraphique(false);
        QVERIFY(!window->find<QToolBar>("toolBar")->isVisible());
    }

    void switchRestoresTheScale()
    {
        const QString path = Sandbox::instance().documents() + QStringLiteral("/large.png");
        QVERIFY(gradient({2400, 100}).save(path));
        window->open(path);
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(shownWidth(), 64);
    }

    void switchWhileACaptureIsPending()
    {
        device().setStillAnswer(TestCamera::Answer::OnCall);
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        window->call("takeImage");
        window->probe.setCaptureInProgress(true); // as while the request is being made
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QVERIFY(window->probe.captureInProgress());
        QVERIFY(!window->close());
        device().raiseSaved(1, QString());
        QTRY_VERIFY(!window->isVisible());
    }

    // Until the first frame, the opened picture stays as it was fitted.
    void startResetsZoomAndPanNotTheScale()
    {
        const QString path = kivra::test::pathOf(QStringLiteral("page.png"));
        QVERIFY(gradient({200, 150}).save(path));
        window->open(path);
        auto *const view = window->probe.view();
        const QImage fitted = view->grab().toImage();
        view->setZoomFactor(2.0F);
        QTest::mousePress(view, Qt::LeftButton, {}, {50, 50});
        QTest::mouseMove(view, {90, 80});
        QTest::mouseRelease(view, Qt::LeftButton, {}, {90, 80});
        window->find<QToolBar>("toolBar")->hide(); // shown by the press
        QVERIFY(QTest::qWaitFor([&] { return view->size() == fitted.size(); }));
        QVERIFY(view->grab().toImage() != fitted);
        device().setStartAnswer(TestCamera::Answer::OnCall);
        window->call("startCamera");
        QCOMPARE(view->grab().toImage(), fitted);
    }

    void locks()
    {
        QCOMPARE(window->probe.camera()->lockStatus(), QCamera::Unlocked);
        window->call("toggleLock");
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Locked);
        QCOMPARE(device().record().locks, kivra::test::allLocks);
        window->call("toggleLock");
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Unlocked);
    }

    void unlocksWhileSearching()
    {
        device().setLockAnswer(TestCamera::Answer::OnCall);
        window->call("toggleLock");
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Searching);
        window->call("toggleLock");
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Unlocked);
        QCOMPARE(device().record().locks, QCamera::LockTypes());
    }

    void exposureGoesByHalfStops()
    {
        for (const int index : {-4, -1, 0, 3}) {
            window->call("setExposureCompensation", Q_ARG(int, index));
            QCOMPARE(device().record().exposure, index * 0.5);
        }
    }

    void errorAtStart()
    {
        window->trigger("actionStopCamera");
        device().setErrorText(QStringLiteral("La caméra est occupée"));
        device().setStartAnswer(TestCamera::Answer::Refuse);
        expectWarning(QStringLiteral("Camera error"));
        window->trigger("actionStartCamera");
        QTRY_COMPARE(boxes->answered(), 1);
        QCOMPARE(boxes->lastText(), QStringLiteral("La caméra est occupée"));
        expectRunning(false);

        device().setStartAnswer(TestCamera::Answer::AtOnce);
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        expectRunning(true);
        QVERIFY(device().pushPicture(gradient({64, 48})));
    }

    void errorInMidStream_data()
    {
        QTest::addColumn<QCamera::State>("state");
        QTest::newRow("loaded") << QCamera::LoadedState;
        QTest::newRow("unloaded") << QCamera::UnloadedState;
    }

    void errorInMidStream()
    {
        QFETCH(QCamera::State, state);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        boxes->expect(QStringLiteral("Camera error"));
        device().raiseError(QCamera::CameraError, QStringLiteral("Plus d'image"), state);
        QTRY_COMPARE(boxes->answered(), 1);
        QCOMPARE(boxes->lastText(), QStringLiteral("Plus d'image"));
        expectRunning(false);
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient({32, 24})));
        QCOMPARE(shownSize(*window), QSize(32, 24));
    }

    void captureErrorIsShown()
    {
        window->probe.setCaptureInProgress(true);
        bool inProgress = false;
        boxes->expect(QStringLiteral("Image Capture Error"), [&](QDialog *box) {
            inProgress = window->probe.captureInProgress(); // until the user has read it
            box->accept();
        });
        device().raiseStillError(1, QCameraImageCapture::ResourceError,
                                 QStringLiteral("disque plein"));
        QTRY_COMPARE(boxes->answered(), 1);
        QCOMPARE(boxes->lastText(), QStringLiteral("disque plein"));
        QVERIFY(inProgress);
        QVERIFY(!window->probe.captureInProgress());
    }

    void twoHundredSwitches()
    {
        for (int i = 0; i < 20; ++i)
            switchAndShow(i);
        const qint64 before = residentMemory();
        for (int i = 0; i < 200; ++i)
            switchAndShow(i);
        const qint64 grown = residentMemory() - before;
        QVERIFY2(isSanitized() || grown < allowedGrowthOfASwitch,
                 qPrintable(QStringLiteral("%1 bytes more").arg(grown)));
        QCOMPARE(device().record().closed, device().record().opened - 1);
    }

    void twoHundredStopsAndStarts()
    {
        for (int i = 0; i < 20; ++i)
            stopStartAndShow(i);
        const qint64 before = residentMemory();
        for (int i = 0; i < 200; ++i)
            stopStartAndShow(i);
        const qint64 grown = residentMemory() - before;
        QVERIFY2(isSanitized() || grown < allowedGrowthOfASwitch,
                 qPrintable(QStringLiteral("%1 bytes more").arg(grown)));
    }

private:
    void expectRunning(bool running)
    {
        QCOMPARE(window->action("actionStartCamera")->isEnabled(), !running);
        QCOMPARE(window->action("actionStopCamera")->isEnabled(), running);
    }

    // Every frame of the new camera is shown once.
    void switchAndShow(int i)
    {
        chooseDevice(1 - i % 2);
        QTRY_VERIFY(device().isRunning());
        show(i);
    }

    void stopStartAndShow(int i)
    {
        window->trigger("actionStopCamera");
        window->trigger("actionStartCamera");
        QTRY_VERIFY(device().isRunning());
        show(i);
    }

    void show(int i)
    {
        const QSize size(40 + i % 7, 30);
        const int before = window->probe.framesDisplayed();
        QVERIFY(device().pushPicture(gradient(size)));
        QCOMPARE(window->probe.framesDisplayed() - before, 1);
        QCOMPARE(shownSize(*window), size);
    }

    // Width of the picture in the view, from its black frame on either side.
    int shownWidth() const
    {
        const QImage shown = window->probe.view()->grab().toImage();
        const int y = shown.height() / 2;
        const QRgb background = shown.pixel(0, 0);
        int left = 0;
        while (left < shown.width() && shown.pixel(left, y) == background)
            ++left;
        int right = shown.width() - 1;
        while (right > left && shown.pixel(right, y) == background)
            --right;
        return right - left - 1;
    }
};

KIVRA_TEST(TestDevice)
#include "test_device.moc"
