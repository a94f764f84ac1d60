#pragma once

#include <QImage>

// The way of every picture to the screen: rendering mode, then the brightness and contrast table,
// then the effect. The coefficient of the mode setting acts in none of the modes.

namespace kivra {

struct FrameSettings
{
    /// Rendering mode: 1 stretch, 2 equalisation, 3 Otsu, 4 adaptive threshold, 5 the same in the
    /// board's colours, 6 posterisation; any other number: none.
    int mode = 0;
    /// Effect: 1 grey, 2 negative, 3 blue and yellow; any other number: none.
    int effect = 0;
    /// Brightness and contrast as CalculerLut() takes them.
    int lumiere = 0;
    int contraste = 100;
    /// Known to the caller: the alpha of every pixel of the frame is 255. Otherwise they are looked
    /// at where it matters.
    bool isOpaque = false;
};

/// Where the time went, in seconds. A mode other than none writes each pixel with its table and
/// effect already in it; that pass counts as the mode's, and the effect step is then only the
/// making of its tables. Without a mode, the pass is the effect step's.
struct FrameTimes
{
    double mode = 0;
    double effect = 0;
};

/// The picture that \a frame becomes, in Format_RGB32, every pixel opaque; \a frame keeps its
/// pixels. A frame of other than 0xAARRGGBB words (Format_RGB32, Format_ARGB32) is converted first.
/// Null for an empty frame.
///
/// What is left as it is, is the frame itself, shared: an opaque Format_RGB32 without mode, table
/// and effect. Otherwise the results of the last frames are kept until frames of another size come,
/// and the memory of one that nobody else holds any more is used again, so a steady stream
/// allocates nothing.
QImage renderFrame(const QImage &frame, const FrameSettings &settings, FrameTimes *times = nullptr);

/// The same in place. \a image keeps its format if that is Format_RGB32 or Format_ARGB32, and other
/// holders of the same picture keep their pixels. An empty picture stays as it is.
void processFrame(QImage *image, const FrameSettings &settings, FrameTimes *times = nullptr);

} // namespace kivra
