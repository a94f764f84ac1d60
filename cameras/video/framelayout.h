#pragma once

#include "cameras/video/frameformat.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kivra::cameras {

/// Whether a picture may be of this size.
bool isPossible(Size size);

/// What the components of a format are.
enum class Family {
    Yuyv,
    Uyvy,
    SemiPlanar, ///< luma; pairs of chroma
    Planar,     ///< luma; two planes of chroma
    Grey,
    Rgb,
    Jpeg,
};

/// The bytes of an RGB pixel in memory; X is ignored.
enum class ByteOrder {
    Bgr,
    Rgb,
    Bgrx,
    Rgbx,
    Xbgr,
    Xrgb,
};

/// What a fourcc stands for.
struct FrameLayout
{
    std::uint32_t fourcc;
    Family family;
    int memoryPlanes = 1;
    bool isVFirst = false; ///< V, not U, comes first
    ByteOrder order = ByteOrder::Bgr;
};

/// Null for a format that is not read.
const FrameLayout *layoutOf(std::uint32_t fourcc);

int bytesPerPixel(ByteOrder order);

/// Where one component of a frame lies: the only plane of packed formats, luma, chroma.
struct Component
{
    std::size_t memoryPlane = 0;
    std::size_t offset = 0;
    std::size_t stride = 0;
    std::size_t rowBytes = 0;
    std::size_t rows = 0;

    /// Bytes of the memory plane up to the component's last one.
    std::size_t end() const { return offset + stride * (rows - 1) + rowBytes; }
};

struct Components
{
    std::array<Component, 3> at;
    std::size_t count = 0;
};

/// The components of a raw format in memory order; nothing if the format is compressed or
/// impossible.
std::optional<Components> componentsOf(const FrameFormat &format);

} // namespace kivra::cameras
