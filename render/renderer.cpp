#include "render/renderer.h"

#include <algorithm>
#include <exception>

namespace kivra {

namespace {

Finish finishOf(const FrameSettings &settings)
{
    constexpr Pixel blue = 0xFF0000FFU;
    constexpr Pixel yellow = 0xFFFFFF00U;
    const Tone tone = brightnessTone(settings.lumiere, settings.contraste);
    switch (settings.effect) {
    case 1:
        return {tone, Finish::Effect::Shade};
    case 2:
        return {tone, Finish::Effect::Negative};
    case 3:
        return {tone, Finish::Effect::TwoColours, {blue, yellow}};
    default:
        return {tone, Finish::Effect::None};
    }
}

} // namespace

Renderer::Renderer(int threads)
    : threadCount(threads)
{
}

Rendering Renderer::render(const Frame &frame, const FrameSettings &settings)
{
    const QImage source = withPixelWords(frame.image);
    if (source.isNull())
        return {};
    try {
        return rendered(source, frame.isOpaque, settings);
    } catch (const std::exception &) {
        // OpenCV and the standard library throw where memory is short.
        return {};
    }
}

Rendering Renderer::rendered(const QImage &source, bool isOpaque, const FrameSettings &settings)
{
    Clock clock;
    const Finish finish = finishOf(settings);
    const double making = clock.lap();
    forgetOtherSizes(source.size());
    if (!isMode(settings.mode) && finish.keepsColours() && isOpaque &&
        source.format() == QImage::Format_RGB32)
        return {source, {0, making}};

    QImage result = takeResult(source.size());
    if (result.isNull())
        return {};
    const Pixels pixels = editablePixels(&result);
    FrameTimes times = paint({pixelsOf(source), pixels, threadCount, plane}, settings.mode, finish);
    times.effect += making;
    result.setDevicePixelRatio(source.devicePixelRatio());
    result.setDotsPerMeterX(source.dotsPerMeterX());
    result.setDotsPerMeterY(source.dotsPerMeterY());
    results.push_back(result);
    return {result, times};
}

// Held by nobody else, with undefined pixels; null if there is no memory for it.
QImage Renderer::takeResult(const QSize &size)
{
    constexpr std::size_t kept = 2; // one on the screen and one that is being made
    const auto free = std::find_if(results.begin(), results.end(),
                                   [](const QImage &image) { return image.isDetached(); });
    if (free != results.end()) {
        QImage image = std::move(*free);
        results.erase(free);
        return image;
    }
    if (results.size() == kept)
        results.erase(results.begin());
    return {size, QImage::Format_RGB32};
}

void Renderer::forgetOtherSizes(const QSize &size)
{
    results.erase(std::remove_if(results.begin(), results.end(),
                                 [&](const QImage &image) { return image.size() != size; }),
                  results.end());
}

} // namespace kivra
