#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// What a camera's frames show, as slowly and obviously as it can be calculated: in floating point,
// from the definitions. Nothing here shares code with the product.

namespace kivra::reference {

/// The code of the colours: the weights of red and blue in luma, and whether black and white are 0
/// and 255 or 16 and 235.
struct ColourCode
{
    double red = 0.299;
    double blue = 0.114;
    bool isFull = false;
};

/// Words 0xFFRRGGBB, row after row.
struct CameraPicture
{
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;

    std::uint32_t at(int x, int y) const
    {
        return pixels.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                         static_cast<std::size_t>(x));
    }
};

/// A frame as a driver delivers it: \c fourcc as four letters, and its memory planes.
struct CameraFrame
{
    std::string fourcc;
    int width = 0;
    int height = 0;
    std::vector<std::vector<std::uint8_t>> planes;
    std::vector<std::size_t> strides;
    ColourCode code;
};

std::uint32_t colourOf(int y, int u, int v, const ColourCode &code);

CameraPicture cameraPicture(const CameraFrame &frame);

/// Decodes a complete JPEG of YCbCr or grey in libjpeg's slowest way, without smoothing chroma.
CameraPicture jpegPicture(const std::vector<std::uint8_t> &jpeg);

/// Turned clockwise by this many quarters, then mirrored left to right.
CameraPicture turned(const CameraPicture &picture, int quarters, bool mirrored);

/// The largest difference between channels; 256 if the sizes differ or an alpha is not 255.
int difference(const CameraPicture &a, const CameraPicture &b);

} // namespace kivra::reference
