// The way of a live picture from the demonstration camera to the painted window, in every mode, and
// as the yardstick Qt's own viewfinder showing the same camera.
//
// Usage: benchmark_live prints the whole table; benchmark_live SHOWER WIDTHxHEIGHT one row, where
// SHOWER is "viewfinder" or the number of a mode. Each row runs in a process of its own, so that
// none has the memory of another.

#include "app/camera.h"
#include "benchmarks/cputime.h"
#include "cameras/demo/democatalogue.h"
#include "cameras/service/cameraplugin.h"
#include "display/pixmapwidget.h"
#include "tests/support/sandbox.h"

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QApplication>
#include <QCamera>
#include <QCameraViewfinder>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <QtPlugin>
#include <algorithm>
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

// From the first event after a rest of the event loop, the arrival of a frame, to its next rest: by
// then everything that the frame caused has been painted and handed to the screen.
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

    void restart() { timesMs.clear(); }
    std::size_t frames() const { return timesMs.size(); }
    /// In milliseconds; \a share of the frames took no longer.
    double quantile(double share)
    {
        if (timesMs.empty())
            return NAN;
        const auto place = std::size_t(std::lround(share * double(timesMs.size() - 1)));
        std::sort(timesMs.begin(), timesMs.end());
        return timesMs[place];
    }

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
    void rest()
    {
        if (painted)
            timesMs.push_back(double(turn.nsecsElapsed()) * 1e-6);
        painted = false;
        turn.invalidate();
    }

    QWidget *view;
    QElapsedTimer turn;
    bool painted = false;
    std::vector<double> timesMs;
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

void measure(const QString &name, QSize size, QWidget *view)
{
    FrameClock clock(view);
    run(warmUpMs);
    clock.restart();
    CountedCatalogue::offered = 0;
    QElapsedTimer wall;
    wall.start();
    const double before = cpuSeconds();
    run(measuredMs);
    const double seconds = double(wall.nsecsElapsed()) * 1e-9;
    std::printf("| %d x %d | %s | %.1f of %.1f | %.1f %% | %.2f | %.2f | %.0f |\n", size.width(),
                size.height(), qPrintable(name), double(clock.frames()) / seconds,
                CountedCatalogue::offered / seconds, 100 * (cpuSeconds() - before) / seconds,
                clock.quantile(0.5), clock.quantile(0.99), residentMiB());
}

void measureViewfinder(QSize size)
{
    QCameraViewfinder viewfinder;
    viewfinder.resize(size.boundedTo(largestView));
    QCamera camera("demo:texte");
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
    Camera window;
    auto *const view = window.findChild<PixmapWidget *>(QStringLiteral("displayWidget"));
    expose(&window);
    const QSize viewSize = size.boundedTo(largestView);
    window.resize(window.size() - view->size() + viewSize);
    view->setScaleFactor(float(viewSize.width()) / float(size.width()));
    auto *const action = window.findChild<QAction *>(QLatin1String(modeNames[mode]));
    action->setEnabled(true);
    action->trigger();
    measure(action->text(), size, view);
}

int measureRow(const QString &shower, const QString &size)
{
    const QStringList sides = size.split(QLatin1Char('x'));
    const QSize frame(sides.value(0).toInt(), sides.value(1).toInt());
    if (shower == QLatin1String("viewfinder"))
        measureViewfinder(frame);
    else
        measureMode(std::clamp(shower.toInt(), 0, 6), frame);
    return 0;
}

int measureAll()
{
    std::puts("| frames | shown by | a second | of a core | median, ms | 99 %, ms | MiB |\n"
              "|---|---|---|---|---|---|---|");
    for (const char *size : {"1280x720", "1920x1080", "3840x2160"}) {
        qputenv("KIVRA_DEMO_SIZE", size);
        for (const char *shower : {"viewfinder", "0", "1", "2", "3", "4", "5", "6"}) {
            std::fflush(stdout);
            const int result = QProcess::execute(QCoreApplication::applicationFilePath(),
                                                 {QLatin1String(shower), QLatin1String(size)});
            if (result != 0)
                return 1;
        }
    }
    return 0;
}

} // namespace

} // namespace kivra::benchmarks

#include "live.moc"

Q_IMPORT_PLUGIN(LiveCameraPlugin)

int main(int argc, char **argv)
{
    using namespace kivra::benchmarks;
    const kivra::test::Sandbox sandbox;
    qputenv("QT_NO_GLIB", "1"); // GLib's event loop does not tell when it rests
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    return arguments.size() == 3 ? measureRow(arguments.at(1), arguments.at(2)) : measureAll();
}
