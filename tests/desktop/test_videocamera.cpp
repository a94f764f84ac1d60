// Cameras of the kernel in the built program: the live picture of each kind of camera, stills, and
// cameras that are unplugged, plugged in again, busy or forbidden. Their nodes are simulated
// (tests/videonode).

#include "tests/desktop/desktop.h"
#include "tests/reference/reference.h"
#include "tests/support/patience.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"
#include "tests/videonode/videonodes.h"

#include <QDir>
#include <QImageReader>
#include <QLibraryInfo>
#include <QPainter>
#include <algorithm>
#include <array>

using kivra::test::Desktop;
using kivra::test::extentOf;
using kivra::test::patienceMs;
using kivra::test::Sandbox;
using kivra::test::VideoNodes;
using Cameras = Desktop::Cameras;

namespace {

using Quarters = std::array<QColor, 4>;

const Quarters seen = {QColor(200, 40, 40), QColor(40, 180, 60), QColor(50, 60, 190),
                       QColor(220, 220, 220)};
const QColor demonstration(180, 40, 200);
const QColor storedPage(230, 180, 20);

// This much of the middle of each frame is examined; the view shows at least that.
constexpr QSize middle(640, 480);

// Below the middle, where no box covers it.
constexpr QRect beacon(-12, 200, 24, 24);

// Like USB document cameras: compressed at full rate; raw, the larger the slower.
const QStringList documentCamera = {
    QStringLiteral("YUYV 1920x1080@5"),  QStringLiteral("YUYV 1280x720@10"),
    QStringLiteral("YUYV 640x480@30"),   QStringLiteral("MJPG 1280x720@30"),
    QStringLiteral("MJPG 1920x1080@30"), QStringLiteral("MJPG 3840x2160@30")};
const QStringList webcam = {QStringLiteral("YUYV 640x480@30")};

// Alike within what the way to the camera's colour space and back costs, compression included, and
// what the blinking square adds where the whole picture is equalised.
bool alike(const QColor &one, const QColor &other)
{
    constexpr int tolerance = 6;
    return qAbs(one.red() - other.red()) <= tolerance &&
           qAbs(one.green() - other.green()) <= tolerance &&
           qAbs(one.blue() - other.blue()) <= tolerance;
}

bool alike(const Quarters &one, const Quarters &other)
{
    return std::equal(one.begin(), one.end(), other.begin(),
                      [](const QColor &a, const QColor &b) { return alike(a, b); });
}

// The colours in the middle of each quarter of the picture.
Quarters quarters(const QImage &picture)
{
    const int x = picture.width() / 4;
    const int y = picture.height() / 4;
    return {picture.pixelColor(x, y), picture.pixelColor(3 * x, y), picture.pixelColor(x, 3 * y),
            picture.pixelColor(3 * x, 3 * y)};
}

// A picture in these colours, with a square in its middle that is an eighth of its height wide, and
// the beacon.
QImage wholeFrame(const QSize &size, const Quarters &colours, const QColor &square = Qt::black)
{
    QImage frame(size, QImage::Format_RGB32);
    const QSize quarter = size / 2;
    QPainter painter(&frame);
    for (int i = 0; i < 4; ++i) {
        const QPoint corner(i % 2 * quarter.width(), i / 2 * quarter.height());
        painter.fillRect(QRect(corner, quarter), colours.at(size_t(i)));
    }
    QRect place(0, 0, size.height() / 8, size.height() / 8);
    place.moveCenter(frame.rect().center());
    painter.fillRect(place, square);
    painter.fillRect(beacon.translated(frame.rect().center()), square);
    return frame;
}

QString names(const Quarters &colours)
{
    QStringList each;
    for (const QColor &one : colours)
        each += one.name();
    return each.join(QLatin1Char(' '));
}

Quarters negativeOf(Quarters colours)
{
    for (QColor &one : colours)
        one.setRgb(one.rgb() ^ 0x00ffffff);
    return colours;
}

} // namespace

