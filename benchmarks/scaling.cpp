// What drawing a scaled picture costs: the view's area average, compared with what Qt and OpenCV
// offer and with a copy of the same pixels by one thread. Also what a step of the wheel and a step
// of a drag cost.

#include "display/areascaler.h"
#include "display/pixmapwidget.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QTest>
#include <QWheelEvent>
#include <benchmark/benchmark.h>
#include <cstring>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace {

// A picture that fills the width of a view.
struct Fitting
{
    QSize picture;
    QSize view;

    double scale() const { return double(view.width()) / picture.width(); }
    // The part of the picture that the view has room for, and the part of the view that it fills.
    QSize visible() const
    {
        return {picture.width(), std::min(picture.height(), int(view.height() / scale()))};
    }
    QSize filled() const { return {view.width(), int(visible().height() * scale())}; }
};

constexpr Fitting fittings[] = {
    {{3840, 2160}, {1200, 675}},
    {{4000, 3000}, {662, 418}}, // of the starting window
    {{1920, 1080}, {1200, 675}},
    {{640, 480}, {1200, 800}},
};

QImage page(const QSize &size)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        auto *const row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x)
            row[x] = (x / 3 + y / 7) % 5 == 0 ? 0xff202020 : qRgb(x & 0xff, y & 0xff, 230);
    }
    return picture;
}

// As from a camera: pictures in turn, more than a cache holds.
class Pictures
{
public:
    explicit Pictures(const QSize &size)
    {
        constexpr qsizetype enough = qsizetype{128} << 20; // bytes
        do
            pictures.push_back(page(size));
        while (pictures.front().sizeInBytes() * qsizetype(pictures.size()) < enough);
    }
    const QImage &next()
    {
        current = (current + 1) % pictures.size();
        return pictures[current];
    }

private:
    std::vector<QImage> pictures;
    std::size_t current = 0;
};

template<typename Draw>
void measure(benchmark::State &state, const Draw &draw)
{
    const Fitting &fitting = fittings[state.range(0)];
    Pictures pictures(fitting.picture);
    for (auto _ : state)
        draw(pictures.next(), fitting);
}

void copyByOneThread(benchmark::State &state)
{
    QImage target(fittings[state.range(0)].visible(), QImage::Format_RGB32);
    measure(state, [&](const QImage &picture, const Fitting &) {
        std::memcpy(target.bits(), picture.constBits(), std::size_t(target.sizeInBytes()));
        benchmark::ClobberMemory();
    });
}

void scaleByArea(benchmark::State &state)
{
    QImage target(fittings[state.range(0)].filled(), QImage::Format_RGB32);
    measure(state, [&](const QImage &picture, const Fitting &fitting) {
        kivra::drawByArea(picture, {{0, 0}, fitting.scale()}, target.rect(), target);
        benchmark::ClobberMemory();
    });
}

void drawByQt(benchmark::State &state, bool smooth)
{
    QImage target(fittings[state.range(0)].filled(), QImage::Format_RGB32);
    measure(state, [&](const QImage &picture, const Fitting &fitting) {
        QPainter painter(&target);
        painter.setRenderHint(QPainter::SmoothPixmapTransform, smooth);
        painter.scale(fitting.scale(), fitting.scale());
        painter.drawImage(QPoint(0, 0), picture);
    });
}

void scaleByOpenCv(benchmark::State &state)
{
    const QSize filled = fittings[state.range(0)].filled();
    QImage target(filled, QImage::Format_RGB32);
    cv::Mat reduced(filled.height(), filled.width(), CV_8UC4, target.bits());
    measure(state, [&](const QImage &picture, const Fitting &fitting) {
        const QSize visible = fitting.visible();
        const cv::Mat whole(visible.height(), visible.width(), CV_8UC4,
                            const_cast<uchar *>(picture.constBits()),
                            std::size_t(picture.bytesPerLine()));
        cv::resize(whole, reduced, reduced.size(), 0, 0, cv::INTER_AREA);
    });
}

// A view with a picture that fills its width.
class FilledView : public PixmapWidget
{
public:
    explicit FilledView(const QSize &picture, const QSize &size)
    {
        resize(size);
        show();
        if (!QTest::qWaitForWindowExposed(this))
            qFatal("no window");
        setScaleFactor(float(width()) / float(picture.width()));
        setPixmap(QPixmap::fromImage(page(picture)));
    }
    void wheel(int delta)
    {
        QWheelEvent event({600, 400}, mapToGlobal({600, 400}), {}, {0, delta}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(this, &event);
    }
    void move(QEvent::Type type, const QPoint &to)
    {
        QMouseEvent event(type, to, mapToGlobal(to), Qt::RightButton, Qt::RightButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(this, &event);
    }
};

// The largest view of the window unless the settings lift the limit, then the view on a large
// screen. The second picture is the largest that can be opened.
constexpr Fitting steps[] = {
    {{4000, 3000}, {1200, 800}}, {{16384, 8192}, {1200, 800}}, {{4000, 3000}, {3840, 2160}}};

void wheelStep(benchmark::State &state)
{
    FilledView view(steps[state.range(0)].picture, steps[state.range(0)].view);
    bool in = false;
    for (auto _ : state) {
        in = !in;
        view.wheel(in ? 120 : -107); // to 1.12 and back to 1
    }
}

void dragStep(benchmark::State &state)
{
    FilledView view(steps[state.range(0)].picture, steps[state.range(0)].view);
    view.move(QEvent::MouseButtonPress, {600, 400});
    bool there = false;
    for (auto _ : state) {
        there = !there;
        view.move(QEvent::MouseMove, there ? QPoint(610, 407) : QPoint(600, 400));
    }
}

#define KIVRA_EACH_STEP ->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->UseRealTime()
#define KIVRA_EACH_FITTING ->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->UseRealTime()

BENCHMARK(copyByOneThread) KIVRA_EACH_FITTING;
BENCHMARK(scaleByArea) KIVRA_EACH_FITTING;
BENCHMARK_CAPTURE(drawByQt, plain, false) KIVRA_EACH_FITTING;
BENCHMARK_CAPTURE(drawByQt, smooth, true) KIVRA_EACH_FITTING;
BENCHMARK(scaleByOpenCv) KIVRA_EACH_FITTING;
BENCHMARK(wheelStep) KIVRA_EACH_STEP;
BENCHMARK(dragStep) KIVRA_EACH_STEP;

} // namespace
