#include "render/modes.h"

#include "render/histogram.h"
#include "render/neighbours.h"
#include "render/parallel.h"
#include "render/poster.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <optional>

namespace kivra {

namespace {

/// What a mode has learnt from the whole frame before it paints bands.
struct Look
{
    TwoColours colours{}; ///< of a mode with two colours, already finished
    int threshold = 0;
    ByteTable table{};
    std::optional<Tone> tone;
};

/// How a mode paints: it first looks at the whole frame, and may fill the plane, then paints band
/// by band.
struct Mode
{
    void (*look)(const Job &job, Look &look);
    void (*paint)(const Job &job, const Look &look, Span rows);
    /// What black and white become; equal in modes without two colours.
    TwoColours colours;

    bool hasTwoColours() const { return colours.dark != colours.light; }
};

void lookForEnds(const Job &job, Look &look)
{
    const auto [low, high] = endsOf(blueHistogram(job.from, job.threads));
    look.tone = stretchTone(low, high);
}

void paintStretched(const Job &job, const Look &look, Span rows)
{
    for (int y = rows.begin; y < rows.end; ++y)
        look.tone->row(job.from.row(y), job.to.row(y), job.from.width);
}

void lookAtLuma(const Job &job, Look &look)
{
    look.table =
        equalizationTable(fillPlaneAndCount(job.from, kernels().luma, job.plane, job.threads));
}

void paintEqualized(const Job &job, const Look &look, Span rows)
{
    constexpr int piece = 1024;
    const Kernels &kernel = kernels();
    std::array<std::uint8_t, piece> lit;
    for (int y = rows.begin; y < rows.end; ++y) {
        for (int done = 0; done < job.from.width; done += piece) {
            const int count = std::min(piece, job.from.width - done);
            const std::uint8_t *const luma = job.plane.ptr(y) + done;
            kernel.lookUp(luma, lit.data(), count, look.table);
            kernel.relight(job.from.row(y) + done, luma, lit.data(), job.to.row(y) + done, count);
        }
    }
}

void lookForOtsu(const Job &job, Look &look)
{
    look.threshold = otsuLevel(fillPlaneAndCount(job.from, kernels().grey, job.plane, job.threads));
}

void paintChosen(const Job &job, const Look &look, Span rows)
{
    for (int y = rows.begin; y < rows.end; ++y)
        kernels().choose(job.plane.ptr(y), job.to.row(y), job.to.width, look.threshold,
                         look.colours);
}

void lookAtGrey(const Job &job, Look &)
{
    fillPlane(job.from, kernels().grey, job.plane, job.threads);
}

void paintByNeighbours(const Job &job, const Look &look, Span rows)
{
    decideByNeighbours(job.plane, job.to, rows, look.colours);
}

void paintPoster(const Job &job, const Look &, Span rows)
{
    posterize(job.from, job.to, rows);
}

constexpr Pixel black = 0xFF000000U;
constexpr Pixel white = 0xFFFFFFFFU;
constexpr Pixel boardGreen = 0xFF006400U;

// By number. The effect TwoColours turns pure black and white into exactly its two colours, so a
// mode may choose these at once.
constexpr std::array<Mode, 7> modes{{
    {nullptr, nullptr, {}},
    {lookForEnds, paintStretched, {}},
    {lookAtLuma, paintEqualized, {}},
    {lookForOtsu, paintChosen, {black, white}},
    {lookAtGrey, paintByNeighbours, {black, white}},
    {lookAtGrey, paintByNeighbours, {white, boardGreen}},
    // Made on the caller's thread, because it may throw.
    {[](const Job &, Look &) { posterColours(); }, paintPoster, {}},
}};

void finishRows(ConstPixels from, Pixels to, Span rows, const Finish &finish)
{
    for (int y = rows.begin; y < rows.end; ++y)
        finish.row(from.row(y), to.row(y), from.width);
}

// Paints and finishes band by band. The finish follows after a few rows, which are still in the
// second-level cache. Gives the mode's share of the time.
double paintAndFinish(const Job &job, const Mode &mode, const Look &look, const Finish &finish)
{
    constexpr int bytesAtOnce = 1 << 17;
    const int rowsAtOnce = std::max(bytesAtOnce / 4 / job.from.width, 1);
    std::mutex timesMutex;
    FrameTimes all;
    forBands(job.threads, job.from.width, job.from.height, [&](Span rows) {
        FrameTimes times;
        Clock clock;
        for (int y = rows.begin; y < rows.end; y += rowsAtOnce) {
            const Span few{y, std::min(y + rowsAtOnce, rows.end)};
            mode.paint(job, look, few);
            times.mode += clock.lap();
            finishRows(job.to, job.to, few, finish);
            times.effect += clock.lap();
        }
        const std::lock_guard lock(timesMutex);
        all.mode += times.mode;
        all.effect += times.effect;
    });
    return all.mode / (all.mode + all.effect);
}

} // namespace

bool isMode(int number)
{
    return number > 0 && number < static_cast<int>(modes.size());
}

FrameTimes paint(const Job &job, int number, const Finish &finish)
{
    if (job.from.isEmpty())
        return {};
    FrameTimes times;
    Clock clock;
    const auto forAllBands = [&](const auto &body) {
        forBands(job.threads, job.from.width, job.from.height, body);
        return clock.lap();
    };
    if (!isMode(number)) {
        times.effect = forAllBands([&](Span rows) { finishRows(job.from, job.to, rows, finish); });
        return times;
    }
    const Mode &mode = modes[static_cast<std::size_t>(number)];
    Look look;
    look.colours = {finish.word(mode.colours.dark), finish.word(mode.colours.light)};
    times.effect = clock.lap();
    mode.look(job, look);
    times.mode = clock.lap();
    if (mode.hasTwoColours() || finish.keepsColours()) {
        times.mode += forAllBands([&](Span rows) { mode.paint(job, look, rows); });
        return times;
    }
    const double share = paintAndFinish(job, mode, look, finish);
    const double spent = clock.lap();
    times.mode += spent * share;
    times.effect += spent * (1 - share);
    return times;
}

} // namespace kivra
