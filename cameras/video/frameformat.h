#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// How a V4L2 driver lays out its frames. Independent of Qt and of the node.

namespace kivra::cameras {

/// How the camera converted colours to luma and chroma.
enum class Matrix {
    Bt601,
    Bt709,
    Bt2020,
};

/// The levels of black and white: 16 and 235, or 0 and 255.
enum class Range {
    Limited,
    Full,
};

/// A driver or a setting that says more is not believed.
constexpr int longestSide = 16384;

/// In pixels.
struct Size
{
    int width = 0;
    int height = 0;

    bool operator==(Size other) const { return width == other.width && height == other.height; }
    bool operator!=(Size other) const { return !(*this == other); }

    long long area() const { return static_cast<long long>(width) * height; }
};

/// One memory plane of a frame, in bytes.
struct FramePlane
{
    std::size_t stride = 0; ///< from row to row (bytesperline); 0 for rows without padding
    std::size_t size = 0;   ///< of the driver's buffer (sizeimage)
};

/// The format of a driver's frames (VIDIOC_G_FMT, with defaults resolved).
struct FrameFormat
{
    std::uint32_t fourcc = 0; ///< V4L2_PIX_FMT_...
    Size size;
    /// As many as the driver's memory planes: one, also where luma and chroma follow one another
    /// in it (NV12, YU12, YV12), or those of NM12, NM21, YM12 and YM21.
    int planeCount = 1;
    std::array<FramePlane, 3> planes;
    /// Of YUV and grey. JPEG has its own: BT.601, full range, whatever the driver says.
    Matrix matrix = Matrix::Bt601;
    /// Of YUV, grey and RGB.
    Range range = Range::Limited;
};

/// One frame as it lies in the driver's buffers; the caller owns them.
struct RawFrame
{
    /// As many as FrameFormat::planeCount, the others null.
    std::array<const std::uint8_t *, 3> planes{};
    /// Bytes that may be read from each (bytesused, less data_offset).
    std::array<std::size_t, 3> lengths{};
};

/// Whether FrameDecoder reads this format.
bool isReadable(std::uint32_t fourcc);

/// Whether the format holds compressed frames (JPEG), whose length and size may differ from one to
/// the next.
bool isCompressed(std::uint32_t fourcc);

/// Whether this can be true: a readable format, a size from 1 x 1 to 16384 x 16384, the format's
/// number of planes, rows that fit into the stride, planes that fit into the buffers.
bool isPossible(const FrameFormat &format);

} // namespace kivra::cameras
