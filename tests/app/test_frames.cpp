// A frame's way from the camera to the screen.

#include "tests/app/windowtest.h"
#include "tests/support/driverbuffer.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"
#include "video/videosurface.h"

#include <QDialog>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>

using kivra::test::DriverBuffer;
using kivra::test::gradient;
using kivra::test::storeSetting;
using kivra::test::TestCamera;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

// The surface does not copy the last 32 bytes of a frame: the pixel before them is repeated.
QImage received(QImage picture)
{
    const QPoint end(picture.width() - 1, picture.height() - 1);
    for (int i = 0; i < 8; ++i)
        picture.setPixel(end - QPoint(i, 0), picture.pixel(end - QPoint(8, 0)));
    return picture;
}

// Delivers another frame during the view's first paint event.
class FrameAtPainting : public QObject
{
public:
    int pushed = 0;

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && pushed == 0) {
            ++pushed;
            TestCamera::instance().pushPicture(gradient({32, 24}));
        }
        return false;
    }
};

// How often a widget paints.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget *widget) { widget->installEventFilter(this); }
    int paints = 0;

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            ++paints;
        return false;
    }
};

// Handles all posted events, and those that they post.
void settle()
{
    for (int turn = 0; turn < 3; ++turn)
        QCoreApplication::processEvents();
}

// A frame whose memory and stride do not match its size. Without memory, it cannot be mapped.
QVideoFrame oddFrame(const QSize &size, int bytes, int stride)
{
    const QByteArray memory(bytes, '\x77');
    return QVideoFrame(new DriverBuffer(memory, bytes, stride, bytes > 0), size,
                       QVideoFrame::Format_RGB32);
}

} // namespace

