// Measures a live picture on its way from the demonstration camera to the painted window, in every
// mode. The yardstick is Qt's own viewfinder showing the same camera.
//
// Then the same with simulated cameras of the kernel, through the camera service that ships; the
// yardstick there is Qt's own service. Finally, the time from the start of the program to the
// picture.
//
// Usage: benchmark_live prints all tables; benchmark_live demo|node SHOWER WIDTHxHEIGHT one row,
// where SHOWER is "viewfinder", the number of a mode, or "start". Each row runs in a process of its
// own, so that it does not inherit another one's memory.

#include "app/camera.h"
#include "benchmarks/cputime.h"
#include "benchmarks/simulated.h"
#include "cameras/demo/democatalogue.h"
#include "cameras/service/cameraplugin.h"
#include "display/pixmapwidget.h"
#include "storage/settings.h"
#include "tests/support/probe.h"
#include "tests/support/sandbox.h"

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QApplication>
#include <QCamera>
#include <QCameraViewfinder>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLibraryInfo>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <QtPlugin>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

namespace kivra::benchmarks {

/// The demonstration devices, with their frames counted.
class CountedCatalogue : public cameras::DemoCatalogue
{
    Q_OBJECT

public:
    std::unique_ptr<cameras::FrameSource> open(const QByteArray &name) override
    {
        std::unique_ptr<cameras::FrameSource> source = DemoCatalogue::open(name);
        if (source)
            connect(source.get(), &cameras::FrameSource::frameReady, [] { ++offered; });
        return source;
    }

    /// Frames that the camera has handed on.
    static inline int offered = 0;
};

/// The demonstration camera as it ships, linked in so that no other camera is found.
class LiveCameraPlugin : public cameras::CameraPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QMediaServiceProviderFactoryInterface_iid FILE "live.json")

public:
    LiveCameraPlugin()
        : CameraPlugin(catalogue)
    {
    }

private:
    CountedCatalogue catalogue;
};

namespace {

constexpr int warmUpMs = 1500;
constexpr int measuredMs = 5000;
constexpr QSize largestView(1920, 1080);

constexpr const char *modeNames[] = {
    "actionTrNormal",        "actionAutomatique",  "actionEclairage_difficile", "actionTexte",
    "actionTexte_manuscrit", "actionTableau_vert", "actionEffet_artistique",
};

// Measures from the arrival of a frame, the first event after the event loop was idle, until the
// loop is idle again: by then everything that the frame caused has been painted and handed to the
// screen.
class FrameClock : public QObject
{
public:
    explicit FrameClock(QWidget *shown)
        : view(shown)
    {
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
                &FrameClock::rest);
        qApp->installEventFilter(this);
    }

    void restart()
    {
        timesMs.clear();
        agesMs.clear();
    }
    std::size_t frames() const { return timesMs.size(); }
    /// In milliseconds; \a share of the frames took no longer.
    double quantile(double share) { return quantileOf(timesMs, share); }
    /// The same, from the moment when the driver had completed the frame.
    double ageQuantile(double share) { return quantileOf(agesMs, share); }

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        if (!turn.isValid())
            turn.start();
        if (event->type() == QEvent::Paint && receiver == view)
            painted = true;
        return false;
    }

private:
    static double quantileOf(std::vector<double> &values, double share)
    {
        if (values.empty())
            return NAN;
        const auto place = std::size_t(std::lround(share * double(values.size() - 1)));
        std::sort(values.begin(), values.end());
        return values[place];
    }

    void rest()
    {
        CameraFigures camera;
        if (painted)
            timesMs.push_back(double(turn.nsecsElapsed()) * 1e-6);
        if (painted && readCameraFigures(camera))
            agesMs.push_back(camera.sinceLastMs);
        painted = false;
        turn.invalidate();
    }

    QWidget *view;
    QElapsedTimer turn;
    bool painted = false;
    std::vector<double> timesMs;
    std::vector<double> agesMs;
};

