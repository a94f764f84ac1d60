// The two settings for large screens: the picture in the whole window, and the live page seen
// whole.

#include "tests/app/windowtest.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

using kivra::test::Sandbox;
using kivra::test::storeSetting;
using kivra::test::WindowTest;

namespace {

const QString wholeWindow = QStringLiteral("preferences/wholeWindow");
const QString fitLive = QStringLiteral("preferences/fitLive");
constexpr QSize largeWindow(1800, 1300);
constexpr QRgb paper = 0xffffffff;

QImage page(const QSize &size)
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(paper);
    return picture;
}

} // namespace

class TestWholePage : public WindowTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void centreIsLimited()
    {
        openWindow();
        window->resize(largeWindow);
        QTRY_COMPARE(window->centralWidget()->size(), QSize(1200, 800));
    }

    void centreFillsTheWindowOnRequest()
    {
        storeSetting(wholeWindow, true);
        openWindow();
        window->resize(largeWindow);
        QTRY_COMPARE(window->centralWidget()->width(), largeWindow.width());
        QVERIFY(window->centralWidget()->height() > 1200);
    }

    void openedPictureUsesTheWholeWindow()
    {
        storeSetting(wholeWindow, true);
        openWindow();
        window->resize(largeWindow);
        QTRY_COMPARE(window->centralWidget()->width(), largeWindow.width());
        open(page({400, 200}));
        QCOMPARE(shownSize().width(), window->probe.view()->width());
    }

    void livePictureKeepsItsScale()
    {
        openWindow();
        device().pushPicture(page({200, 100}));
        QCOMPARE(shownSize(), QSize(200, 100));
    }

    void livePictureIsFittedAtItsFirstFrame_data()
    {
        QTest::addColumn<QSize>("frame");
        QTest::newRow("smaller") << QSize(200, 100);
        QTest::newRow("wider than the view") << QSize(2000, 700);
        QTest::newRow("higher than the view") << QSize(600, 900);
    }

    void livePictureIsFittedAtItsFirstFrame()
    {
        QFETCH(QSize, frame);
        storeSetting(fitLive, true);
        openWindow();
        device().pushPicture(page(frame));
        QVERIFY(isWhole(frame));
    }

    void livePictureIsFittedAtEachResize()
    {
        storeSetting(fitLive, true);
        openWindow();
        const QSize frame(640, 360);
        device().pushPicture(page(frame));
        for (const QSize &size : {QSize(900, 500), QSize(500, 900), QSize(680, 480)}) {
            window->resize(size);
            QTRY_COMPARE(window->size(), size);
            QCoreApplication::processEvents();
            QVERIFY(isWhole(frame));
        }
    }

    void reducedFieldIsFitted()
    {
        storeSetting(fitLive, true);
        storeSetting(QStringLiteral("preferences/restore"), true);
        openWindow();
        device().pushPicture(page({800, 400}));
        QVERIFY(isWhole({400, 200}));
    }

    void laterFramesKeepTheScale()
    {
        storeSetting(fitLive, true);
        openWindow();
        device().pushPicture(page({320, 240}));
        const QSize fitted = shownSize();
        storeSetting(fitLive, false);
        device().pushPicture(page({320, 240}));
        QCOMPARE(shownSize(), fitted);
    }

    void zoomEnlargesTheFittedPage()
    {
        storeSetting(fitLive, true);
        openWindow();
        device().pushPicture(page({320, 240}));
        const QSize fitted = shownSize();
        window->probe.view()->setZoomFactor(0.5F);
        QVERIFY(qAbs(shownSize().width() - fitted.width() / 2) <= 1);
    }

    void openedPictureIsFittedToTheWidthAsEver()
    {
        storeSetting(fitLive, true);
        openWindow();
        device().pushPicture(page({640, 360}));
        open(page({300, 100}));
        const int width = window->probe.view()->width();
        QCOMPARE(shownSize().width(), width);
        window->resize(900, 700);
        QTRY_VERIFY(window->probe.view()->width() != width);
        QCOMPARE(shownSize().width(), width); // a resize does not fit an opened picture anew
    }

    void nextStartFitsAgain()
    {
        storeSetting(fitLive, true);
        openWindow();
        device().pushPicture(page({640, 360}));
        open(page({300, 100}));
        window->call("startCamera");
        QTRY_VERIFY(device().isRunning());
        device().pushPicture(page({320, 240}));
        QVERIFY(isWhole({320, 240}));
    }

    void anotherCameraIsFitted()
    {
        plugInTwo();
        storeSetting(fitLive, true);
        openWindow();
        device().pushPicture(page({640, 360}));
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        device().pushPicture(page({240, 320}));
        QVERIFY(isWhole({240, 320}));
    }

private:
    void open(const QImage &picture) const
    {
        const QString path = Sandbox::instance().documents() + QStringLiteral("/page.png");
        QVERIFY(picture.save(path));
        window->open(path);
    }

    // The extent of the white page inside its frame.
    QSize shownSize() const
    {
        const QImage shown = window->probe.view()->grab().toImage();
        const QPoint centre = shown.rect().center();
        const auto extent = [&](const QPoint &step) {
            int count = 0;
            for (QPoint at = centre; shown.valid(at) && shown.pixel(at) == paper; at += step)
                ++count;
            return count;
        };
        return {extent({-1, 0}) + extent({1, 0}) - 1, extent({0, -1}) + extent({0, 1}) - 1};
    }

    // One side is as long as the view's, the other in proportion and no longer.
    bool isWhole(const QSize &frame) const
    {
        const QSize expected = frame.scaled(window->probe.view()->size(), Qt::KeepAspectRatio);
        const QSize shown = shownSize();
        return qAbs(shown.width() - expected.width()) <= 1 &&
               qAbs(shown.height() - expected.height()) <= 1;
    }
};

KIVRA_TEST(TestWholePage)
#include "test_wholepage.moc"
