#pragma once

#include "cameras/video/frameformat.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace kivra::cameras {

/// Clockwise.
enum class Turn {
    None,
    By90,
    By180,
    By270,
};

/// How a camera's picture is put upright: turned first, then mirrored left to right.
struct Orientation
{
    Turn turn = Turn::None;
    bool mirror = false;

    bool operator==(Orientation other) const
    {
        return turn == other.turn && mirror == other.mirror;
    }
    bool operator!=(Orientation other) const { return !(*this == other); }
};

/// \a size, or its sides swapped where \a orientation lays the picture on its side.
Size turned(Size size, Orientation orientation);

/// Where a frame is decoded to; the caller owns the memory.
struct Picture
{
    std::uint32_t *pixels = nullptr; ///< words 0xFFRRGGBB
    Size size;
    std::size_t stride = 0; ///< bytes from row to row, a multiple of 4
};

/// Turns a driver's frames into opaque 32-bit pictures.
///
/// Used by one thread at a time; several decoders may run in parallel. Reuses its working memory,
/// so a steady stream allocates nothing of a frame's size.
class FrameDecoder
{
public:
    /// Accepts a format that isPossible() refuses, too; then no frame is good.
    FrameDecoder(const FrameFormat &format, Orientation orientation);
    ~FrameDecoder();

    /// The size of the decoded pictures: the format's, turned.
    Size size() const;

    /// The size of \a frame when decoded. It can differ from size() only for JPEG, whose header
    /// says it. Nothing if the frame cannot be good: cut, without a readable JPEG header, beyond
    /// 16384 x 16384 or 64 million pixels. Takes a few microseconds.
    std::optional<Size> sizeOf(const RawFrame &frame) const;

    /// Decodes \a frame. False, with \a picture in any state, if the frame is cut or corrupt or is
    /// not of the picture's size (as sizeOf() gives it). Reads nothing beyond the frame's lengths
    /// and writes nothing beyond the picture, whatever the frame's bytes are.
    bool decode(const RawFrame &frame, const Picture &picture);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace kivra::cameras
