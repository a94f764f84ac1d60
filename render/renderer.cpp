#include "render/renderer.h"

#include <exception>
#include <utility>

namespace kivra {

namespace {

Finish finishOf(const FrameSettings &settings)
{
    constexpr Pixel blue = 0xFF0000FFU;
    constexpr Pixel yellow = 0xFFFFFF00U;
    const Tone tone = brightnessTone(settings.lumiere, settings.contraste);
    switch (settings.effect) {
    case 1:
        return Finish(tone, Finish::Effect::Shade);
    case 2:
        return Finish(tone, Finish::Effect::Negative);
    case 3:
        return Finish(tone, Finish::Effect::TwoColours, {blue, yellow});
    default:
        return Finish(tone);
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
        // OpenCV and the standard library throw when memory is short.
        return {};
    }
}

Rendering Renderer::rendered(const QImage &source, bool isOpaque, const FrameSettings &settings)
{
    Clock clock;
    const Finish finish = finishOf(settings);
    const double making = clock.lap();
    for (QImage &result : results) {
        if (result.size() != source.size())
            result = QImage();
    }
    if (!isMode(settings.mode) && finish.keepsColours() && isOpaque &&
        source.format() == QImage::Format_RGB32)
        return {source, {0, making}};

    QImage &result = resultOf(source.size());
    const Pixels to = editablePixels(&result);
    if (to.isEmpty())
        return {};
    FrameTimes times = paint({pixelsOf(source), to, threadCount, plane}, settings.mode, finish);
    times.effect += making;
    result.setDevicePixelRatio(source.devicePixelRatio());
    result.setDotsPerMeterX(source.dotsPerMeterX());
    result.setDotsPerMeterY(source.dotsPerMeterY());
    return {result, times};
}

// A picture that nobody else holds, with undefined pixels; null if there is no memory for it. Two
// are enough: one on the screen and one in the making.
QImage &Renderer::resultOf(const QSize &size)
{
    if (!results[0].isDetached())
        std::swap(results[0], results[1]);
    QImage &result = results[0];
    if (!result.isDetached())
        result = QImage(size, QImage::Format_RGB32);
    return result;
}

} // namespace kivra
