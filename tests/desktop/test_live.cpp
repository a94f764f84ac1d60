// The live picture in a real window: menus, wheel, drag and double click, seen on the screen.

#include "tests/desktop/desktop.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QPainter>
#include <algorithm>

using kivra::test::Desktop;
using kivra::test::extentOf;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

namespace {

constexpr QSize liveSize(320, 240);
const QColor topLeft(230, 40, 40);
const QColor bottomRight(40, 60, 220);
const QColor blinking[] = {QColor(40, 200, 60), QColor(220, 200, 40)};
// Not simply in turn: a test that looks at the same rate would see only one colour.
constexpr int sequence[] = {0, 1, 0, 0, 1, 1, 0};

// Corner markers that show place and size, and a middle that tells one frame from the next.
QImage frame(int number)
{
    QImage picture(liveSize, QImage::Format_RGB32);
    picture.fill(QColor(250, 250, 250));
    QPainter painter(&picture);
    painter.fillRect(0, 0, 20, 20, topLeft);
    painter.fillRect(300, 220, 20, 20, bottomRight);
    painter.fillRect(150, 110, 20, 20, blinking[number]);
    return picture;
}

// From marker to marker: where the picture lies on the screen, empty unless both markers show.
QRect pictureOn(const QImage &screen)
{
    const QRect first = extentOf(screen, topLeft);
    const QRect last = extentOf(screen, bottomRight);
    if (first.isEmpty() || last.isEmpty())
        return {};
    return {first.topLeft(), last.bottomRight()};
}

} // namespace

