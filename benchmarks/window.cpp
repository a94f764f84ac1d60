// What the window costs besides the picture operations: painting a large picture, and the time from
// a key to the repainted picture and from a stored photograph to the screen. Each is measured in
// the same run as its yardstick.

#include "app/camera.h"
#include "decoding/picturedecoder.h"
#include "display/pixmapwidget.h"
#include "render/renderer.h"
#include "tests/support/probe.h"
#include "tests/support/sandbox.h"
#include "tests/support/testcamera.h"

#include <QAction>
#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QKeyEvent>
#include <QPainter>
#include <QTest>
#include <QTimer>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <functional>

namespace {

constexpr QSize viewSize(1200, 800);
constexpr QSize stillSize(4000, 3000);

QImage still()
{
    QImage picture(stillSize, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb((x / 7) & 0xff, (y / 5) & 0xff, (x + y) & 0xff));
    }
    return picture;
}

void expose(QWidget *widget)
{
    widget->resize(viewSize);
    widget->show();
    if (!QTest::qWaitForWindowExposed(widget))
        qFatal("no window");
}

// The view's yardstick: Qt draws the visible part, and nothing else.
class VisiblePart : public QWidget
{
public:
    explicit VisiblePart(const QPixmap &picture)
        : pixmap(picture)
    {
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        const double scale = double(width()) / pixmap.width();
        const double shown = height() / scale;
        const QRectF source(0, (pixmap.height() - shown) / 2, pixmap.width(), shown);
        QPainter(this).drawPixmap(QRectF(rect()), pixmap, source);
    }

private:
    QPixmap pixmap;
};

void paintByView(benchmark::State &state)
{
    PixmapWidget view;
    expose(&view);
    view.setScaleFactor(float(viewSize.width()) / float(stillSize.width()));
    view.setPixmap(QPixmap::fromImage(still()));
    for (auto _ : state)
        view.repaint();
}

void paintByQt(benchmark::State &state)
{
    VisiblePart view(QPixmap::fromImage(still()));
    expose(&view);
    for (auto _ : state)
        view.repaint();
}

// A window that shows a stored picture of 12 megapixels, in a mode that costs something.
std::unique_ptr<Camera> windowWithStill()
{
    kivra::test::TestCamera::instance().reset();
    const QString path =
        kivra::test::Sandbox::instance().documents() + QStringLiteral("/still.png");
    if (!still().save(path))
        qFatal("no picture");
    _imgAOuvrir = path;
    auto window = std::make_unique<Camera>();
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get()))
        qFatal("no window");
    window->findChild<QAction *>(QStringLiteral("actionLumiere"))->trigger();
    return window;
}

void keyToPicture(benchmark::State &state)
{
    const std::unique_ptr<Camera> window = windowWithStill();
    bool up = false;
    for (auto _ : state) {
        up = !up;
        QKeyEvent key(QEvent::KeyPress, up ? Qt::Key_Up : Qt::Key_Down, Qt::NoModifier);
        QCoreApplication::sendEvent(window.get(), &key);
    }
}

void processAndPaint(benchmark::State &state)
{
    const QImage frame = still();
    const std::unique_ptr<Camera> window = windowWithStill();
    auto *const view = window->findChild<PixmapWidget *>(QStringLiteral("displayWidget"));
    kivra::Renderer renderer;
    kivra::FrameSettings settings;
    for (auto _ : state) {
        settings.lumiere = 20 - settings.lumiere;
        view->setPixmap(QPixmap::fromImage(renderer.render({frame, true}, settings).image));
    }
}

// Stored photographs of 12 megapixels, to be looked at in turn.
std::array<QString, 3> photographs()
{
    std::array<QString, 3> paths;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        paths[i] = kivra::test::Sandbox::instance().documents() +
                   QStringLiteral("/photograph%1.jpg").arg(i);
        if (!still().mirrored(i == 1, i == 2).save(paths[i], nullptr, 90))
            qFatal("no picture");
    }
    return paths;
}

