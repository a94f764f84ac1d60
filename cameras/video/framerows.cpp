#include "cameras/video/framerows.h"

#include <algorithm>
#include <libyuv/convert_argb.h>

namespace kivra::cameras {

namespace {

constexpr std::uint32_t opaque = 0xFF000000U;

// libyuv's names give the order of the bytes in a little-endian word, except RAW and RGB24.
void toWords(ByteOrder order, const std::uint8_t *from, std::uint32_t *words, int n)
{
    auto *to = reinterpret_cast<std::uint8_t *>(words);
    switch (order) {
    case ByteOrder::Bgr:
        libyuv::RGB24ToARGB(from, 0, to, 0, n, 1);
        break;
    case ByteOrder::Rgb:
        libyuv::RAWToARGB(from, 0, to, 0, n, 1);
        break;
    case ByteOrder::Bgrx:
        std::copy_n(from, 4 * n, to);
        break;
    case ByteOrder::Rgbx:
        libyuv::ABGRToARGB(from, 0, to, 0, n, 1);
        break;
    case ByteOrder::Xbgr:
        libyuv::RGBAToARGB(from, 0, to, 0, n, 1);
        break;
    case ByteOrder::Xrgb:
        libyuv::BGRAToARGB(from, 0, to, 0, n, 1);
        break;
    }
}

// Levels 16 to 235 become 0 to 255.
std::array<std::uint8_t, 256> makeWider()
{
    std::array<std::uint8_t, 256> table{};
    for (int level = 16; level < 256; ++level)
        table.at(static_cast<std::size_t>(level)) =
            static_cast<std::uint8_t>(std::min(255, ((level - 16) * 255 + 109) / 219));
    return table;
}

void widen(std::uint32_t *words, int n)
{
    static const std::array<std::uint8_t, 256> wider = makeWider();
    auto *const bytes = reinterpret_cast<std::uint8_t *>(words);
    std::transform(bytes, bytes + 4 * n, bytes, [](std::uint8_t byte) { return wider[byte]; });
}

} // namespace

PackedRows::PackedRows(const YuvRows &rows, Family packing, ByteRows content)
    : convert(rows)
    , family(packing)
    , pairs(content)
{
}

void PackedRows::read(int y, int x, int n, std::uint32_t *to)
{
    const std::uint8_t *const from = pairs.at(y, 2 * x);
    if (family == Family::Uyvy)
        convert.uyvy(from, to, n);
    else
        convert.yuyv(from, to, n);
}

SemiPlanarRows::SemiPlanarRows(const YuvRows &rows, bool isReversed, ByteRows y, ByteRows pairs)
    : convert(rows)
    , isVFirst(isReversed)
    , luma(y)
    , chroma(pairs)
{
}

void SemiPlanarRows::read(int y, int x, int n, std::uint32_t *to)
{
    const std::uint8_t *const pairs = chroma.at(y / 2, x);
    if (isVFirst)
        convert.nv21(luma.at(y, x), pairs, to, n);
    else
        convert.nv12(luma.at(y, x), pairs, to, n);
}

PlanarRows::PlanarRows(const YuvRows &rows, const Planes &content)
    : convert(rows)
    , planes(content)
{
}

void PlanarRows::read(int y, int x, int n, std::uint32_t *to)
{
    if (planes.shiftAcross == 2) {
        readQuarters(y, x, n, to);
        return;
    }
    const std::uint8_t *const u = planes.u.at(y >> planes.shiftDown, x >> planes.shiftAcross);
    const std::uint8_t *const v = planes.v.at(y >> planes.shiftDown, x >> planes.shiftAcross);
    if (planes.shiftAcross == 0)
        convert.i444(planes.y.at(y, x), u, v, to, n);
    else
        convert.i422(planes.y.at(y, x), u, v, to, n);
}

// Repeats each chroma sample for four pixels, and so has one for every two.
void PlanarRows::readQuarters(int y, int x, int n, std::uint32_t *to) const
{
    constexpr int most = 256;
    std::array<std::uint8_t, most / 2> us{};
    std::array<std::uint8_t, most / 2> vs{};
    for (int done = 0; done < n; done += most) {
        const int now = std::min(most, n - done);
        const std::uint8_t *const u = planes.u.at(y >> planes.shiftDown, (x + done) / 4);
        const std::uint8_t *const v = planes.v.at(y >> planes.shiftDown, (x + done) / 4);
        for (std::size_t i = 0; i < static_cast<std::size_t>(now + 1) / 2; ++i) {
            us.at(i) = u[i / 2];
            vs.at(i) = v[i / 2];
        }
        convert.i422(planes.y.at(y, x + done), us.data(), vs.data(), to + done, now);
    }
}

GreyRows::GreyRows(const YuvRows &rows, ByteRows y)
    : convert(rows)
    , luma(y)
{
}

void GreyRows::read(int y, int x, int n, std::uint32_t *to)
{
    convert.grey(luma.at(y, x), to, n);
}

RgbRows::RgbRows(ByteOrder bytes, Range levels, ByteRows content)
    : order(bytes)
    , range(levels)
    , pixels(content)
{
}

void RgbRows::read(int y, int x, int n, std::uint32_t *to)
{
    toWords(order, pixels.at(y, bytesPerPixel(order) * x), to, n);
    if (range == Range::Limited)
        widen(to, n);
    std::for_each(to, to + n, [](std::uint32_t &word) { word |= opaque; });
}

} // namespace kivra::cameras
