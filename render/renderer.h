#pragma once

#include "render/modes.h"
#include "render/parallel.h"

#include <QImage>
#include <array>

namespace kivra {

/// What becomes of a picture on its way to the screen: rendering mode, then the brightness and
/// contrast table, then the effect.
struct FrameSettings
{
    /// Rendering mode: 1 stretch, 2 equalisation, 3 Otsu, 4 adaptive threshold, 5 the same in the
    /// board's colours, 6 posterisation; any other number: none.
    int mode = 0;
    /// Effect: 1 grey, 2 negative, 3 blue and yellow; any other number: none.
    int effect = 0;
    /// Brightness and contrast as brightnessTone() takes them.
    int lumiere = 0;
    int contraste = 100;
};

/// A picture, and what its maker knows of it.
struct Frame
{
    QImage image;
    bool isOpaque = false; ///< the alpha of every pixel is 255
};

struct Rendering
{
    QImage image;
    FrameTimes times;
};

/// Renders pictures. It owns its working memory, so a steady stream allocates nothing. Each thread
/// may have a renderer of its own.
class Renderer
{
public:
    /// Uses up to \a threads threads at once, including the caller's.
    explicit Renderer(int threads = allThreads());

    /// Renders the frame as an opaque picture in Format_RGB32; the frame keeps its pixels. A frame
    /// of other pixels than 0xAARRGGBB words (Format_RGB32, Format_ARGB32) is converted first. If
    /// nothing changes an opaque Format_RGB32 frame, the result is the frame itself, shared.
    ///
    /// Null for an empty frame, or if memory is short. Never throws.
    Rendering render(const Frame &frame, const FrameSettings &settings);

private:
    Rendering rendered(const QImage &source, bool isOpaque, const FrameSettings &settings);
    QImage &resultOf(const QSize &size);

    int threadCount;
    cv::Mat plane;
    /// The last two results, the newer one first; their memory is used again once nobody else holds
    /// them. Freeing a large picture would return its memory to the system, and faulting in fresh
    /// pages for the next frame costs more than most modes.
    std::array<QImage, 2> results;
};

} // namespace kivra
