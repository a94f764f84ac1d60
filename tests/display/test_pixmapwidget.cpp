#include "display/areascaler.h"
#include "display/pixmapwidget.h"
#include "tests/reference/reference.h"
#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QBitmap>
#include <QDir>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QPainter>
#include <QPicture>
#include <QSignalSpy>
#include <QTimer>
#include <QWheelEvent>
#include <csignal>
#include <sys/resource.h>

using kivra::test::drawn;
using kivra::test::gradient;

namespace {

constexpr QRgb black = 0xff000000;
constexpr QRgb background = 0xffaabbcc;

// The view in a window of its own size over a background of one colour.
class View : public PixmapWidget
{
public:
    explicit View(const QSize &size = {800, 600})
    {
        QPalette palette;
        palette.setColor(QPalette::Window, QColor(background));
        setPalette(palette);
        setAutoFillBackground(true);
        resize(size);
        show();
        if (!QTest::qWaitForWindowExposed(this))
            qFatal("the view did not come up");
    }

    int paintings = 0;
    QImage shown() { return shown(rect()); }
    QImage shown(const QRect &part)
    {
        return grab(part).toImage().convertToFormat(QImage::Format_RGB32);
    }
    // As on a screen with this many pixels per point.
    QImage shownAt(double density)
    {
        QImage picture(size() * density, QImage::Format_RGB32);
        picture.setDevicePixelRatio(density);
        render(&picture);
        picture.setDevicePixelRatio(1);
        return picture;
    }
    void press(Qt::MouseButton button, const QPoint &at = {5, 5})
    {
        send(QEvent::MouseButtonPress, button, button, at);
    }
    void release(Qt::MouseButton button, const QPoint &at = {5, 5})
    {
        send(QEvent::MouseButtonRelease, button, Qt::NoButton, at);
    }
    void moveTo(const QPoint &at, Qt::MouseButton held = Qt::LeftButton)
    {
        send(QEvent::MouseMove, Qt::NoButton, held, at);
    }
    void drag(const QPoint &by, Qt::MouseButton button = Qt::LeftButton)
    {
        press(button, {100, 100});
        moveTo(QPoint(100, 100) + by, button);
        release(button, QPoint(100, 100) + by);
    }
    void wheel(int delta) { wheel(QPoint(0, delta)); }
    void wheel(const QPoint &delta)
    {
        const QPoint at(10, 10);
        QWheelEvent event(at, mapToGlobal(at), QPoint(), delta, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(this, &event);
    }

protected:
    void paintEvent(QPaintEvent *event) override
    {
        ++paintings;
        PixmapWidget::paintEvent(event);
    }

private:
    void send(QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons held, const QPoint &at)
    {
        QMouseEvent event(type, at, mapToGlobal(at), button, held, Qt::NoModifier);
        QCoreApplication::sendEvent(this, &event);
    }
};

QImage plain(const QSize &size, QRgb colour)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

// A picture larger than the view in which each pixel tells its own place.
QImage coordinates(const QSize &size)
{
    return drawn(size, QImage::Format_RGB32,
                 [](int x, int y) { return 0xff000000U | uint(x << 12) | uint(y); });
}

QPoint placeShownAt(const QImage &shown, const QPoint &at)
{
    const QRgb word = shown.pixel(at) & 0xffffffU;
    return {int(word >> 12), int(word & 0xfffU)};
}

bool isNear(QRgb one, QRgb other)
{
    return std::abs(qRed(one) - qRed(other)) <= 1 && std::abs(qGreen(one) - qGreen(other)) <= 1 &&
           std::abs(qBlue(one) - qBlue(other)) <= 1;
}

// The extent of a white picture in the view, measured through the middle.
QSize extentOfWhite(View &view)
{
    const QImage shown = view.shown();
    QSize extent(0, 0);
    for (int x = 0; x < shown.width(); ++x)
        extent.rwidth() += shown.pixel(x, shown.height() / 2) == 0xffffffff ? 1 : 0;
    for (int y = 0; y < shown.height(); ++y)
        extent.rheight() += shown.pixel(shown.width() / 2, y) == 0xffffffff ? 1 : 0;
    return extent;
}

// The zoom as the picture shows it: the width of a white picture of 80 pixels in the view.
float shownZoom(View &view)
{
    const QImage shown = view.shown();
    int white = 0;
    for (int x = 0; x < shown.width(); ++x)
        white += shown.pixel(x, shown.height() / 2) == 0xffffffff ? 1 : 0;
    return float(white) / 80.0F;
}

} // namespace

class TestPixmapWidget : public QObject
{
    Q_OBJECT

private slots:
    // Slots are found by their signature, and moc numbers them in this order.
    void interfaceIsInItsOrder()
    {
        const QMetaObject &view = PixmapWidget::staticMetaObject;
        QByteArrayList names;
        for (int i = view.methodOffset(); i < view.methodCount(); ++i)
            names += view.method(i).name();
        QCOMPARE(names.join(' '),
                 QByteArray("displayOnStatusBar captureImage menuGraphique setZoomFactor "
                            "setScaleFactor fitPicture resetPos setPixmap saveToFile bTimerSlot"));
    }