class TestVideoCamera : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QDir home(Sandbox::instance().home());
        machine.mkpath(QStringLiteral("."));
        nodes = std::make_unique<VideoNodes>(machine.path());
        for (const QSize &size : {QSize(1280, 720), QSize(1920, 1080), QSize(3840, 2160)})
            nodes->setFrames(QStringLiteral("MJPG"), bothFrames(size));
        for (const QSize &size : {QSize(640, 480), QSize(1920, 1080)})
            nodes->setFrames(QStringLiteral("YUYV"), bothFrames(size));

        home.mkpath(QStringLiteral("frames"));
        QImage plain(320, 240, QImage::Format_RGB32);
        plain.fill(demonstration);
        QVERIFY(plain.save(home.filePath(QStringLiteral("frames/plain.png"))));
        qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(home.filePath(QStringLiteral("frames"))));
        qputenv("KIVRA_DEMO_SIZE", "320x240");
    }

    void init()
    {
        Sandbox::instance().reset();
        for (const int number : {0, 1, 2})
            nodes->unplug(number);
        nodes->setBusy(false);
        nodes->setForbidden(false);
        nodes->setAnyBandwidth();
    }

    void cleanup()
    {
        if (QTest::currentTestFailed() && desktop)
            desktop->keepScreenshot(QString::fromLatin1(QTest::currentTestFunction()));
        if (desktop && desktop->running())
            QCOMPARE(desktop->close(), 0);
        desktop.reset();
    }

    void everyKind_data()
    {
        QTest::addColumn<QStringList>("formats");
        QTest::addColumn<QString>("wish");
        QTest::addColumn<QSize>("size");
        QTest::newRow("document camera on USB 2")
            << documentCamera << QString() << QSize(1920, 1080);
        QTest::newRow("raw at full rate")
            << QStringList{QStringLiteral("MJPG 1920x1080@30"), QStringLiteral("YUYV 1920x1080@30")}
            << QString() << QSize(1920, 1080);
        QTest::newRow("raw alone") << webcam << QString() << QSize(640, 480);
        QTest::newRow("4K by setting")
            << documentCamera << QStringLiteral("3840x2160@30") << QSize(3840, 2160);
    }

    // Neither mirrored nor upside down, and no two colours swapped.
    void everyKind()
    {
        QFETCH(QStringList, formats);
        QFETCH(QString, wish);
        QFETCH(QSize, size);
        prepare(Cameras::Video);
        desktop->setVariable(QStringLiteral("KIVRA_CAMERA_FORMAT"), wish);
        plugIn(0, formats);
        start();
        QVERIFY(shows(seen));
        QVERIFY(moves());
        desktop->keepScreenshot(QStringLiteral("videocamera-%1").arg(size.width()));
        QCOMPARE(QImage(newPicture()).size(), size);
    }

    void everyMode()
    {
        startWith(webcam);
        const QImage filmed = wholeFrame(middle, quarters(picture()));
        for (int mode = 0; mode <= 5; ++mode) { // the menu does not offer the last one
            const QImage expected = kivra::reference::mode(filmed, mode);
            QVERIFY(mode == 0 || !alike(quarters(picture()), quarters(expected)));
            chooseMode(mode);
            QVERIFY2(shows(quarters(expected)),
                     qPrintable(QStringLiteral("mode %1: %2 instead of %3")
                                    .arg(QString::number(mode), names(quarters(picture())),
                                         names(quarters(expected)))));
            QVERIFY(moves());
        }
    }

    void stopAndStart()
    {
        startWith(documentCamera);
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(QTest::qWaitFor([&] { return standsStill(); }, patienceMs));
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(moves());
    }

    // Byte for byte, whatever the mode on the screen.
    void stillIsTheCamerasOwn()
    {
        startWith(documentCamera);
        desktop->key(QStringLiteral("ctrl+i"));
        QFile still(newPicture());
        QVERIFY(still.open(QIODevice::ReadOnly));
        const QByteArray content = still.readAll();
        const auto frame = [&](int number) {
            return nodes->frame(QStringLiteral("MJPG"), {1920, 1080}, number);
        };
        QVERIFY(content == frame(0) || content == frame(1));
    }

    void stillOfARawCamera()
    {
        startWith(webcam);
        const QImage still(newPicture());
        QCOMPARE(still.size(), QSize(640, 480));
        QVERIFY2(alike(quarters(still), seen), qPrintable(names(quarters(still))));
    }

    // The picture comes back behind the box, without a click, as it was.
    void unpluggedAndBack()
    {
        startWith(documentCamera);
        desktop->key(QStringLiteral("ctrl+i"));
        QVERIFY(shows(negativeOf(seen)));
        nodes->unplug(0);
        QVERIFY(desktop->waitForDialog());
        QCOMPARE(dialogTitle(), QStringLiteral("Camera error"));
        desktop->keepScreenshot(QStringLiteral("unplugged"));
        plugIn(0, documentCamera);
        QVERIFY(movesBesideTheBox());
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        QVERIFY(shows(negativeOf(seen)));
        QVERIFY(moves());
    }

    void backOnAnotherNode()
    {
        startWith(documentCamera);
        loseAndConfirm();
        plugIn(2, documentCamera);
        QVERIFY(moves());
    }

    void stopEndsTheWaiting()
    {
        startWith(webcam);
        loseAndConfirm();
        desktop->key(QStringLiteral("ctrl+k"));
        plugIn(0, webcam);
        QVERIFY(standsStill(1500)); // longer than the pause before another try
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(moves());
    }

    void unpluggedUnderAHeldButton()
    {
        startWith(webcam);
        const QPoint view(40, 200);
        desktop->moveTo(desktop->contentPosition() + view);
        desktop->press();
        nodes->unplug(0);
        QVERIFY(desktop->waitForDialog());
        desktop->release();
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        plugIn(0, webcam);
        QVERIFY(moves());
    }

    void busyOrForbidden_data()
    {
        QTest::addColumn<bool>("forbidden");
        QTest::newRow("busy") << false;
        QTest::newRow("forbidden") << true;
    }

    void busyOrForbidden()
    {
        QFETCH(bool, forbidden);
        prepare(Cameras::Video);
        nodes->setBusy(!forbidden);
        nodes->setForbidden(forbidden);
        plugIn(0, webcam);
        QVERIFY(desktop->start());
        QVERIFY(desktop->waitForDialog());
        QCOMPARE(dialogTitle(), QStringLiteral("Camera error"));
        desktop->keepScreenshot(QString::fromLatin1(QTest::currentDataTag()));
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        nodes->setBusy(false);
        nodes->setForbidden(false);
        QVERIFY(moves());
    }

    void smallerFormatForWantOfBandwidth()
    {
        nodes->setBandwidth(qint64(1280) * 720 * 30 / 4);
        startWith(documentCamera);
        QCOMPARE(QImage(newPicture()).size(), QSize(1280, 720));
    }

    void noBandwidthAtAll()
    {
        nodes->setBandwidth(1000);
        prepare(Cameras::Video);
        plugIn(0, documentCamera);
        QVERIFY(desktop->start());
        QVERIFY(desktop->waitForDialog());
        desktop->keepScreenshot(QStringLiteral("no bandwidth"));
        nodes->setAnyBandwidth();
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        QVERIFY(moves());
    }

    void firstCameraOpensByItself()
    {
        prepare(Cameras::Video);
        QVERIFY(desktop->start());
        QVERIFY(desktop->waitForDialog());
        desktop->keepScreenshot(QStringLiteral("no camera"));
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        plugIn(1, webcam);
        QVERIFY(shows(seen));
        QVERIFY(moves());
    }

    // A camera that arrives beside the demonstration is chosen in the menu.
    void arrivesBesideTheDemonstration()
    {
        prepare(Cameras::VideoAndDemonstration);
        start();
        QTRY_COMPARE_WITH_TIMEOUT(extentOf(desktop->windowContent(), demonstration).size(),
                                  QSize(320, 240), patienceMs);
        plugIn(0, webcam);
        const QPoint cameraMenu(85, 10);
        // Until the program has heard of the camera, the last entry is another one.
        QVERIFY(QTest::qWaitFor(
            [&] {
                desktop->clickInWindow(cameraMenu);
                desktop->key(QStringLiteral("Up"));
                desktop->keepScreenshot(QStringLiteral("menu"));
                desktop->key(QStringLiteral("Return"));
                return QTest::qWaitFor([&] { return alike(quarters(picture()), seen); }, 1000);
            },
            patienceMs));
        QVERIFY(moves());
    }

    // The machine's service ignores a camera that offers only compressed pictures.
    void besideTheMachinesService()
    {
        const QDir plugins(QLibraryInfo::location(QLibraryInfo::PluginsPath));
        if (!plugins.exists(QStringLiteral("mediaservice/libgstcamerabin.so")))
            QSKIP("the machine has no camera service of its own");
        prepare(Cameras::VideoAndMachines);
        plugIn(0, {QStringLiteral("MJPG 1920x1080@30")});
        start();
        QVERIFY(shows(seen));
        QVERIFY(moves());
    }

    // Frames that are on their way when the camera stops are not seen any more.
    void pictureOpenedAtOnceStays()
    {
        const QString folder =
            Sandbox::instance().documents() + QStringLiteral("/TablinoQt/tableaux/2024-05");
        QVERIFY(QDir().mkpath(folder));
        QImage page(640, 480, QImage::Format_RGB32);
        page.fill(storedPage);
        QVERIFY(page.save(folder + QStringLiteral("/im240501080000.png")));
        startWith(documentCamera);
        for (int times = 0; times < 5; ++times) {
            desktop->key(QStringLiteral("space"));
            QTRY_VERIFY_WITH_TIMEOUT(alike(quarters(picture()).at(0), storedPage), patienceMs);
            QVERIFY(standsStill());
            QVERIFY(alike(quarters(picture()).at(0), storedPage));
            desktop->key(QStringLiteral("ctrl+k"));
            QVERIFY(shows(seen));
        }
    }

