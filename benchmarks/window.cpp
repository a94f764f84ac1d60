// What the window costs beside the picture operations: painting a large picture, the way from a key
// to the repainted picture, and from a stored photograph to the screen. Each with its yardstick in
// the same run.

#include "app/camera.h"
#include "decoding/picturedecoder.h"
#include "display/pixmapwidget.h"
#include "render/renderer.h"
#include "tests/support/probe.h"
#include "tests/support/sandbox.h"
#include "tests/support/testcamera.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QPainter>
#include <QTest>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>

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

// Stored photographs of 12 megapixels, to be looked at in turn: more than are held.
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

// The small pictures that the decoding of others is weighed against.
void tinyPictureLoaded(benchmark::State &state)
{
    const QString path = kivra::test::Sandbox::instance().documents() + QStringLiteral("/tiny.png");
    if (!still().copy(0, 0, 16, 16).save(path))
        qFatal("no picture");
    kivra::PictureDecoder decoder;
    for (auto _ : state)
        benchmark::DoNotOptimize(decoder.load(path).constBits());
}

bool showsAll(const CameraProbe &probe)
{
    return QTest::qWaitFor([&] { return !probe.isOpening(); });
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
        if (!showsAll(probe))
            qFatal("no picture");
    }
}

void press(Camera *window, Qt::Key key)
{
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(window, &event);
}

// From the key to the painted picture, among photographs of the storage; the direction turns at
// both ends, where the look ahead was the other way. With a pause before each step, the next one
// has been decoded ahead.
void step(benchmark::State &state, bool pauses)
{
    constexpr int photographCount = 12;
    const QDir month(kivra::test::Sandbox::instance().documents() +
                     QStringLiteral("/TablinoQt/tableaux/2026-01"));
    month.mkpath(QStringLiteral("."));
    for (int number = 0; number < photographCount; ++number)
        still()
            .mirrored(number % 2 == 1, number % 3 == 1)
            .save(month.filePath(QString::asprintf("im%02d.jpg", number)), nullptr, 90);
    const std::unique_ptr<Camera> window = windowWithStill();
    CameraProbe probe(*window);
    int taken = 0;
    for (auto _ : state) {
        const bool isBack = (taken++ / photographCount) % 2 == 0;
        if (pauses && !QTest::qWaitFor([&] { return !probe.isLookingAhead(); }))
            qFatal("it looks ahead for ever");
        const auto begin = std::chrono::steady_clock::now();
        press(window.get(), isBack ? Qt::Key_Backspace : Qt::Key_Space);
        if (!showsAll(probe))
            qFatal("no picture");
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
}

void stepAtOnce(benchmark::State &state)
{
    step(state, false);
}

void stepAfterPause(benchmark::State &state)
{
    step(state, true);
}

void photographShownAgain(benchmark::State &state)
{
    const std::unique_ptr<Camera> window = windowWithStill();
    CameraProbe probe(*window);
    probe.displayFile(photographs()[0]);
    if (!showsAll(probe))
        qFatal("no picture");
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
BENCHMARK(stepAtOnce)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(120);
BENCHMARK(stepAfterPause)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(120);

} // namespace

int main(int argc, char **argv)
{
    const kivra::test::Sandbox sandbox;
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