class TestLive : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QDir folder(Sandbox::instance().home() + QStringLiteral("/frames"));
        folder.mkpath(QStringLiteral("."));
        for (size_t i = 0; i < std::size(sequence); ++i)
            QVERIFY(frame(sequence[i]).save(folder.filePath(QStringLiteral("frame%1.png").arg(i))));
        qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(folder.path()));
        qputenv("KIVRA_DEMO_SIZE", "320x240");
        qputenv("KIVRA_DEMO_RATE", "4"); // slower than the test looks
        desktop = std::make_unique<Desktop>();
    }

    void init()
    {
        Sandbox::instance().reset();
        QVERIFY(desktop->start());
        QTRY_COMPARE_WITH_TIMEOUT(pictureOn(desktop->screen()).size(), liveSize, patienceMs);
    }

    void cleanup()
    {
        desktop->keepScreenshot(QString::fromLatin1(QTest::currentTestFunction()));
        QCOMPARE(desktop->close(), 0);
    }

    void cleanupTestCase() { desktop.reset(); }

    // It would double the work of the start.
    void graphicsDriverIsNotLoaded()
    {
        const QByteArray files = desktop->loadedFiles();
        QVERIFY(files.contains("/platforms/libqxcb.so"));
        QVERIFY(!files.contains("/xcbglintegrations/"));
    }

    void pictureMoves()
    {
        for (const QColor &colour : {blinking[0], blinking[1], blinking[0], blinking[1]})
            QVERIFY(comesToShow(colour));
    }

    void pictureIsSharp()
    {
        const QImage screen = desktop->screen();
        const QRect place = pictureOn(screen);
        QCOMPARE(extentOf(screen, topLeft).size(), QSize(20, 20));
        const QRgb outside = screen.pixel(place.center().x(), place.top() - 1);
        QCOMPARE(outside, 0xff000000); // the frame around a picture smaller than the view
        QCOMPARE(screen.pixel(place.left() + 30, place.top() + 30), 0xfffafafa);
    }

    void wheelZooms()
    {
        const QPoint middle = pictureOn(desktop->screen()).center();
        desktop->click(middle, 4);
        QTRY_COMPARE_WITH_TIMEOUT(pictureOn(desktop->screen()).width(), 358,
                                  patienceMs); // 320 x 1.12
        desktop->click(middle, 5);
        QTRY_COMPARE_WITH_TIMEOUT(pictureOn(desktop->screen()).width(), 315,
                                  patienceMs); // and x 0.88
    }

    void dragMovesWhatIsLargerThanTheView()
    {
        const QPoint middle = pictureOn(desktop->screen()).center();
        for (int step = 0; step < 8; ++step)
            desktop->click(middle, 4);
        // 2.476 times: 792 wide, more than the view, and 594 high.
        QTRY_VERIFY_WITH_TIMEOUT(blinkingWidth() > 45, patienceMs);
        QTRY_VERIFY_WITH_TIMEOUT(extentOf(desktop->screen(), topLeft).isEmpty(), patienceMs);
        desktop->moveTo(middle);
        desktop->press();
        desktop->moveTo(middle + QPoint(60, 60));
        QTRY_VERIFY_WITH_TIMEOUT(!extentOf(desktop->screen(), topLeft).isEmpty(), patienceMs);
        desktop->release();
    }

    void heldButtonFreezesThePicture()
    {
        const QPoint middle = pictureOn(desktop->screen()).center();
        desktop->moveTo(middle);
        desktop->press();
        // The press shows the tool bar; from then on the same frame stays.
        QTRY_VERIFY_WITH_TIMEOUT(pictureOn(desktop->screen()).center() != middle, patienceMs);
        const QColor other = otherColour(shownColour());
        QVERIFY(neverShows(other, 1000));
        desktop->release();
        QVERIFY(comesToShow(other));
    }

    void clickShowsTheToolBarForAWhile()
    {
        const QRect before = pictureOn(desktop->screen());
        desktop->click(before.center(), 3);
        QTRY_VERIFY_WITH_TIMEOUT(pictureOn(desktop->screen()).top() > before.top(), patienceMs);
        desktop->keepScreenshot(QStringLiteral("toolbar"));
        QTRY_COMPARE_WITH_TIMEOUT(pictureOn(desktop->screen()).top(), before.top(), patienceMs);
    }

    void doubleClickStoresAPicture()
    {
        desktop->doubleClick(pictureOn(desktop->screen()).center());
        QTRY_COMPARE_WITH_TIMEOUT(Sandbox::instance().storedFiles().size(), 1, patienceMs);
    }

    // The first press brings up the tool bar, with the button that ends the program at this place.
    void doubleClickNearTheTopStoresAPicture()
    {
        desktop->doubleClick(desktop->activeWindow(), {437, 41}, 150);
        QTRY_COMPARE_WITH_TIMEOUT(Sandbox::instance().storedFiles().size(), 1, patienceMs);
        QVERIFY(desktop->running());
    }

    void menuStopsAndStartsTheCamera()
    {
        const QPoint cameraMenu(85, 10);
        desktop->clickInWindow(cameraMenu);
        desktop->key(QStringLiteral("Down"));
        desktop->keepScreenshot(QStringLiteral("menu"));
        desktop->key(QStringLiteral("Return")); // Start is disabled: the first entry is Stop
        QVERIFY(QTest::qWaitFor([&] { return standsStill(); }, patienceMs));
        desktop->clickInWindow(cameraMenu);
        desktop->key(QStringLiteral("Down"));
        desktop->key(QStringLiteral("Return"));
        pictureMoves();
    }

private:
    int blinkingWidth() const
    {
        const QImage screen = desktop->screen();
        return std::max(extentOf(screen, blinking[0]).width(),
                        extentOf(screen, blinking[1]).width());
    }

    // Whether the blinking square in the middle of the view has this colour; quick to tell.
    bool shows(const QColor &colour) const
    {
        QRect middle(0, 0, 120, 120);
        middle.moveCenter(QRect(QPoint(), desktop->windowSize()).center());
        return !extentOf(desktop->windowContent(middle), colour).isEmpty();
    }

    // QTRY_VERIFY would look again at the end, when the colour may already be gone.
    bool comesToShow(const QColor &colour) const
    {
        return QTest::qWaitFor([&] { return shows(colour); }, patienceMs);
    }

    // True if this colour is not seen for that long. At four frames a second and at most two of a
    // kind in a row, that means that the picture stands still.
    bool neverShows(const QColor &colour, int ms) const
    {
        return !QTest::qWaitFor([&] { return shows(colour); }, ms);
    }

    QColor shownColour() const { return shows(blinking[0]) ? blinking[0] : blinking[1]; }

    static QColor otherColour(const QColor &colour)
    {
        return colour == blinking[0] ? blinking[1] : blinking[0];
    }

    bool standsStill() const { return neverShows(otherColour(shownColour()), 1000); }

    std::unique_ptr<Desktop> desktop;
};

KIVRA_TEST(TestLive)
#include "test_live.moc"
