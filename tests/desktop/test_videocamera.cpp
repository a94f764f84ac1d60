// A camera of Video4Linux, reached as real ones are: through Qt's GStreamer service, whose own
// source element opens /dev/video0. The node comes from kivra_videonode, preloaded into the
// program.

#include "tests/desktop/desktop.h"
#include "tests/desktop/videonode.h"
#include "tests/reference/reference.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QImageReader>
#include <QLibrary>
#include <QLibraryInfo>
#include <QPainter>
#include <QRegularExpression>
#include <sys/stat.h>

using kivra::test::Desktop;
using kivra::test::extentOf;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

namespace node = kivra::test::videonode;

namespace {

constexpr QSize smallSize(node::sizes[0].width, node::sizes[0].height);
constexpr QSize largeSize(node::sizes[1].width, node::sizes[1].height);
const QColor demonstration(180, 40, 200);

QColor colour(const node::Colour &one)
{
    return {one.red, one.green, one.blue};
}

// As far as the way to the camera's colour space and back allows, and the blinking square, which
// has its share in what equalises the whole picture.
bool alike(const QColor &one, const QColor &other)
{
    constexpr int tolerance = 6;
    return qAbs(one.red() - other.red()) <= tolerance &&
           qAbs(one.green() - other.green()) <= tolerance &&
           qAbs(one.blue() - other.blue()) <= tolerance;
}

// In the middle of each quarter of the picture.
std::array<QColor, 4> quarters(const QImage &picture)
{
    const int x = picture.width() / 4;
    const int y = picture.height() / 4;
    return {picture.pixelColor(x, y), picture.pixelColor(3 * x, y), picture.pixelColor(x, 3 * y),
            picture.pixelColor(3 * x, 3 * y)};
}

// The camera's picture, of which the view may show a part only, in these colours.
QImage wholeFrame(const std::array<QColor, 4> &colours)
{
    QImage frame(largeSize, QImage::Format_RGB32);
    const QSize quarter = largeSize / 2;
    QPainter painter(&frame);
    for (int i = 0; i < 4; ++i) {
        const QPoint corner(i % 2 * quarter.width(), i / 2 * quarter.height());
        painter.fillRect(QRect(corner, quarter), colours.at(size_t(i)));
    }
    QRect square(0, 0, largeSize.height() / 8, largeSize.height() / 8);
    square.moveCenter(frame.rect().center());
    painter.fillRect(square, Qt::black);
    return frame;
}

const std::array<QColor, 4> seen = {colour(node::topLeft), colour(node::topRight),
                                    colour(node::bottomLeft), colour(node::bottomRight)};

bool alike(const std::array<QColor, 4> &one, const std::array<QColor, 4> &other)
{
    return std::equal(one.begin(), one.end(), other.begin(),
                      [](const QColor &a, const QColor &b) { return alike(a, b); });
}

// The service keeps brightness 16 to 235 in its files, which readers take for 0 to 255.
std::array<QColor, 4> asInFiles(std::array<QColor, 4> colours)
{
    const auto paler = [](int value) { return 16 + value * 219 / 255; };
    for (QColor &one : colours)
        one.setRgb(paler(one.red()), paler(one.green()), paler(one.blue()));
    return colours;
}

QString names(const std::array<QColor, 4> &colours)
{
    QStringList each;
    for (const QColor &one : colours)
        each += one.name();
    return each.join(QLatin1Char(' '));
}

// The Debian package that is missing for Qt's camera service; empty when all are there.
QString missingPackage()
{
    const QDir plugins(QLibraryInfo::location(QLibraryInfo::PluginsPath));
    if (!plugins.exists(QStringLiteral("mediaservice/libgstcamerabin.so")))
        return QStringLiteral("libqt5multimedia5-plugins");
    const QString library = QStringLiteral("gstreamer-1.0");
    using Initialise = void (*)(int *, char ***);
    using Find = void *(*)(const char *);
    const auto initialise = reinterpret_cast<Initialise>(QLibrary::resolve(library, 0, "gst_init"));
    const auto find =
        reinterpret_cast<Find>(QLibrary::resolve(library, 0, "gst_element_factory_find"));
    if (!initialise || !find)
        return QStringLiteral("libgstreamer1.0-0");
    initialise(nullptr, nullptr);
    const std::pair<const char *, const char *> elements[] = {
        {"videoconvert", "gstreamer1.0-plugins-base"},
        {"v4l2src", "gstreamer1.0-plugins-good"},
        {"camerabin", "gstreamer1.0-plugins-bad"},
    };
    for (const auto &[element, package] : elements) {
        if (!find(element))
            return QLatin1String(package);
    }
    return {};
}

} // namespace