    void startsBlack()
    {
        View view;
        const QImage shown = view.shown();
        QCOMPARE(shown.pixel(80, 60), black);
        QCOMPARE(shown.pixel(719, 539), black);
        QCOMPARE(shown.pixel(78, 58), background);
        QVERIFY(!view.busy);
    }

    void smallPictureIsCentredInAFrame()
    {
        View view;
        const QImage picture = gradient({640, 480});
        view.setPixmap(QPixmap::fromImage(picture));
        QImage expected = plain({800, 600}, background);
        QPainter painter(&expected);
        painter.fillRect(79, 59, 642, 482, Qt::black);
        painter.drawImage(80, 60, picture);
        painter.end();
        KIVRA_COMPARE_PICTURES(view.shown(), expected);
    }

    void smallPictureStaysCentredWhateverThePan()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(gradient({640, 480})));
        const QImage before = view.shown();
        view.drag({37, -21});
        KIVRA_COMPARE_PICTURES(view.shown(), before);
    }

    void zoomTwoShowsTheMiddleWithoutAFrame()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({640, 480})));
        view.setZoomFactor(2.0F);
        const QImage shown = view.shown();
        // 1280 x 960 in 800 x 600: begins at (-240, -180).
        QCOMPARE(placeShownAt(shown, {0, 0}), QPoint(120, 90));
        QCOMPARE(placeShownAt(shown, {799, 599}), QPoint(519, 389));
    }

    void panIsMultipliedByTheZoom()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({640, 480})));
        view.setZoomFactor(2.0F);
        view.drag({10, -20});
        // Moves by (20, -40) on the screen, so by (10, -20) of the picture's own pixels.
        QCOMPARE(placeShownAt(view.shown(), {0, 0}), QPoint(110, 110));
    }

    void everyButtonPans_data()
    {
        QTest::addColumn<int>("button");
        QTest::newRow("left") << int(Qt::LeftButton);
        QTest::newRow("right") << int(Qt::RightButton);
        QTest::newRow("middle") << int(Qt::MiddleButton);
    }

    void everyButtonPans()
    {
        QFETCH(int, button);
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({1000, 800})));
        const QPoint before = placeShownAt(view.shown(), {0, 0});
        view.drag({10, -20}, Qt::MouseButton(button));
        QCOMPARE(placeShownAt(view.shown(), {0, 0}), before - QPoint(10, -20));
    }

    void mouseAloneDoesNotPan()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({1000, 800})));
        const QPoint before = placeShownAt(view.shown(), {0, 0});
        QTest::mouseMove(view.windowHandle(), {300, 300});
        QTest::mouseMove(view.windowHandle(), {340, 310});
        QCOMPARE(placeShownAt(view.shown(), {0, 0}), before);
    }

    void panIsMultipliedByTheZoomNotTheScale()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({640, 480})));
        view.setScaleFactor(4.0F);
        view.drag({8, 0});
        // Begins at (800 - 2560) / 2 + 8 = -872.
        QCOMPARE(placeShownAt(view.shown(), {0, 300}).x(), 872 / 4);
    }

    void panActsOnTheLargerAxisOnly()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({1000, 100})));
        view.drag({50, 50});
        QCOMPARE(placeShownAt(view.shown(), {0, 250}), QPoint(50, 0)); // -100 + 50, and no pan down
    }

    void pictureOfTheViewsWidthTakesThePan()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({800, 600})));
        view.drag({5, 0});
        QCOMPARE(placeShownAt(view.shown(), {5, 0}), QPoint(0, 0));
        QCOMPARE(view.shown().pixel(4, 0), background); // and has no frame
    }

    void panHasNoLimit()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(gradient({900, 700})));
        view.drag({5000, 5000});
        QCOMPARE(view.shown().pixel(400, 300), background);
    }

    void resetPosCentresAtTheNextPainting()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({1600, 1200})));
        view.drag({50, 60});
        const int before = view.paintings;
        view.resetPos();
        QCOMPARE(view.paintings, before);
        QCOMPARE(placeShownAt(view.shown(), {0, 0}), QPoint(400, 300));
    }

    void oddRemainderTruncatesTowardZero()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({803, 603})));
        QCOMPARE(placeShownAt(view.shown(), {0, 0}), QPoint(1, 1)); // -1.5 becomes -1
        view.setPixmap(QPixmap::fromImage(plain({797, 597}, 0xffffffff)));
        QCOMPARE(view.shown().pixel(0, 0), black); // 1.5 becomes 1, the frame is at 0
        QCOMPARE(view.shown().pixel(1, 1), 0xffffffff);
    }

    void frameFollowsTheScaledPicture()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(plain({101, 101}, 0xffffffff)));
        view.setZoomFactor(1.5F);
        const QImage shown = view.shown();
        // 151.5 wide, begins at 324.25: the frame's corners are (323, 223) and (324 + 152 - 2, ..),
        // and Qt draws a rectangle's far edges one pixel beyond.
        for (const QPoint &corner : {QPoint(323, 223), QPoint(475, 223), QPoint(323, 375)})
            QCOMPARE(shown.pixel(corner), black);
        QCOMPARE(shown.pixel(322, 223), background);
        QCOMPARE(shown.pixel(476, 223), background);
    }

    void frameIsDrawnWhenOneAxisShowsBackground()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(plain({2000, 100}, 0xffffffff)));
        const QImage shown = view.shown();
        QCOMPARE(shown.pixel(400, 249), black);
        QCOMPARE(shown.pixel(400, 350), black);
    }

    void scaledPictureIsTheAreaMean_data()
    {
        QTest::addColumn<float>("zoom");
        QTest::addColumn<double>("density");
        QTest::addColumn<QPoint>("pan");
        for (const double density : {1.0, 1.5, 2.0}) {
            for (const float zoom : {2.83F, 1.1892F, 0.95F, 0.6F, 0.5F, 1 / 3.0F, 1 / 5.8F}) {
                for (const QPoint &pan : {QPoint(0, 0), QPoint(31, -17), QPoint(350, 300)}) {
                    QTest::addRow("%.3f, density %.1f, pan %d", double(zoom), density, pan.x())
                        << zoom << density << pan;
                }
            }
        }
    }

    void scaledPictureIsTheAreaMean()
    {
        QFETCH(float, zoom);
        QFETCH(double, density);
        QFETCH(QPoint, pan);
        View view({120, 90});
        const QSize size(701, 603); // larger than the view, so that no frame is drawn
        const QImage picture = gradient(size);
        view.setPixmap(QPixmap::fromImage(picture));
        view.setZoomFactor(zoom);
        view.drag(pan);
        QPoint origin;
        origin.rx() = int((120 - 701 * double(zoom)) / 2 + double(zoom) * pan.x());
        origin.ry() = int((90 - 603 * double(zoom)) / 2 + double(zoom) * pan.y());
        const QImage shown = view.shownAt(density);

        const kivra::ScaledPlace place{QPointF(origin) * density, double(zoom) * density};
        const QRect filled = kivra::pixelsFilled(size, place) & shown.rect();
        QVERIFY(!filled.isEmpty());
        const QImage exact = kivra::reference::areaMean(picture, place.origin, place.scale, filled);
        for (int y = 0; y < filled.height(); ++y) {
            for (int x = 0; x < filled.width(); ++x)
                QVERIFY(isNear(shown.pixel(filled.topLeft() + QPoint(x, y)), exact.pixel(x, y)));
        }
        for (int y = 0; y < shown.height(); ++y) {
            for (int x = 0; x < shown.width(); ++x)
                QVERIFY(filled.contains(x, y) || shown.pixel(x, y) == background);
        }
    }

    void partIsPaintedAsTheWhole()
    {
        View view({120, 90});
        view.setPixmap(QPixmap::fromImage(gradient({701, 603})));
        view.setZoomFactor(0.43F);
        const QImage whole = view.shown();
        for (const QRect &part : {QRect(0, 0, 1, 1), QRect(17, 3, 40, 50), QRect(119, 0, 1, 90)})
            KIVRA_COMPARE_PICTURES(view.shown(part), whole.copy(part));
    }

    void pixelsOfTheScreenAreCounted()
    {
        View view({60, 60});
        const QImage picture = gradient({120, 120});
        view.setPixmap(QPixmap::fromImage(picture));
        view.setScaleFactor(0.5F);
        KIVRA_COMPARE_PICTURES(view.shownAt(2), picture);
    }

    // As for a printer, or for a program that asks for another kind of picture.
    void scaledPictureIsTheSameElsewhere()
    {
        View view({60, 60});
        view.setPixmap(QPixmap::fromImage(gradient({120, 120})));
        view.setScaleFactor(0.5F);
        const QImage expected = view.shown();
        for (const QImage::Format format : {QImage::Format_ARGB32, QImage::Format_RGB888}) {
            QImage other(view.size(), format);
            view.render(&other);
            KIVRA_COMPARE_PICTURES(other.convertToFormat(QImage::Format_RGB32), expected);
        }
        QPicture recorded;
        view.render(&recorded);
        QImage played(view.size(), QImage::Format_RGB32);
        QPainter(&played).drawPicture(0, 0, recorded);
        KIVRA_COMPARE_PICTURES(played, expected);
    }

    void scaledTranslucentPictureLetsTheBackgroundThrough()
    {
        View view({40, 40});
        QImage picture(80, 80, QImage::Format_ARGB32);
        picture.fill(QColor(255, 255, 255, 128));
        view.setPixmap(QPixmap::fromImage(picture));
        view.setScaleFactor(0.5F);
        // Half of 0xaabbcc and half of white.
        QVERIFY(isNear(view.shown().pixel(20, 20), 0xffd4dde5));
    }

    void picturesOfFewerColoursAreScaledToo()
    {
        View view({40, 40});
        QBitmap picture(80, 80);
        picture.fill(Qt::color1);
        view.setPixmap(picture);
        view.setScaleFactor(0.5F);
        QCOMPARE(view.shown().pixel(20, 20), black);
    }

    void fittedPictureIsSeenWhole()
    {
        View view({800, 600});
        const QSize sizes[] = {{400, 200}, {200, 400}, {3000, 1000}, {1000, 3000}};
        for (const QSize &size : sizes) {
            view.setPixmap(QPixmap::fromImage(plain(size, 0xffffffff)));
            view.fitPicture(size);
            const QSize expected = size.scaled({800, 600}, Qt::KeepAspectRatio);
            QCOMPARE(extentOfWhite(view), expected);
        }
    }

    void fittedPictureFollowsTheView()
    {
        View view({800, 600});
        view.setPixmap(QPixmap::fromImage(plain({400, 200}, 0xffffffff)));
        view.fitPicture({400, 200});
        view.resize(200, 600);
        QTRY_COMPARE(view.width(), 200);
        QCOMPARE(extentOfWhite(view), QSize(200, 100));
        view.setScaleFactor(0.25F);
        view.resize(400, 600);
        QTRY_COMPARE(view.width(), 400);
        QCOMPARE(extentOfWhite(view), QSize(100, 50));
    }

    void nothingIsFittedToAnEmptySize()
    {
        View view({800, 600});
        view.setPixmap(QPixmap::fromImage(plain({400, 200}, 0xffffffff)));
        view.fitPicture({0, 200});
        QCOMPARE(extentOfWhite(view), QSize(400, 200));
    }

    void nullPictureLeavesTheBackground()
    {
        View view;
        view.setPixmap(QPixmap());
        QCOMPARE(view.shown().pixel(200, 200), background);
    }

    void extremeScalesAreHarmless()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(plain({1, 30000}, 0xffffffff)));
        view.setScaleFactor(800.0F);
        view.setZoomFactor(8.0F);
        view.drag({100000, -100000});
        QVERIFY(!view.shown().isNull());
        view.setScaleFactor(0.0F);
        QVERIFY(!view.shown().isNull());
    }

    void zoomIsLimited_data()
    {
        QTest::addColumn<float>("asked");
        QTest::addColumn<float>("set");
        QTest::newRow("far above") << 20.0F << 8.0F;
        QTest::newRow("far below") << 0.01F << 0.125F;
        QTest::newRow("negative") << -1.0F << 0.125F;
        QTest::newRow("largest") << 8.0F << 8.0F;
        QTest::newRow("smallest") << 0.125F << 0.125F;
        QTest::newRow("between") << 2.5F << 2.5F;
    }

    void zoomIsLimited()
    {
        QFETCH(float, asked);
        QFETCH(float, set);
        View view;
        view.setPixmap(QPixmap::fromImage(plain({80, 60}, 0xffffffff)));
        view.setZoomFactor(asked);
        QCOMPARE(shownZoom(view), set);
    }

    void zoomRepaintsOnlyWhenItChanges()
    {
        View view;
        view.setZoomFactor(2.0F);
        const int before = view.paintings;
        view.setZoomFactor(2.0F);
        QCOMPARE(view.paintings, before);
        view.setZoomFactor(3.0F);
        QCOMPARE(view.paintings, before + 1);
    }

    void scaleIsNeitherLimitedNorPainted()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(plain({8, 6}, 0xffffffff)));
        const int before = view.paintings;
        view.setScaleFactor(20.0F);
        QCOMPARE(view.paintings, before);
        const QImage shown = view.shown();
        QCOMPARE(shown.pixel(320, 240), 0xffffffff); // 160 x 120 in the middle
        QCOMPARE(shown.pixel(479, 359), 0xffffffff);
        QCOMPARE(shown.pixel(317, 300), background);
    }

    void setPixmapPaintsAtOnce()
    {
        View view;
        const int before = view.paintings;
        view.setPixmap(QPixmap::fromImage(gradient({10, 10})));
        QCOMPARE(view.paintings, before + 1);
    }

    void wheelStepsTheZoom()
    {
        View view({800, 600});
        view.setPixmap(QPixmap::fromImage(plain({80, 60}, 0xffffffff)));
        float zoom = 1.0F;
        for (int step = 0; step < 5; ++step) {
            view.wheel(120);
            zoom = float(1.12 * double(zoom));
        }
        QVERIFY(qAbs(zoom - 1.7623F) < 0.0001F);
        // The view holds exactly this value: setting it again does not repaint.
        const int before = view.paintings;
        view.setZoomFactor(zoom);
        QCOMPARE(view.paintings, before);
        view.wheel(-120);
        view.setZoomFactor(float(0.88 * double(zoom)));
        QCOMPARE(view.paintings, before + 1);
    }

    void wheelOfTheOtherAxisZoomsToo()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(plain({80, 60}, 0xffffffff)));
        view.wheel(QPoint(1000, 0));
        QCOMPARE(shownZoom(view), 2.0F);
    }

    void wheelIsLimited()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(plain({80, 60}, 0xffffffff)));
        for (int step = 0; step < 40; ++step)
            view.wheel(120);
        QCOMPARE(shownZoom(view), 8.0F);
        int before = view.paintings;
        view.wheel(120);
        QCOMPARE(view.paintings, before); // at the limit nothing changes
        for (int step = 0; step < 80; ++step)
            view.wheel(-120);
        QCOMPARE(shownZoom(view), 0.125F);
        before = view.paintings;
        view.wheel(-2000); // a factor below zero
        QCOMPARE(view.paintings, before);
    }

    void pressHoldsThePicture()
    {
        View view;
        for (const auto button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
            view.press(button);
            QVERIFY(view.busy);
            view.release(button);
            QVERIFY(!view.busy);
        }
    }

    void heldButtonIsForgottenAtItsRelease()
    {
        View view;
        QTest::mousePress(view.windowHandle(), Qt::LeftButton, Qt::NoModifier, {50, 50});
        QTRY_VERIFY(view.busy);
        bool looked = false; // the view has looked at the buttons several times
        QTimer::singleShot(200, &view, [&] { looked = true; });
        QTRY_VERIFY(looked);
        QVERIFY(view.busy);

        QWidget elsewhere; // where the release goes
        elsewhere.show();
        QVERIFY(QTest::qWaitForWindowExposed(&elsewhere));
        view.hide();
        QTest::mouseRelease(elsewhere.windowHandle(), Qt::LeftButton);
        QTRY_VERIFY(!view.busy);
    }

    void twoQuickLeftPressesCapture()
    {
        View view;
        QSignalSpy captures(&view, &PixmapWidget::captureImage);
        view.press(Qt::LeftButton);
        view.release(Qt::LeftButton);
        QCOMPARE(captures.count(), 0);
        view.press(Qt::LeftButton);
        QCOMPARE(captures.count(), 1);
        view.release(Qt::LeftButton);
        view.press(Qt::LeftButton); // the interval still runs
        QCOMPARE(captures.count(), 2);
    }

    // The tool bar takes its room only once the picture is taken, and no frame comes in between.
    void pictureIsTakenBeforeTheMenuComes()
    {
        View view;
        QStringList told;
        connect(&view, &PixmapWidget::captureImage,
                [&] { told += view.busy ? QStringLiteral("held picture") : QString(); });
        connect(&view, &PixmapWidget::menuGraphique, [&] { told += QStringLiteral("menu"); });
        view.press(Qt::LeftButton);
        view.press(Qt::LeftButton);
        QCOMPARE(told, QStringList({QStringLiteral("menu"), QStringLiteral("held picture"),
                                    QStringLiteral("menu")}));
    }

    void intervalOfTheDoubleClick()
    {
        // Under load the presses may come too late to tell: then the test tries again with another
        // view.
        Presses presses = TooLate;
        for (int attempt = 0; presses == TooLate && attempt < 20; ++attempt)
            presses = pressThreeTimes();
        QCOMPARE(presses, SecondCaptures);
    }

    void twoSlowLeftPressesDoNotCapture()
    {
        View view;
        QSignalSpy captures(&view, &PixmapWidget::captureImage);
        view.press(Qt::LeftButton);
        view.release(Qt::LeftButton);
        QElapsedTimer sinceFirst;
        sinceFirst.start();
        QTRY_VERIFY(sinceFirst.elapsed() >= 500);
        QCoreApplication::processEvents(); // handles a timer that ended meanwhile
        view.press(Qt::LeftButton);
        QCOMPARE(captures.count(), 0);
    }

    void doubleClickOfTheSystemIsTheSecondPress()
    {
        View view;
        QSignalSpy captures(&view, &PixmapWidget::captureImage);
        QTest::mouseClick(view.windowHandle(), Qt::LeftButton, Qt::NoModifier, {50, 50});
        QTest::mouseDClick(view.windowHandle(), Qt::LeftButton, Qt::NoModifier, {50, 50});
        QTRY_VERIFY(captures.count() >= 1);
    }

    void rightPressesNeverCapture()
    {
        View view;
        QSignalSpy captures(&view, &PixmapWidget::captureImage);
        QSignalSpy menu(&view, &PixmapWidget::menuGraphique);
        view.press(Qt::RightButton);
        view.press(Qt::RightButton);
        view.press(Qt::LeftButton); // the first left press
        QCOMPARE(captures.count(), 0);
        QCOMPARE(menu.count(), 3);
        for (const QList<QVariant> &arguments : menu)
            QCOMPARE(arguments.first().toBool(), true);
    }

    void menuGoesThreeSecondsAfterTheLastPress()
    {
        View view;
        QSignalSpy menu(&view, &PixmapWidget::menuGraphique);
        view.press(Qt::LeftButton);
        // Timers may be late, but fire in the order of their times; Qt's coarse ones vary by 5 %.
        int before = 0;
        int after = 0;
        const auto at = [&view](int ms, const std::function<void()> &act) {
            QTimer::singleShot(ms, Qt::PreciseTimer, &view, act);
        };
        at(1000, [&] {
            view.press(Qt::RightButton);
            at(2800, [&] { before = menu.count(); });
            at(3200, [&] { after = menu.count(); });
        });
        QTRY_VERIFY_WITH_TIMEOUT(after > 0, kivra::test::patienceMs);
        QCOMPARE(before, 2);
        QCOMPARE(after, 3);
        QCOMPARE(menu.last().first().toBool(), false);
        QVERIFY(!menu.wait(3300)); // a tool bar that the user shows afterwards stays
    }

    void dragFollowsTheScreenPosition()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({1600, 1200})));
        view.press(Qt::LeftButton, {100, 100});
        const int before = view.paintings;
        view.moveTo({110, 100});
        QCOMPARE(view.paintings, before + 1);
        view.moveTo({110, 130});
        QCOMPARE(view.paintings, before + 2);
        QCOMPARE(placeShownAt(view.shown(), {0, 0}), QPoint(390, 270));
        view.release(Qt::LeftButton, {110, 130});
    }

    void viewThatMovesUnderTheMouseDoesNotPan()
    {
        View view;
        view.setPixmap(QPixmap::fromImage(coordinates({1600, 1200})));
        view.press(Qt::LeftButton, {100, 100});
        view.move(view.QWidget::pos() + QPoint(40, 20));
        view.moveTo({60, 80}); // the same place on the screen
        QCOMPARE(placeShownAt(view.shown(), {0, 0}), QPoint(400, 300));
        view.release(Qt::LeftButton, {60, 80});
    }

    void saveWritesWhatIsShown_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::newRow("png") << QStringLiteral("png");
        QTest::newRow("bmp") << QStringLiteral("bmp");
    }

    void saveWritesWhatIsShown()
    {
        QFETCH(QString, suffix);
        View view({200, 150});
        view.setPixmap(QPixmap::fromImage(gradient({150, 130})));
        const QString path =
            kivra::test::Sandbox::instance().home() + QStringLiteral("/seen.") + suffix;
        view.saveToFile(path);
        const QImage saved(path);
        KIVRA_COMPARE_PICTURES(saved.convertToFormat(QImage::Format_RGB32), view.shown());
    }

    void saveOfAnUnknownKindWritesNothing()
    {
        View view({20, 15});
        const QString path =
            kivra::test::Sandbox::instance().home() + QStringLiteral("/seen.kivra");
        view.saveToFile(path);
        QVERIFY(!QFile::exists(path));
    }

    void saveLeavesOutWhatIsHidden()
    {
        QWidget window;
        window.resize(120, 90);
        PixmapWidget view(&window);
        view.resize(200, 150);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QString path = kivra::test::Sandbox::instance().home() + QStringLiteral("/part.png");
        view.saveToFile(path);
        QCOMPARE(QImage(path).size(), QSize(120, 90));
    }

    void fileThatCannotBeWrittenWholeReplacesNone()
    {
        View view({200, 150});
        view.setPixmap(QPixmap::fromImage(gradient({150, 130})));
        const QString path = kivra::test::Sandbox::instance().home() + QStringLiteral("/kept.png");
        view.saveToFile(path);
        const QImage kept(path);
        QVERIFY(!kept.isNull());

        view.setPixmap(QPixmap::fromImage(gradient({90, 60})));
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit before = {};
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit few = before;
        few.rlim_cur = 100; // bytes
        setrlimit(RLIMIT_FSIZE, &few);
        view.saveToFile(path);
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, SIG_DFL);
        KIVRA_COMPARE_PICTURES(QImage(path), kept);
        QCOMPARE(QFileInfo(path).dir().entryList({QStringLiteral("kept*")}),
                 QStringList(QStringLiteral("kept.png")));
    }

    void saveToNowhereIsSilent()
    {
        View view({200, 150});
        view.saveToFile(QStringLiteral("/nowhere/at/all.jpg"));
    }

private:
    enum Presses { TooLate, SecondCaptures, Otherwise };

    // Presses left again 300 ms after the first press, and 450 ms after it, when its interval is
    // over.
    static Presses pressThreeTimes()
    {
        View view;
        QSignalSpy captures(&view, &PixmapWidget::captureImage);
        view.press(Qt::LeftButton);
        QElapsedTimer sinceFirst;
        sinceFirst.start();
        const auto pressAfter = [&](int ms) {
            if (!QTest::qWaitFor([&] { return sinceFirst.elapsed() >= ms; }))
                qFatal("the clock stands still");
            QCoreApplication::processEvents(); // handles a timer that ended meanwhile
            view.press(Qt::LeftButton);
        };
        pressAfter(300);
        if (sinceFirst.elapsed() > 370)
            return TooLate;
        const int atSecond = captures.count();
        pressAfter(450);
        return atSecond == 1 && captures.count() == 1 ? SecondCaptures : Otherwise;
    }
};

KIVRA_TEST(TestPixmapWidget)
#include "test_pixmapwidget.moc"
