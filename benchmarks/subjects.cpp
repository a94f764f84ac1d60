#include "benchmarks/subjects.h"

#include "processing/buffers.h"
#include "processing/operations.h"
#include "render/renderer.h"
#include "tests/reference/reference.h"

#include <QImage>
#include <QRandomGenerator>
#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstring>
#include <functional>
#include <list>
#include <vector>

namespace kivra::benchmarks {

namespace {

constexpr double perRound = 0.15; // seconds

// A page under a lamp: strokes on paper that is lit from one side, with a sensor's grain.
QImage page(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    QRandomGenerator grain(7);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int light = 140 + 90 * x / size.width();
            const bool ink = (x / 3 + y / 7) % 5 == 0 && y % 11 < 7;
            const int level = (ink ? light / 4 : light) + static_cast<int>(grain.bounded(9));
            row[x] = qRgb(level, level - 5, level - 12);
        }
    }
    return picture;
}

// The frames of a stream: equal pictures, each in memory of its own, more than a cache holds. A
// camera delivers every frame in memory that no core has seen yet; the same picture over and over
// would measure the cache instead.
class FrameStream
{
public:
    explicit FrameStream(QSize size)
    {
        constexpr qsizetype enough = qsizetype{128} << 20; // bytes
        frames.push_back(page(size));
        const auto count = enough / frames.front().sizeInBytes() + 1;
        while (static_cast<qsizetype>(frames.size()) < count)
            frames.push_back(frames.front().copy());
    }
    QSize size() const { return frames.front().size(); }
    const QImage &next()
    {
        current = (current + 1) % frames.size();
        return frames[current];
    }

private:
    std::vector<QImage> frames;
    std::size_t current = 0;
};

FrameStream &streamOf(QSize size)
{
    static std::list<FrameStream> streams;
    const auto known = std::find_if(streams.begin(), streams.end(), [&](const FrameStream &stream) {
        return stream.size() == size;
    });
    return known == streams.end() ? streams.emplace_back(size) : *known;
}

using InPlace = std::function<void(QImage *)>;
using ToNew = std::function<QImage(const QImage &)>;

std::vector<Subject> registered;

void add(const Subject &subject, const std::function<void(benchmark::State &)> &run)
{
    registered.push_back(subject);
    benchmark::RegisterBenchmark(nameOf(subject).c_str(), run)
        ->UseRealTime()
        ->MinTime(perRound)
        ->Unit(benchmark::kMillisecond);
}

void copyPixels(const QImage &from, QImage &to)
{
    std::memcpy(to.bits(), from.constBits(), static_cast<std::size_t>(from.sizeInBytes()));
}

// The yardstick. Two pictures take turns, as on the screen.
void addCopy(QSize size)
{
    add({"copy", "copy", size}, [size](benchmark::State &state) {
        FrameStream &stream = streamOf(size);
        std::array<QImage, 2> to{stream.next().copy(), stream.next().copy()};
        for (auto _ : state) {
            copyPixels(stream.next(), to.front());
            benchmark::ClobberMemory();
            std::swap(to.front(), to.back());
        }
    });
}

// An in-place operation gets the same fresh pixels every time.
void addProduct(const std::string &operation, QSize size, const InPlace &run)
{
    add({operation, "product", size}, [size, run](benchmark::State &state) {
        FrameStream &stream = streamOf(size);
        QImage picture = stream.next().copy();
        for (auto _ : state) {
            state.PauseTiming();
            copyPixels(stream.next(), picture);
            state.ResumeTiming();
            run(&picture);
        }
    });
}

// The last picture is held while the next is made, as the screen does.
void addToNew(const std::string &operation, const std::string &side, QSize size, const ToNew &run)
{
    add({operation, side, size}, [size, run](benchmark::State &state) {
        FrameStream &stream = streamOf(size);
        QImage shown;
        for (auto _ : state)
            shown = run(stream.next());
    });
}

void addPair(const std::string &operation, QSize size, const InPlace &product,
             const ToNew &reference)
{
    addProduct(operation, size, product);
    addToNew(operation, "reference", size, reference);
}

void addOperations(QSize size)
{
    static std::array<int, 256> brighter{};
    CalculerLut(brighter.data(), 20, 150);
    addPair(
        "table", size, [](QImage *image) { AppliquerLut(image, brighter.data()); },
        [](const QImage &image) { return reference::applyLut(image, brighter); });
    addPair(
        "two colours", size, [](QImage *image) { fBicolore(image, 0xFF0000FFU, 0xFFFFFF00U); },
        [](const QImage &image) { return reference::twoColours(image, 0xFF0000FFU, 0xFFFFFF00U); });
    addPair("stretch", size, KvStretchHist, reference::stretch);
    addPair("equalise", size, KvEqualizeHist, reference::equalize);
    static constexpr std::array<const char *, 3> methods{"threshold at level", "threshold Otsu",
                                                         "threshold neighbours"};
    for (int method = 0; method < 3; ++method) {
        addPair(
            methods.at(static_cast<std::size_t>(method)), size,
            [method](QImage *image) { KvThreshold(image, 50, method); },
            [method](const QImage &image) { return reference::threshold(image, 50, method); });
    }
    addPair(
        "posterise", size, [](QImage *image) { KvPosterize(image, 1); }, reference::posterize);
    addPair(
        "posterise channels", size, [](QImage *image) { KvPosterize1(image, 1); },
        reference::posterizeChannels);
}

void addConversion(QSize size)
{
    add({"to matrix", "product", size}, [size](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(qimage_to_mat_cpy(streamOf(size).next(), CV_8UC3).data);
    });
    add({"to matrix", "reference", size}, [size](benchmark::State &state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(reference::colours(streamOf(size).next()).data);
    });
}

void addFrame(const std::string &operation, QSize size, const FrameSettings &settings)
{
    addToNew(operation, "product", size, [settings](const QImage &image) {
        static Renderer renderer;
        return renderer.render({image, true}, settings).image;
    });
    addToNew(operation, "reference", size, [settings](const QImage &image) {
        return reference::frame(image, settings.mode, settings.effect, settings.lumiere,
                                settings.contraste);
    });
}

void addFrames(QSize size)
{
    static constexpr std::array<const char *, 7> modes{
        "none",         "Automatique",     "Eclairage difficile", "Texte", "Texte manuscrit",
        "Tableau vert", "Effet artistique"};
    static constexpr std::array<const char *, 4> effects{"", "grey", "negative", "two colours"};
    for (int mode = 0; mode < 7; ++mode) {
        const std::string name = std::string("frame: ") + modes.at(static_cast<std::size_t>(mode));
        addFrame(name, size, {mode, 0, 0, 100});
        for (int effect = 1; effect < 4; ++effect)
            addFrame(name + ", table, " + effects.at(static_cast<std::size_t>(effect)), size,
                     {mode, effect, 20, 150});
    }
}

} // namespace

std::vector<Subject> registerAll()
{
    for (const QSize size : {QSize(1280, 720), QSize(1920, 1080), QSize(3840, 2160)}) {
        addCopy(size);
        addConversion(size);
        addOperations(size);
        addFrames(size);
    }
    return registered;
}

} // namespace kivra::benchmarks
