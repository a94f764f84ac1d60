#include "processing/frame.h"

#include "processing/bicolore.h"
#include "processing/finish.h"
#include "processing/imagepool.h"
#include "processing/kernels/kernels.h"
#include "processing/lut.h"
#include "processing/rendering.h"
#include "processing/timing.h"

#include <array>

namespace kivra {

namespace {

constexpr unsigned int black = 0xFF000000U;
constexpr unsigned int white = 0xFFFFFFFFU;
constexpr unsigned int boardGreen = 0xFF006400U;
constexpr unsigned int blue = 0xFF0000FFU;
constexpr unsigned int yellow = 0xFFFFFF00U;

Finish finishOf(const FrameSettings &settings)
{
    std::array<int, 256> lut{};
    CalculerLut(lut.data(), settings.lumiere, settings.contraste);
    const double gain = settings.contraste / 100.0;
    const Tone tone = toneOf(lut.data(), gain, (settings.lumiere - 128.0) * gain + 128);
    switch (settings.effect) {
    case 1:
        return {tone, Finish::Effect::Grey};
    case 2:
        return {tone, Finish::Effect::Negative};
    case 3:
        return {tone, TwoColours{blue, yellow}};
    default:
        return {tone, Finish::Effect::None};
    }
}

// A picture of two colours is finished by finishing the two.
TwoColours finished(unsigned int dark, unsigned int light, const Finish &finish)
{
    return {finish.word(dark), finish.word(light)};
}

// False for a number that is no mode; then nothing is written.
bool renderMode(int mode, ConstPixels from, Pixels to, const Finish &finish)
{
    switch (mode) {
    case 1:
        stretch(from, to, finish);
        return true;
    case 2:
        equalize(from, to, finish);
        return true;
    case 3:
        thresholdByOtsu(from, to, finished(black, white, finish));
        return true;
    case 4:
        thresholdByNeighbours(from, to, finished(black, white, finish));
        return true;
    case 5:
        // Two-colour rendering of pure black and white gives exactly its two colours.
        thresholdByNeighbours(from, to, finished(white, boardGreen, finish));
        return true;
    case 6:
        posterize(from, to, finish);
        return true;
    default:
        return false;
    }
}

// Adds to \a times.
void render(ConstPixels from, Pixels to, int mode, const Finish &finish, FrameTimes &times)
{
    const double start = tic();
    if (renderMode(mode, from, to, finish)) {
        times.mode += toc(start);
    } else {
        applyFinish(from, to, finish);
        times.effect += toc(start);
    }
}

bool isOpaque(ConstPixels pixels)
{
    for (int y = 0; y < pixels.height(); ++y) {
        if (!kernels().isOpaque(pixels.row(y), pixels.width()))
            return false;
    }
    return true;
}

// With nothing selected and no coefficient changed, a frame is its own result. Reading it costs
// less than copying it.
bool isResult(const QImage &frame, const FrameSettings &settings, const Finish &finish)
{
    const bool isMode = settings.mode >= 1 && settings.mode <= 6;
    return !isMode && finish.keepsColours() && frame.format() == QImage::Format_RGB32 &&
           (settings.isOpaque || isOpaque(pixelsOf(frame)));
}

ImagePool &results()
{
    static ImagePool pool;
    return pool;
}

QImage renderApart(const QImage &frame, int mode, const Finish &finish, FrameTimes &times)
{
    ImagePool &pool = results();
    QImage result = pool.take(frame.size());
    if (result.isNull())
        return result;
    result.setDevicePixelRatio(frame.devicePixelRatio());
    result.setDotsPerMeterX(frame.dotsPerMeterX());
    result.setDotsPerMeterY(frame.dotsPerMeterY());
    render(pixelsOf(frame), editablePixels(&result), mode, finish, times);
    pool.keep(result);
    return result;
}

} // namespace

QImage renderFrame(const QImage &frame, const FrameSettings &settings, FrameTimes *times)
{
    QImage source = withPixelWords(frame);
    if (source.isNull()) {
        if (times)
            *times = {};
        return source;
    }
    FrameTimes spent;
    const double start = tic();
    const Finish finish = finishOf(settings);
    const bool isDone = isResult(source, settings, finish);
    spent.effect = toc(start);
    if (isDone)
        results().keepOnly(source.size()); // those of a far larger picture may be left
    QImage result = isDone ? source : renderApart(source, settings.mode, finish, spent);
    if (times)
        *times = spent;
    return result;
}

void processFrame(QImage *image, const FrameSettings &settings, FrameTimes *times)
{
    // Pixels that others hold too have to be copied; rendering into other memory is that copy.
    const bool shared = !image->isNull() && !image->isDetached();
    if (shared && image->format() == QImage::Format_RGB32) {
        *image = renderFrame(*image, settings, times);
        return;
    }
    FrameTimes spent;
    const double start = tic();
    const Finish finish = finishOf(settings);
    spent.effect = toc(start);
    const Pixels pixels = editablePixels(image);
    render(pixels, pixels, settings.mode, finish, spent);
    if (times)
        *times = spent;
}

} // namespace kivra
