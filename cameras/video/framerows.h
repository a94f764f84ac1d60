#pragma once

#include "cameras/video/framelayout.h"
#include "cameras/video/yuvrows.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace kivra::cameras {

/// A frame as rows of words 0xFFRRGGBB. To be read from the top down; the same row may be read
/// again.
class FrameRows
{
public:
    virtual ~FrameRows() = default;
    /// Writes \a n pixels of row \a y, from pixel \a x on. \a x is a multiple of 4.
    virtual void read(int y, int x, int n, std::uint32_t *to) = 0;
    /// Whether all rows read so far are good; a bad row may hold anything.
    virtual bool isGood() const { return true; }
};

/// One component of a frame, in memory that somebody else owns.
struct ByteRows
{
    const std::uint8_t *bytes = nullptr;
    std::size_t stride = 0;

    const std::uint8_t *at(int y, int byte) const
    {
        return bytes + stride * static_cast<std::size_t>(y) + byte;
    }
};

/// YUYV or UYVY.
class PackedRows : public FrameRows
{
public:
    PackedRows(const YuvRows &convert, Family family, ByteRows pairs);
    void read(int y, int x, int n, std::uint32_t *to) override;

private:
    const YuvRows &convert;
    Family family;
    ByteRows pairs;
};

/// NV12 or, with V first, NV21.
class SemiPlanarRows : public FrameRows
{
public:
    SemiPlanarRows(const YuvRows &convert, bool isVFirst, ByteRows luma, ByteRows chroma);
    void read(int y, int x, int n, std::uint32_t *to) override;

private:
    const YuvRows &convert;
    bool isVFirst;
    ByteRows luma;
    ByteRows chroma;
};

/// Three planes; a chroma sample stands for 1, 2 or 4 pixels across and down (shift 0, 1, 2).
class PlanarRows : public FrameRows
{
public:
    struct Planes
    {
        ByteRows y;
        ByteRows u;
        ByteRows v;
        int shiftAcross = 0;
        int shiftDown = 0;
    };

    PlanarRows(const YuvRows &convert, const Planes &planes);
    void read(int y, int x, int n, std::uint32_t *to) override;

private:
    void readQuarters(int y, int x, int n, std::uint32_t *to) const;

    const YuvRows &convert;
    Planes planes;
};

class GreyRows : public FrameRows
{
public:
    GreyRows(const YuvRows &convert, ByteRows luma);
    void read(int y, int x, int n, std::uint32_t *to) override;

private:
    const YuvRows &convert;
    ByteRows luma;
};

class RgbRows : public FrameRows
{
public:
    RgbRows(ByteOrder order, Range range, ByteRows pixels);
    void read(int y, int x, int n, std::uint32_t *to) override;

private:
    ByteOrder order;
    Range range;
    ByteRows pixels;
};

} // namespace kivra::cameras