// Lets the program run as it does for a user; QTest's waiting would poll.
void run(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

void expose(QWidget *window)
{
    window->show();
    if (!QTest::qWaitForWindowExposed(window))
        qFatal("no window");
}

// Frames that the camera has handed on, or that a simulated one had to give.
long long offeredFrames()
{
    CameraFigures camera;
    return readCameraFigures(camera) ? camera.frames : CountedCatalogue::offered;
}

void measure(const QString &name, QSize size, QWidget *view)
{
    FrameClock clock(view);
    run(warmUpMs);
    clock.restart();
    const long long offeredBefore = offeredFrames();
    QElapsedTimer wall;
    wall.start();
    const double before = cpuSeconds();
    run(measuredMs);
    const double seconds = double(wall.nsecsElapsed()) * 1e-9;
    std::printf("| %d x %d | %s | %.1f of %.1f | %.1f %% | %.2f | %.2f |", size.width(),
                size.height(), qPrintable(name), double(clock.frames()) / seconds,
                double(offeredFrames() - offeredBefore) / seconds,
                100 * (cpuSeconds() - before) / seconds, clock.quantile(0.5), clock.quantile(0.99));
    CameraFigures camera;
    if (readCameraFigures(camera))
        std::printf(" %.2f | %.2f |", clock.ageQuantile(0.5), clock.ageQuantile(0.99));
    std::printf(" %.0f |\n", residentMiB());
}

void measureViewfinder(const QByteArray &device, QSize size)
{
    QCameraViewfinder viewfinder;
    viewfinder.resize(size.boundedTo(largestView));
    QCamera camera(device);
    camera.setViewfinder(&viewfinder);
    expose(&viewfinder);
    camera.start();
    run(warmUpMs); // until then it has no widget to paint on
    const auto painters = viewfinder.findChildren<QWidget *>();
    measure(QStringLiteral("viewfinder"), size,
            painters.isEmpty() ? &viewfinder : painters.constFirst());
}

void measureMode(int mode, QSize size)
{
    {
        QSettings store = settingsStore();
        settings::wholeWindow.write(store, true); // the view is as large as the viewfinder
    }
    Camera window;
    auto *const view = window.findChild<PixmapWidget *>(QStringLiteral("displayWidget"));
    expose(&window);
    const QSize viewSize = size.boundedTo(largestView);
    window.resize(window.size() - view->size() + viewSize);
    if (!QTest::qWaitFor([&] { return view->size() == viewSize; }))
        qFatal("the view has another size than the viewfinder");
    view->setScaleFactor(float(viewSize.width()) / float(size.width()));
    auto *const action = window.findChild<QAction *>(QLatin1String(modeNames[mode]));
    action->setEnabled(true);
    action->trigger();
    measure(action->text(), size, view);
}

// From the start of the process to the first painted frame, less what the camera itself needs for
// its first frame.
void measureStart(const QElapsedTimer &sinceStart)
{
    Camera window;
    const CameraProbe probe(window);
    QEventLoop loop;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock,
                     &loop, [&] {
                         if (!probe.lastFrame().isNull())
                             loop.quit();
                     });
    window.show();
    loop.exec();
    CameraFigures camera;
    readCameraFigures(camera);
    std::printf("%.0f\n", double(sinceStart.nsecsElapsed()) * 1e-6 - camera.firstFrameDelayMs);
}

int measureRow(const QStringList &arguments, const QElapsedTimer &sinceStart)
{
    const bool isNode = arguments.at(1) == QLatin1String("node");
    const QString &shower = arguments.at(2);
    const QStringList sides = arguments.at(3).split(QLatin1Char('x'));
    const QSize frame(sides.value(0).toInt(), sides.value(1).toInt());
    const bool byQt = isNode && shower == QLatin1String("viewfinder");
    if (byQt)
        QCoreApplication::addLibraryPath(QLibraryInfo::location(QLibraryInfo::PluginsPath));
    if (isNode && !byQt) {
        qputenv("QT_MULTIMEDIA_PREFERRED_PLUGINS", "v4l2camera");
        QCoreApplication::addLibraryPath(QStringLiteral(KIVRA_PROGRAM_FOLDER));
    }
    if (shower == QLatin1String("start"))
        measureStart(sinceStart);
    else if (shower == QLatin1String("viewfinder"))
        measureViewfinder(isNode ? "/dev/video0" : "demo:texte", frame);
    else
        measureMode(std::clamp(shower.toInt(), 0, 6), frame);
    return 0;
}

// Prints the row, and returns its columns; none if it cannot be measured.
QStringList runRow(const char *camera, const char *shower, const QString &size)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  {QLatin1String(camera), QLatin1String(shower), size});
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return {};
    const QByteArray row = process.readAllStandardOutput();
    std::fputs(row.constData(), stdout);
    std::fflush(stdout);
    return QString::fromUtf8(row).split(QLatin1Char('|'));
}