private:
    static std::vector<QImage> bothFrames(const QSize &size)
    {
        return {wholeFrame(size, seen, Qt::black), wholeFrame(size, seen, Qt::white)};
    }

    void prepare(Cameras cameras)
    {
        desktop = std::make_unique<Desktop>(cameras);
        const QMap<QString, QString> environment = nodes->environment();
        for (auto variable = environment.begin(); variable != environment.end(); ++variable)
            desktop->setVariable(variable.key(), variable.value());
    }

    void plugIn(int number, const QStringList &formats) const
    {
        VideoNodes::Camera camera;
        camera.number = number;
        camera.formats = formats;
        nodes->plugIn(camera);
    }

    void start() const { QVERIFY(desktop->start() && desktop->waitForMainWindow()); }

    void startWith(const QStringList &formats)
    {
        prepare(Cameras::Video);
        plugIn(0, formats);
        start();
        QVERIFY(shows(seen));
    }

    void loseAndConfirm() const
    {
        nodes->unplug(0);
        QVERIFY(desktop->waitForDialog());
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        // What the box covered is drawn again.
        QVERIFY(QTest::qWaitFor([this] { return standsStill(); }, patienceMs));
    }

    void chooseMode(int mode) const
    {
        const QPoint modeMenu(195, 10);
        desktop->clickInWindow(modeMenu);
        for (int step = 0; step <= mode; ++step)
            desktop->key(QStringLiteral("Down"));
        desktop->key(QStringLiteral("Return"));
    }

    // The middle of the window's view.
    QImage picture(const QSize &size = middle) const
    {
        QRect place(QPoint(), size);
        place.moveCenter(QRect(QPoint(), desktop->windowSize()).center());
        return desktop->windowContent(place);
    }

    bool shows(const Quarters &colours) const
    {
        return QTest::qWaitFor([&] { return alike(quarters(picture()), colours); }, patienceMs);
    }

    // Whether the square in the middle, or its outline, changes within this time.
    bool moves(int withinMs = patienceMs) const
    {
        const QSize around(100, 100);
        const QImage before = picture(around);
        return QTest::qWaitFor([&] { return picture(around) != before; }, withinMs);
    }

    bool standsStill(int forMs = 500) const { return !moves(forMs); }

    // Looks at the beacon, because the box covers the middle.
    bool movesBesideTheBox() const
    {
        const QRect place = beacon.translated(picture().rect().center());
        const QImage before = picture().copy(place);
        return QTest::qWaitFor([&] { return picture().copy(place) != before; }, patienceMs);
    }

    QString dialogTitle() const { return desktop->nameOf(desktop->activeWindow()); }

    // Path of the picture that the capture command stores, complete; empty if none comes.
    QString newPicture() const
    {
        const QStringList before = Sandbox::instance().storedFiles();
        QString path;
        desktop->key(QStringLiteral("ctrl+s"));
        const auto complete = [&] {
            for (const QString &stored : Sandbox::instance().storedFiles()) {
                if (!before.contains(stored))
                    path = stored;
            }
            return !path.isEmpty() && !QImage(path).isNull();
        };
        return QTest::qWaitFor(complete, patienceMs) ? path : QString();
    }

    const QDir machine{Sandbox::instance().home() + QStringLiteral("/machine")};
    std::unique_ptr<VideoNodes> nodes;
    std::unique_ptr<Desktop> desktop;
};

KIVRA_TEST(TestVideoCamera)
#include "test_videocamera.moc"