class TestVideoCamera : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QString missing = missingPackage();
        if (!missing.isEmpty())
            QSKIP(qPrintable(QStringLiteral("Install the Debian package %1.").arg(missing)));

        const QDir home(Sandbox::instance().home());
        home.mkpath(QStringLiteral("devices"));
        home.mkpath(QStringLiteral("frames"));
        devices = home.filePath(QStringLiteral("devices"));
        QImage plain(smallSize, QImage::Format_RGB32);
        plain.fill(demonstration);
        QVERIFY(plain.save(home.filePath(QStringLiteral("frames/plain.png"))));
        qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(home.filePath(QStringLiteral("frames"))));
        qputenv("KIVRA_DEMO_SIZE", "320x240");

        desktop = std::make_unique<Desktop>(Desktop::Cameras::All);
        desktop->setVariable(QStringLiteral("LD_PRELOAD"), QStringLiteral(KIVRA_VIDEO_NODE));
        desktop->setVariable(QStringLiteral("KIVRA_TEST_DEVICES"), devices);
    }

    void init()
    {
        Sandbox::instance().reset();
        plugIn();
        QFile::remove(devices + QStringLiteral("/busy"));
        if (!desktop->running())
            QVERIFY(startProgram());
        QVERIFY(shows(seen));
    }

    void cleanup()
    {
        if (!QTest::currentTestFailed())
            return;
        desktop->keepScreenshot(QString::fromLatin1(QTest::currentTestFunction()));
        desktop->close(); // the next test begins with another program
    }

    void cleanupTestCase()
    {
        if (desktop && desktop->running())
            QCOMPARE(desktop->close(), 0);
        desktop.reset();
    }

    // Neither mirrored nor upside down, and no two colours changed for each other.
    void everyQuarterWhereItBelongs()
    {
        QVERIFY(shows(seen));
        desktop->keepScreenshot(QStringLiteral("videocamera"));
    }

    void pictureMoves() { QVERIFY(moves()); }

    void everyMode_data()
    {
        QTest::addColumn<int>("mode");
        for (int mode = 0; mode <= 5; ++mode) // the menu does not let the user have the last one
            QTest::addRow("%d", mode) << mode;
    }

    void everyMode()
    {
        QFETCH(int, mode);
        const QImage expected =
            kivra::reference::mode(wholeFrame(quarters(picture(largeSize))), mode);
        chooseMode(mode);
        QVERIFY2(shows(quarters(expected)),
                 qPrintable(names(quarters(picture(largeSize))) + QStringLiteral(" instead of ") +
                            names(quarters(expected))));
        QVERIFY(moves());
        chooseMode(0);
        QVERIFY(shows(seen));
    }

    void stopAndStart()
    {
        desktop->key(QStringLiteral("ctrl+k"));
        QTRY_VERIFY_WITH_TIMEOUT(standsStill(), patienceMs);
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(moves());
    }

    void stillIsTheCamerasOwn()
    {
        desktop->key(QStringLiteral("ctrl+i")); // negative, on the screen only
        const QString path = newPicture({});
        const QRegularExpression form(
            QStringLiteral("/TablinoQt/tableaux/\\d{4}-\\d{2}/im\\d{12}\\.jpg$"));
        QVERIFY2(form.match(path).hasMatch(), qPrintable(path));
        QImageReader reader(path);
        QCOMPARE(reader.format(), QByteArray("jpeg"));
        const QImage still = reader.read();
        QCOMPARE(still.size(), largeSize);
        QVERIFY2(alike(quarters(still), asInFiles(seen)), qPrintable(names(quarters(still))));
        desktop->key(QStringLiteral("ctrl+i"));
        QVERIFY(shows(seen));
    }

    // The service heeds format and size; whatever quality is asked for, it writes the same.
    void stillOfTheChosenSize()
    {
        for (const QSize &size : {smallSize, largeSize}) {
            desktop->key(QStringLiteral("F8"));
            QVERIFY(desktop->waitForDialog());
            desktop->xdo(QStringLiteral("type %1x%2").arg(size.width()).arg(size.height()));
            desktop->key(QStringLiteral("Tab"));
            desktop->xdo(QStringLiteral("type jpeg"));
            desktop->key(QStringLiteral("Tab"));
            desktop->key(QStringLiteral("End"));
            desktop->key(QStringLiteral("Return"));
            QVERIFY(desktop->waitForMainWindow());
            // The camera starts anew, in this size, before it takes a picture.
            QTRY_VERIFY_WITH_TIMEOUT(qAbs(shownWidth() - size.width()) < 20, patienceMs);
            QVERIFY(moves());
            const QString path = newPicture(Sandbox::instance().storedFiles());
            QCOMPARE(QImageReader(path).format(), QByteArray("jpeg"));
            QCOMPARE(QImage(path).size(), size);
        }
    }

    void toTheDemonstrationAndBack()
    {
        chooseCamera(1);
        QTRY_COMPARE_WITH_TIMEOUT(extentOf(desktop->windowContent(), demonstration).size(),
                                  smallSize, patienceMs);
        chooseCamera(0);
        QVERIFY(shows(seen));
        QVERIFY(moves());
    }

    void unpluggedAndPluggedInAgain()
    {
        unplug();
        QVERIFY(desktop->waitForDialog());
        QCOMPARE(dialogTitle(), QStringLiteral("Camera error"));
        desktop->keepScreenshot(QStringLiteral("unplugged"));
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        QVERIFY(standsStill());
        plugIn();
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(moves());
    }

    void startedWhileUnplugged()
    {
        unplug();
        QVERIFY(desktop->waitForDialog());
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(desktop->waitForDialog());
        QCOMPARE(dialogTitle(), QStringLiteral("Camera error"));
        desktop->keepScreenshot(QStringLiteral("startedWhileUnplugged"));
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        plugIn();
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(moves());
    }

    void unpluggedUnderAHeldButton()
    {
        const QPoint view(40, 200);
        desktop->moveTo(desktop->contentPosition() + view);
        desktop->xdo(QStringLiteral("mousedown 1"));
        unplug();
        QVERIFY(desktop->waitForDialog());
        desktop->xdo(QStringLiteral("mouseup 1"));
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        plugIn();
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(moves());
    }

    void busyAtTheStart()
    {
        QCOMPARE(desktop->close(), 0);
        QFile busy(devices + QStringLiteral("/busy"));
        QVERIFY(busy.open(QIODevice::WriteOnly));
        QVERIFY(desktop->start());
        QVERIFY(desktop->waitForDialog());
        QCOMPARE(dialogTitle(), QStringLiteral("Camera error"));
        desktop->keepScreenshot(QStringLiteral("busy"));
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        QVERIFY(busy.remove());
        desktop->key(QStringLiteral("ctrl+k"));
        QVERIFY(moves());
    }

    void absentAtTheStart()
    {
        QCOMPARE(desktop->close(), 0);
        unplug();
        QVERIFY(startProgram());
        QTRY_COMPARE_WITH_TIMEOUT(extentOf(desktop->windowContent(), demonstration).size(),
                                  smallSize, patienceMs);
    }