class TestFrames : public WindowTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void frameIsKeptAndShown()
    {
        open();
        const QImage picture = gradient({200, 100});
        QVERIFY(device().pushPicture(picture));
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), received(picture));
        QCOMPARE(window->probe.framesDisplayed(), 1);

        const PixmapWidget *const view = window->probe.view();
        const QImage shown = window->probe.view()->grab().toImage();
        const QPoint at((view->width() - 200) / 2, (view->height() - 100) / 2);
        KIVRA_COMPARE_PICTURES(
            shown.copy(QRect(at, QSize(200, 100))).convertToFormat(QImage::Format_RGB32),
            received(picture));
    }

    void framesAreShownOneByOne()
    {
        open();
        const int presented = iFrame;
        for (int i = 1; i <= 25; ++i) {
            QVERIFY(device().pushPicture(gradient({64, 40 + i})));
            QCOMPARE(window->probe.framesDisplayed(), i);
            QCOMPARE(window->probe.lastFrame().height(), 40 + i);
        }
        QCOMPARE(iFrame, presented + 25);
    }

    void viewPaintsOnceForEachFrame()
    {
        open();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        window->resize(1500, 1000); // the window's own background shows beside the view
        settle();
        PaintCounter view(window->probe.view());
        PaintCounter whole(window.get());
        PaintCounter menus(window->menuBar());
        PaintCounter status(window->statusBar());
        for (int frames = 1; frames <= 10; ++frames) {
            QVERIFY(device().pushPicture(gradient({64, 48})));
            settle();
            QCOMPARE(view.paints, frames);
            QTRY_COMPARE(whole.paints, frames); // requested now, painted in the next turn
        }
        QCOMPARE(menus.paints, 0);
        QCOMPARE(status.paints, 0);
    }

    void secondTickCountsAnew()
    {
        open();
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.framesDisplayed(), 1);
        QTRY_COMPARE(window->probe.framesDisplayed(), 0);
    }

    void busyViewDropsTheFrame()
    {
        open();
        QVERIFY(device().pushPicture(gradient({64, 48})));
        window->probe.view()->busy = true;
        const QImage before = window->probe.view()->grab().toImage();
        const int displayed = window->probe.framesDisplayed();
        QVERIFY(device().pushPicture(gradient({32, 24})));
        QVERIFY(window->probe.framesDisplayed() <= displayed);
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
        QCOMPARE(window->probe.view()->grab().toImage(), before);
        QVERIFY(window->probe.view()->busy);

        window->probe.view()->busy = false;
        QVERIFY(device().pushPicture(gradient({32, 24})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(32, 24));
        QVERIFY(!window->probe.view()->busy);
    }

    // A nested event loop may bring a frame while another one is in work.
    void frameDuringAFrameIsDropped()
    {
        open();
        FrameAtPainting nested;
        window->probe.view()->installEventFilter(&nested);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(nested.pushed, 1);
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
        QVERIFY(!window->probe.view()->busy);
    }

    void heldButtonDropsFrames()
    {
        open();
        QTest::mousePress(window->probe.view(), Qt::LeftButton);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QVERIFY(window->probe.lastFrame().isNull());
        QCOMPARE(window->probe.framesDisplayed(), 0);
        QTest::mouseRelease(window->probe.view(), Qt::LeftButton);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void boxThatSwallowsTheReleaseDoesNotFreezeThePicture()
    {
        open();
        pressView();
        boxes->expect(QStringLiteral("Image Capture Error"), [](QDialog *box) {
            QTest::mouseRelease(box->windowHandle(), Qt::LeftButton);
            QCoreApplication::processEvents();
            box->accept();
        });
        device().raiseStillError(1, QCameraImageCapture::ResourceError, QStringLiteral("plein"));
        QTRY_COMPARE(boxes->answered(), 1);
        QTRY_VERIFY(!window->probe.view()->busy);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void menuThatSwallowsTheReleaseDoesNotFreezeThePicture()
    {
        open();
        pressView();
        auto *const menu = window->find<QMenu>("menuFichier");
        menu->popup(window->geometry().center());
        QTest::mouseRelease(menu->windowHandle(), Qt::LeftButton);
        QCoreApplication::processEvents();
        menu->close();
        QTRY_VERIFY(!window->probe.view()->busy);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void buttonStillHeldAfterABoxKeepsThePicture()
    {
        open();
        pressView();
        boxes->expect(QStringLiteral("Image Capture Error"));
        device().raiseStillError(1, QCameraImageCapture::ResourceError, QStringLiteral("plein"));
        QTRY_COMPARE(boxes->answered(), 1);
        QCoreApplication::processEvents();
        QVERIFY(window->probe.view()->busy);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QVERIFY(window->probe.lastFrame().isNull());
        QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, {300, 300});
        QTRY_VERIFY(!window->probe.view()->busy);
    }

    void reducedField_data()
    {
        QTest::addColumn<QSize>("frame");
        QTest::addColumn<QRect>("field");
        QTest::newRow("even") << QSize(1280, 720) << QRect(QPoint(320, 180), QPoint(959, 539));
        QTest::newRow("odd") << QSize(1281, 721) << QRect(QPoint(320, 180), QPoint(959, 539));
        QTest::newRow("three more")
            << QSize(1283, 723) << QRect(QPoint(320, 180), QPoint(959, 539));
        QTest::newRow("small") << QSize(12, 9) << QRect(3, 2, 6, 4);
        QTest::newRow("smallest") << QSize(10, 4) << QRect(2, 1, 4, 2);
    }

    void reducedField()
    {
        QFETCH(QSize, frame);
        QFETCH(QRect, field);
        storeSetting(QStringLiteral("preferences/restore"), true);
        storeSetting(QStringLiteral("preferences/smallField"), true);
        open();
        const QImage picture = gradient(frame);
        QVERIFY(device().pushPicture(picture));
        KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), received(picture).copy(field));
    }

    // Cutting the field out makes no copy.
    void reducedFieldSharesTheFramesPixels()
    {
        storeSetting(QStringLiteral("preferences/restore"), true);
        open();
        const auto *const surface = dynamic_cast<VideoSurface *>(window->probe.videoSurface());
        QVERIFY(surface);
        for (int i = 0; i < 3; ++i) {
            QVERIFY(device().pushPicture(gradient({128, 96})));
            const QImage whole = surface->frame();
            QCOMPARE(window->probe.lastFrame().constBits(), whole.constScanLine(24) + 32 * 4);
        }
        // The field outlives the frame, and changing one copy of it leaves the others alone.
        QImage field = window->probe.lastFrame();
        const QImage before = field.copy();
        QVERIFY(device().pushPicture(gradient({64, 48})));
        window.reset();
        KIVRA_COMPARE_PICTURES(field, before);
        const QImage other = field;
        field.fill(Qt::white);
        KIVRA_COMPARE_PICTURES(other, before);
    }

    // A frame that has no centre along one side leaves nothing; one without any centre stays whole.
    void reducedFieldOfATinyFrame_data()
    {
        QTest::addColumn<QSize>("frame");
        QTest::addColumn<QSize>("field");
        QTest::newRow("flat") << QSize(40, 3) << QSize();
        QTest::newRow("narrow") << QSize(3, 40) << QSize();
        QTest::newRow("three by three") << QSize(3, 3) << QSize(3, 3);
        QTest::newRow("one pixel") << QSize(1, 1) << QSize(1, 1);
    }

    void reducedFieldOfATinyFrame()
    {
        QFETCH(QSize, frame);
        QFETCH(QSize, field);
        storeSetting(QStringLiteral("preferences/restore"), true);
        open();
        QVERIFY(device().pushPicture(gradient(frame)));
        QCOMPARE(window->probe.lastFrame().size(), field.isValid() ? field : QSize(0, 0));
        for (int i = 0; i < 9; ++i)
            window->trigger("actionEffet");
    }

    void oddFramesAreHarmless_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("bytes");
        QTest::addColumn<int>("stride");
        QTest::newRow("padded rows") << QSize(60, 40) << 64 * 4 * 40 << 64 * 4;
        QTest::newRow("short mapping") << QSize(64, 48) << 1000 << 64 * 4;
        QTest::newRow("one byte") << QSize(64, 48) << 1 << 64 * 4;
        QTest::newRow("no stride") << QSize(64, 48) << 64 * 48 * 4 << 0;
        QTest::newRow("negative stride") << QSize(64, 48) << 64 * 48 * 4 << -256;
        QTest::newRow("one pixel") << QSize(1, 1) << 4 << 4;
    }

    void oddFramesAreHarmless()
    {
        QFETCH(QSize, size);
        QFETCH(int, bytes);
        QFETCH(int, stride);
        open();
        QVERIFY(device().pushFrame(oddFrame(size, bytes, stride)));
        QCOMPARE(window->probe.lastFrame().size(), size);
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void emptyFrameIsHarmless()
    {
        open();
        device().pushFrame(oddFrame({0, 0}, 100, 0));
        QVERIFY(window->probe.lastFrame().isNull());
        QVERIFY(device().pushPicture(gradient({64, 48})));
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void unmappableFrameIsDropped()
    {
        open();
        QVERIFY(device().pushPicture(gradient({64, 48})));
        const int displayed = window->probe.framesDisplayed();
        device().pushFrame(oddFrame({32, 24}, 0, 128));
        QVERIFY(window->probe.framesDisplayed() <= displayed);
        QCOMPARE(window->probe.lastFrame().size(), QSize(64, 48));
    }

    void sizeMayChangeInMidStream()
    {
        open();
        for (const QSize size : {QSize(64, 48), QSize(640, 480), QSize(16, 9), QSize(1281, 721)}) {
            QVERIFY(device().pushPicture(gradient(size)));
            QCOMPARE(window->probe.lastFrame().size(), size);
        }
    }

    void formatMayChangeInMidStream()
    {
        open();
        QVERIFY(device().pushPicture(gradient({64, 48})));
        device().changeFormat(QVideoSurfaceFormat(QSize(96, 64), QVideoFrame::Format_RGB32));
        QTRY_VERIFY(device().pushPicture(gradient({96, 64})));
        QTRY_COMPARE(window->probe.lastFrame().size(), QSize(96, 64));
    }

    void everyCommandBeforeTheFirstFrame()
    {
        open();
        for (const char *name :
             {"actionEffet", "actionMode", "actionIncCoef", "actionDecCoef", "actionResetCoef",
              "actionReinit", "actionTexte", "actionTexte_manuscrit", "actionTableau_vert",
              "actionAutomatique", "actionEclairage_difficile", "actionNegatif"}) {
            window->trigger(name);
            window->call("updateDisplay");
        }
        QVERIFY(window->probe.lastFrame().isNull());
    }

private:
    // Through the window system, so that the application knows of the held button.
    void pressView()
    {
        QTest::mousePress(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, {300, 300});
        QTRY_VERIFY(window->probe.view()->busy);
    }

    void open()
    {
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
    }
};

KIVRA_TEST(TestFrames)
#include "test_frames.moc"
