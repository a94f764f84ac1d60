// An input is a picture with a place on the grid and a part of what it fills there. It is scaled
// under each instruction set of this machine and compared with the reference.
//
// The header has 16 bytes (a shorter one is padded with zeros): width and height (2 bytes each),
// scaling, origin across and down (2 bytes each, little-endian), wanted part (4 bytes: where it
// begins and ends, in 255ths), flags. The pixels are the bytes that follow, repeated.

#include "tests/fuzz/target.h"

#include "display/areascaler.h"
#include "render/kernels/kernels.h"
#include "tests/reference/reference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace kivra::fuzz {

namespace {

constexpr std::size_t headerSize = 16;
constexpr int mostPixels = 1 << 16; // larger ones only take longer
constexpr int mostColumns = 2048;   // and the reference looks at each many times

struct Header
{
    std::uint16_t width;
    std::uint16_t height;
    std::uint16_t scale;
    std::uint16_t across;
    std::uint16_t down;
    std::uint8_t left;
    std::uint8_t right;
    std::uint8_t top;
    std::uint8_t bottom;
    std::uint16_t flags;
};
static_assert(sizeof(Header) == headerSize);

QSize sizeOf(const Header &header)
{
    const int width = 1 + header.width % mostColumns;
    return {width, 1 + header.height % std::min(mostColumns, mostPixels / width)};
}

// From 4 down to 1 / 4, or from 1 down to 1 / 4096.
double scaleOf(const Header &header)
{
    return (header.flags & 1U) != 0 ? std::exp2(-header.scale / 5462.0)
                                    : std::exp2(2 - header.scale / 16384.0);
}

// Between two places in 255ths of the whole, at least one pixel.
QRect partOf(const QRect &whole, const Header &header)
{
    const auto place = [](int length, std::uint8_t share) { return (length - 1) * share / 255; };
    const auto [left, right] = std::minmax(header.left, header.right);
    const auto [top, bottom] = std::minmax(header.top, header.bottom);
    return {whole.topLeft() + QPoint(place(whole.width(), left), place(whole.height(), top)),
            whole.topLeft() + QPoint(place(whole.width(), right), place(whole.height(), bottom))};
}

QImage pictureOf(const QSize &size, const std::uint8_t *pixels, std::size_t count)
{
    QImage picture(size, QImage::Format_RGB32);
    std::size_t at = 0;
    std::generate_n(picture.bits(), picture.sizeInBytes(),
                    [&] { return count == 0 ? std::uint8_t{0} : pixels[at++ % count]; });
    return picture;
}

void requireNear(const QImage &actual, const QImage &exact)
{
    require(actual.size() == exact.size(), "the part has another size");
    for (int y = 0; y < exact.height(); ++y) {
        const uchar *const is = actual.constScanLine(y);
        const uchar *const wanted = exact.constScanLine(y);
        for (int i = 0; i < 4 * exact.width(); ++i)
            require(std::abs(is[i] - wanted[i]) <= 1, "a pixel is not the mean");
    }
}

} // namespace

std::unique_ptr<Surroundings> prepare(int &, char **)
{
    return nullptr;
}

void run(const std::uint8_t *data, std::size_t size)
{
    Header header{};
    const std::size_t headed = std::min(size, headerSize);
    std::memcpy(&header, data, headed);
    const QImage picture = pictureOf(sizeOf(header), data + headed, size - headed);
    const ScaledPlace place{QPointF(header.across / 64.0 - 512, header.down / 64.0 - 512),
                            scaleOf(header)};
    const QRect filled = pixelsFilled(picture.size(), place);
    if (filled.isEmpty())
        return;
    const QRect wanted = partOf(filled, header);
    const QImage exact = reference::areaMean(picture, place.origin, place.scale, wanted);
    static const Isa best = kernels().isa;
    for (const Isa isa : {Isa::Portable, Isa::Sse41, Isa::Avx2}) {
        if (isa > best)
            break;
        useKernels(kernelsFor(isa));
        requireNear(scaledByArea(picture, place, wanted), exact);
    }
}

} // namespace kivra::fuzz