double shareOfACore(const QStringList &columns)
{
    return columns.value(4).section(QLatin1Char('%'), 0, 0).toDouble();
}

// In turns, because the machine's speed drifts from minute to minute.
bool compareNormalWithQt(const QString &size)
{
    std::array<double, 5> ratios{};
    for (double &ratio : ratios) {
        const QStringList byQt = runRow("node", "viewfinder", size);
        const QStringList normal = runRow("node", "0", size);
        if (byQt.isEmpty() || normal.isEmpty())
            return false;
        ratio = shareOfACore(normal) / shareOfACore(byQt);
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("\n\"Normal\" takes %.2f of the share of Qt's service: the middle of five pairs, "
                "%.2f to %.2f.\n",
                ratios[ratios.size() / 2], ratios.front(), ratios.back());
    return true;
}

bool measureDemonstration()
{
    std::puts("| frames | shown by | a second | of a core | median, ms | 99 %, ms | MiB |\n"
              "|---|---|---|---|---|---|---|");
    for (const char *size : {"1280x720", "1920x1080", "3840x2160"}) {
        qputenv("KIVRA_DEMO_SIZE", size);
        for (const char *shower : {"viewfinder", "0", "1", "2", "3", "4", "5", "6"}) {
            if (runRow("demo", shower, QLatin1String(size)).isEmpty())
                return false;
        }
    }
    return true;
}

bool measureNode(const char *format, QSize size, bool byQtToo)
{
    const SimulatedCamera camera(QLatin1String(format), size, 30);
    camera.showToChildren();
    const QString sides = QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
    qputenv("KIVRA_CAMERA_FORMAT", sides.toLatin1());
    std::printf("\n%s, 30 a second:\n\n| frames | shown by | a second | of a core | median, ms | "
                "99 %%, ms | from the driver, median, ms | 99 %%, ms | MiB |\n"
                "|---|---|---|---|---|---|---|---|---|\n",
                format);
    for (const char *shower : {"0", "1", "2", "3", "4", "5", "6"}) {
        if (runRow("node", shower, sides).isEmpty())
            return false;
    }
    return !byQtToo || compareNormalWithQt(sides);
}

bool measureStarts()
{
    constexpr int times = 5;
    std::puts("\nFrom the start of the program to the picture, ms, five times:\n\ndemonstration");
    qputenv("KIVRA_DEMO_SIZE", "1920x1080");
    for (int i = 0; i < times; ++i) {
        if (runRow("demo", "start", QStringLiteral("1920x1080")).isEmpty())
            return false;
    }
    std::puts("MJPG");
    const SimulatedCamera camera(QStringLiteral("MJPG"), {1920, 1080}, 30);
    camera.showToChildren();
    for (int i = 0; i < times; ++i) {
        if (runRow("node", "start", QStringLiteral("1920x1080")).isEmpty())
            return false;
    }
    return true;
}

void hideNodes()
{
    for (const char *variable : {"LD_PRELOAD", "KIVRA_TEST_DEVICES", "KIVRA_CAMERA_FORMAT"})
        qunsetenv(variable);
}

// All, or those of one kind: "demo", "node", "start".
int measureAll(const QString &kind)
{
    const auto wants = [&](const char *name) {
        return kind.isEmpty() || kind == QLatin1String(name);
    };
    bool complete = true;
    if (wants("demo"))
        complete = measureDemonstration();
    if (complete && wants("node"))
        complete = measureNode("YUYV", {1920, 1080}, true) &&
                   measureNode("MJPG", {1920, 1080}, false) &&
                   measureNode("MJPG", {3840, 2160}, false);
    hideNodes();
    if (complete && wants("start"))
        complete = measureStarts();
    return complete ? 0 : 1;
}

} // namespace

} // namespace kivra::benchmarks

#include "live.moc"

Q_IMPORT_PLUGIN(LiveCameraPlugin)

int main(int argc, char **argv)
{
    using namespace kivra::benchmarks;
    QElapsedTimer sinceStart;
    sinceStart.start();
    const kivra::test::Sandbox sandbox;
    qputenv("QT_NO_GLIB", "1"); // GLib's event loop does not tell when it is idle
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    return arguments.size() == 4 ? measureRow(arguments, sinceStart)
                                 : measureAll(arguments.value(1));
}
