#include "cameras/video/framelayout.h"

#include <algorithm>
#include <linux/videodev2.h>

namespace kivra::cameras {

namespace {

// The kernel's names for 32-bit pixels give the order in a little-endian word, except RGB32 and
// BGR32.
constexpr std::array layouts{
    FrameLayout{V4L2_PIX_FMT_YUYV, Family::Yuyv},
    FrameLayout{V4L2_PIX_FMT_UYVY, Family::Uyvy},
    FrameLayout{V4L2_PIX_FMT_NV12, Family::SemiPlanar},
    FrameLayout{V4L2_PIX_FMT_NV21, Family::SemiPlanar, 1, true},
    FrameLayout{V4L2_PIX_FMT_NV12M, Family::SemiPlanar, 2},
    FrameLayout{V4L2_PIX_FMT_NV21M, Family::SemiPlanar, 2, true},
    FrameLayout{V4L2_PIX_FMT_YUV420, Family::Planar},
    FrameLayout{V4L2_PIX_FMT_YVU420, Family::Planar, 1, true},
    FrameLayout{V4L2_PIX_FMT_YUV420M, Family::Planar, 3},
    FrameLayout{V4L2_PIX_FMT_YVU420M, Family::Planar, 3, true},
    FrameLayout{V4L2_PIX_FMT_GREY, Family::Grey},
    FrameLayout{V4L2_PIX_FMT_BGR24, Family::Rgb, 1, false, ByteOrder::Bgr},
    FrameLayout{V4L2_PIX_FMT_RGB24, Family::Rgb, 1, false, ByteOrder::Rgb},
    FrameLayout{V4L2_PIX_FMT_BGR32, Family::Rgb, 1, false, ByteOrder::Bgrx},
    FrameLayout{V4L2_PIX_FMT_ABGR32, Family::Rgb, 1, false, ByteOrder::Bgrx},
    FrameLayout{V4L2_PIX_FMT_XBGR32, Family::Rgb, 1, false, ByteOrder::Bgrx},
    FrameLayout{V4L2_PIX_FMT_RGBA32, Family::Rgb, 1, false, ByteOrder::Rgbx},
    FrameLayout{V4L2_PIX_FMT_RGBX32, Family::Rgb, 1, false, ByteOrder::Rgbx},
    FrameLayout{V4L2_PIX_FMT_BGRA32, Family::Rgb, 1, false, ByteOrder::Xbgr},
    FrameLayout{V4L2_PIX_FMT_BGRX32, Family::Rgb, 1, false, ByteOrder::Xbgr},
    FrameLayout{V4L2_PIX_FMT_RGB32, Family::Rgb, 1, false, ByteOrder::Xrgb},
    FrameLayout{V4L2_PIX_FMT_ARGB32, Family::Rgb, 1, false, ByteOrder::Xrgb},
    FrameLayout{V4L2_PIX_FMT_XRGB32, Family::Rgb, 1, false, ByteOrder::Xrgb},
    FrameLayout{V4L2_PIX_FMT_MJPEG, Family::Jpeg},
    FrameLayout{V4L2_PIX_FMT_JPEG, Family::Jpeg},
};

constexpr std::size_t longestStride = std::size_t{1} << 24;

// Half of n, rounded up: two pixels share a chroma sample.
std::size_t half(std::size_t n)
{
    return n / 2 + n % 2;
}

std::size_t unpaddedStride(const FrameLayout &layout, std::size_t width)
{
    switch (layout.family) {
    case Family::Yuyv:
    case Family::Uyvy:
        return half(width) * 4;
    case Family::Rgb:
        return width * static_cast<std::size_t>(bytesPerPixel(layout.order));
    default:
        return width;
    }
}

// The stride that the driver gives for a memory plane, or \a tight if it gives none.
std::size_t strideOf(const FrameFormat &format, std::size_t plane, std::size_t tight)
{
    const std::size_t given = format.planes.at(plane).stride;
    return given == 0 ? tight : given;
}

// In a single memory plane, components follow one another without a gap, and the stride of chroma
// is derived from that of luma.
void addChroma(Components &all, const FrameFormat &format, const FrameLayout &layout,
               std::size_t samplesPerPair, std::size_t count)
{
    const Component &luma = all.at.front();
    for (; all.count <= count; ++all.count) {
        Component chroma;
        chroma.rowBytes = half(luma.rowBytes) * samplesPerPair;
        chroma.rows = half(luma.rows);
        if (layout.memoryPlanes > 1) {
            chroma.memoryPlane = all.count;
            chroma.stride = strideOf(format, all.count, chroma.rowBytes);
        } else {
            const Component &before = all.at.at(all.count - 1);
            chroma.offset = before.offset + before.stride * before.rows;
            chroma.stride = half(luma.stride) * samplesPerPair;
        }
        all.at.at(all.count) = chroma;
    }
}

bool isSane(const Component &component)
{
    return component.stride >= component.rowBytes && component.stride <= longestStride;
}

} // namespace

const FrameLayout *layoutOf(std::uint32_t fourcc)
{
    const auto *const found =
        std::find_if(layouts.begin(), layouts.end(),
                     [&](const FrameLayout &layout) { return layout.fourcc == fourcc; });
    return found == layouts.end() ? nullptr : found;
}

int bytesPerPixel(ByteOrder order)
{
    return order == ByteOrder::Bgr || order == ByteOrder::Rgb ? 3 : 4;
}

std::optional<Components> componentsOf(const FrameFormat &format)
{
    const FrameLayout *layout = layoutOf(format.fourcc);
    if (!layout || layout->family == Family::Jpeg || !isPossible(format.size) ||
        format.planeCount != layout->memoryPlanes)
        return std::nullopt;

    Components all;
    Component &first = all.at.front();
    first.rowBytes = unpaddedStride(*layout, static_cast<std::size_t>(format.size.width));
    first.rows = static_cast<std::size_t>(format.size.height);
    first.stride = strideOf(format, 0, first.rowBytes);
    if (!isSane(first))
        return std::nullopt;
    all.count = 1;
    if (layout->family == Family::SemiPlanar)
        addChroma(all, format, *layout, 2, 1);
    else if (layout->family == Family::Planar)
        addChroma(all, format, *layout, 1, 2);
    if (!std::all_of(all.at.begin(), all.at.begin() + static_cast<std::ptrdiff_t>(all.count),
                     isSane))
        return std::nullopt;
    return all;
}

bool isPossible(Size size)
{
    return size.width >= 1 && size.width <= longestSide && size.height >= 1 &&
           size.height <= longestSide;
}

} // namespace kivra::cameras
