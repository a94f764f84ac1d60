#include "cameras/video/framedecoder.h"

#include "cameras/video/framelayout.h"
#include "cameras/video/framerows.h"
#include "cameras/video/jpegframe.h"
#include "cameras/video/jpegmarkers.h"
#include "cameras/video/picturewriter.h"

#include <utility>

namespace kivra::cameras {

namespace {

bool isWhole(const RawFrame &frame, const Components &components)
{
    for (std::size_t i = 0; i < components.count; ++i) {
        const Component &component = components.at.at(i);
        if (!frame.planes.at(component.memoryPlane) ||
            frame.lengths.at(component.memoryPlane) < component.end())
            return false;
    }
    return true;
}

ByteRows rowsOf(const RawFrame &frame, const Component &component)
{
    return {frame.planes.at(component.memoryPlane) + component.offset, component.stride};
}

} // namespace

Size turned(Size size, Orientation orientation)
{
    const bool isSideways = orientation.turn == Turn::By90 || orientation.turn == Turn::By270;
    return isSideways ? Size{size.height, size.width} : size;
}

struct FrameDecoder::Implementation
{
    Implementation(const FrameFormat &frameFormat, Orientation wanted)
        : format(frameFormat)
        , orientation(wanted)
        , layout(isPossible(frameFormat) ? layoutOf(frameFormat.fourcc) : nullptr)
        , components(componentsOf(frameFormat).value_or(Components()))
        , convert(frameFormat.matrix, frameFormat.range)
        , writer(wanted)
    {
    }

    std::unique_ptr<FrameRows> rawRows(const RawFrame &frame) const;
    std::unique_ptr<FrameRows> rows(const RawFrame &frame, Size size);
    std::optional<Size> sourceSize(const RawFrame &frame) const;

    FrameFormat format;
    Orientation orientation;
    const FrameLayout *layout; // null if the format cannot be decoded
    Components components;     // of raw formats
    YuvRows convert;
    JpegFrame jpeg;
    PictureWriter writer;
};

// The size before it is turned.
std::optional<Size> FrameDecoder::Implementation::sourceSize(const RawFrame &frame) const
{
    if (!layout)
        return std::nullopt;
    if (layout->family == Family::Jpeg) {
        const auto header = jpegHeader(frame.planes[0], frame.lengths[0]);
        return header ? std::optional(header->size) : std::nullopt;
    }
    return isWhole(frame, components) ? std::optional(format.size) : std::nullopt;
}

std::unique_ptr<FrameRows> FrameDecoder::Implementation::rawRows(const RawFrame &frame) const
{
    const ByteRows first = rowsOf(frame, components.at[0]);
    switch (layout->family) {
    case Family::Yuyv:
    case Family::Uyvy:
        return std::make_unique<PackedRows>(convert, layout->family, first);
    case Family::SemiPlanar:
        return std::make_unique<SemiPlanarRows>(convert, layout->isVFirst, first,
                                                rowsOf(frame, components.at[1]));
    case Family::Planar: {
        ByteRows u = rowsOf(frame, components.at[1]);
        ByteRows v = rowsOf(frame, components.at[2]);
        if (layout->isVFirst)
            std::swap(u, v);
        return std::make_unique<PlanarRows>(convert, PlanarRows::Planes{first, u, v, 1, 1});
    }
    case Family::Grey:
        return std::make_unique<GreyRows>(convert, first);
    case Family::Rgb:
        return std::make_unique<RgbRows>(layout->order, format.range, first);
    case Family::Jpeg:
        break;
    }
    return nullptr;
}

std::unique_ptr<FrameRows> FrameDecoder::Implementation::rows(const RawFrame &frame, Size size)
{
    if (layout->family == Family::Jpeg)
        return jpeg.decode(frame.planes[0], frame.lengths[0], size);
    return rawRows(frame);
}

FrameDecoder::FrameDecoder(const FrameFormat &format, Orientation orientation)
    : implementation(std::make_unique<Implementation>(format, orientation))
{
}

FrameDecoder::~FrameDecoder() = default;

Size FrameDecoder::size() const
{
    return turned(implementation->format.size, implementation->orientation);
}

std::optional<Size> FrameDecoder::sizeOf(const RawFrame &frame) const
{
    const auto source = implementation->sourceSize(frame);
    if (!source)
        return std::nullopt;
    return turned(*source, implementation->orientation);
}

bool FrameDecoder::decode(const RawFrame &frame, const Picture &picture)
{
    const auto source = implementation->sourceSize(frame);
    if (!source || turned(*source, implementation->orientation) != picture.size)
        return false;
    const auto rows = implementation->rows(frame, *source);
    if (!rows)
        return false;
    implementation->writer.write(*rows, *source, picture);
    return rows->isGood();
}

} // namespace kivra::cameras