private:
    bool startProgram() { return desktop->start() && desktop->waitForMainWindow(); }

    // The service lists what is neither file nor folder.
    void plugIn() const
    {
        mkfifo(QFile::encodeName(devices + QStringLiteral("/video0")).constData(), S_IRWXU);
    }

    void unplug() const { QFile::remove(devices + QStringLiteral("/video0")); }

    // The menu begins with start or stop, whichever is possible.
    void chooseCamera(int number) const
    {
        const QPoint cameraMenu(85, 10);
        desktop->clickInWindow(cameraMenu);
        for (int step = 0; step <= number + 1; ++step)
            desktop->key(QStringLiteral("Down"));
        desktop->key(QStringLiteral("Return"));
    }

    void chooseMode(int mode) const
    {
        const QPoint modeMenu(195, 10);
        desktop->clickInWindow(modeMenu);
        for (int step = 0; step <= mode; ++step)
            desktop->key(QStringLiteral("Down"));
        desktop->key(QStringLiteral("Return"));
    }

    // The middle of the window's view, as large as a frame.
    QImage picture(const QSize &size) const
    {
        const QImage content = desktop->windowContent();
        QRect place(QPoint(), size);
        place.moveCenter(content.rect().center());
        return content.copy(place);
    }

    bool shows(const std::array<QColor, 4> &colours) const
    {
        return QTest::qWaitFor([&] { return alike(quarters(picture(largeSize)), colours); },
                               patienceMs);
    }

    // Whether the square in the middle, or its outline, changes within this time.
    bool moves(int withinMs = patienceMs) const
    {
        const QSize around(100, 100);
        const QImage before = picture(around);
        return QTest::qWaitFor([&] { return picture(around) != before; }, withinMs);
    }

    bool standsStill() const { return !moves(2000); }
    QString dialogTitle() const
    {
        return desktop->xdo(QStringLiteral("getactivewindow getwindowname"));
    }

    // Of the picture, from its left half; some columns less, where one colour goes over into the
    // next.
    int shownWidth() const
    {
        const QImage content = desktop->windowContent();
        const QColor left = quarters(picture(smallSize)).at(0);
        return alike(left, seen.at(0)) ? 2 * extentOf(content, left).width() : 0;
    }

    // Path of the picture that the capture command stores, complete; empty if none comes. A camera
    // that has just started anew may not be ready for it, with a box or without; then it is asked
    // again.
    QString newPicture(const QStringList &before) const
    {
        constexpr int attempts = 4;
        constexpr int attemptMs = patienceMs / attempts;
        QString path;
        const auto complete = [&] {
            for (const QString &stored : Sandbox::instance().storedFiles()) {
                if (!before.contains(stored))
                    path = stored;
            }
            return !path.isEmpty() && !QImage(path).isNull();
        };
        for (int attempt = 0; attempt < attempts; ++attempt) {
            desktop->key(QStringLiteral("ctrl+s"));
            if (QTest::qWaitFor(complete, attemptMs))
                return path;
            if (dialogTitle() == QLatin1String("Image Capture Error"))
                desktop->key(QStringLiteral("Return"));
        }
        return {};
    }

    QString devices;
    std::unique_ptr<Desktop> desktop;
};

KIVRA_TEST(TestVideoCamera)
#include "test_videocamera.moc"