void photographByQt(benchmark::State &state)
{
    const auto paths = photographs();
    std::size_t turn = 0;
    for (auto _ : state) {
        turn = (turn + 1) % paths.size();
        benchmark::DoNotOptimize(QImage(paths[turn]).constBits());
    }
}

void photographLoaded(benchmark::State &state)
{
    const auto paths = photographs();
    kivra::PictureDecoder decoder;
    std::size_t turn = 0;
    for (auto _ : state) {
        turn = (turn + 1) % paths.size();
        benchmark::DoNotOptimize(decoder.load(paths[turn]).constBits());
    }
}

// A tiny picture: what opening costs apart from the decoding.
void tinyPictureLoaded(benchmark::State &state)
{
    const QString path = kivra::test::Sandbox::instance().documents() + QStringLiteral("/tiny.png");
    if (!still().copy(0, 0, 16, 16).save(path))
        qFatal("no picture");
    kivra::PictureDecoder decoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(decoder.load(path).constBits());
}

// QTest's waiting sleeps between two looks at the events, and would add this sleep to the figure.
void handleEventsWhile(const std::function<bool()> &condition)
{
    const QDeadlineTimer patience(60000);
    while (condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (patience.hasExpired())
            qFatal("it takes for ever");
    }
}

void waitUntilShown(const CameraProbe &probe)
{
    handleEventsWhile([&] { return probe.isOpening(); });
}

void photographShown(benchmark::State &state)
{
    const std::unique_ptr<Camera> window = windowWithStill();
    CameraProbe probe(*window);
    const auto paths = photographs();
    std::size_t turn = 0;
    for (auto _ : state) {
        turn = (turn + 1) % paths.size();
        probe.displayFile(paths[turn]);
        waitUntilShown(probe);
    }
}

void press(Camera *window, Qt::Key key)
{
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &event);
}

constexpr int steps = 120;

// Steps through the stored photographs, from the key to the painted picture. After a pause, the
// next photograph has been decoded ahead.
void step(benchmark::State &state, int pauseMs)
{
    const QDir month(kivra::test::Sandbox::instance().documents() +
                     QStringLiteral("/TablinoQt/tableaux/2026-01"));
    month.mkpath(QStringLiteral("."));
    const auto paths = photographs();
    for (int number = 0; number < steps + 5; ++number)
        QFile::copy(paths[std::size_t(number) % paths.size()],
                    month.filePath(QString::asprintf("im%03d.jpg", number)));
    const std::unique_ptr<Camera> window = windowWithStill();
    CameraProbe probe(*window);
    for (auto _ : state) {
        if (pauseMs > 0) {
            const QDeadlineTimer pause(pauseMs, Qt::PreciseTimer);
            QTimer::singleShot(pauseMs, Qt::PreciseTimer, QCoreApplication::instance(), [] {});
            handleEventsWhile([&] { return !pause.hasExpired(); });
        }
        const auto begin = std::chrono::steady_clock::now();
        press(window.get(), Qt::Key_Backspace);
        waitUntilShown(probe);
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
}

void stepAtOnce(benchmark::State &state)
{
    step(state, 0);
}

void stepAfterPause(benchmark::State &state)
{
    step(state, 100);
}

void photographShownAgain(benchmark::State &state)
{
    const std::unique_ptr<Camera> window = windowWithStill();
    CameraProbe probe(*window);
    probe.displayFile(photographs()[0]);
    waitUntilShown(probe);
    for (auto _ : state)
        QMetaObject::invokeMethod(window.get(), "updateDisplay", Qt::DirectConnection);
}

BENCHMARK(paintByQt)->Unit(benchmark::kMillisecond);
BENCHMARK(paintByView)->Unit(benchmark::kMillisecond);
BENCHMARK(processAndPaint)->Unit(benchmark::kMillisecond);
BENCHMARK(keyToPicture)->Unit(benchmark::kMillisecond);
BENCHMARK(photographByQt)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(photographLoaded)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(tinyPictureLoaded)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(photographShownAgain)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(photographShown)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(stepAtOnce)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(steps);
BENCHMARK(stepAfterPause)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(steps);

} // namespace

int main(int argc, char **argv)
{
    const kivra::test::Sandbox sandbox;
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
