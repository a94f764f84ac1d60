#include "cameras/video/jpegmarkers.h"

#include "cameras/video/framelayout.h"

#include <algorithm>

// Markers as ITU-T T.81, annex B, lists them.

namespace kivra::cameras {

namespace {

constexpr int fill = 0xFF;
constexpr int soi = 0xD8;
constexpr int eoi = 0xD9;
constexpr int sos = 0xDA;
constexpr int dht = 0xC4;
constexpr int jpgExtension = 0xC8;
constexpr int dac = 0xCC;
constexpr int progressiveHuffman = 0xC2;
constexpr int none = -1;

class Walk
{
public:
    Walk(const std::uint8_t *jpeg, std::size_t count)
        : bytes(jpeg)
        , length(count)
    {
    }

    std::size_t place() const { return at; }
    void moveTo(std::size_t place) { at = place; }

    /// Reads the next marker and moves past it; none at the end, or if there is no marker here.
    int marker()
    {
        if (at >= length || bytes[at] != fill)
            return none;
        while (at < length && bytes[at] == fill)
            ++at;
        return at < length ? bytes[at++] : none;
    }

    /// The length of the segment here, including its two length bytes; 0 if the segment is cut.
    std::size_t segment() const
    {
        if (length - at < 2)
            return 0;
        const std::size_t count = number(0);
        return count < 2 || count > length - at ? 0 : count;
    }

    /// The two bytes at \a offset in the segment.
    std::size_t number(std::size_t offset) const
    {
        return static_cast<std::size_t>(bytes[at + offset] << 8 | bytes[at + offset + 1]);
    }

    bool skipSegment()
    {
        const std::size_t count = segment();
        at += count;
        return count != 0;
    }

    /// Moves to the next marker, past stuffed bytes and restart markers.
    void skipScan()
    {
        for (; at < length; ++at) {
            at = static_cast<std::size_t>(std::find(bytes + at, bytes + length, fill) - bytes);
            const bool isData =
                at + 1 < length &&
                (bytes[at + 1] == 0 || (bytes[at + 1] >= 0xD0 && bytes[at + 1] <= 0xD7));
            if (!isData)
                return;
        }
    }

private:
    const std::uint8_t *bytes;
    std::size_t length;
    std::size_t at = 0;
};

bool isFrameHeader(int marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != dht && marker != jpgExtension &&
           marker != dac;
}

bool isWithinLimits(Size size)
{
    constexpr long long mostPixels = 64LL << 20;
    return isPossible(size) && 1LL * size.width * size.height <= mostPixels;
}

} // namespace

std::optional<JpegHeader> jpegHeader(const std::uint8_t *jpeg, std::size_t length)
{
    Walk walk(jpeg, length);
    if (!jpeg || walk.marker() != soi)
        return std::nullopt;
    JpegHeader header;
    for (;;) {
        const int marker = walk.marker();
        if (marker == none || marker == eoi)
            return std::nullopt;
        if (marker == sos) {
            header.firstScan = walk.place() - 2;
            return isWithinLimits(header.size) ? std::optional(header) : std::nullopt;
        }
        const std::size_t count = walk.segment();
        if (isFrameHeader(marker)) {
            if (count < 8)
                return std::nullopt;
            header.size = {static_cast<int>(walk.number(5)), static_cast<int>(walk.number(3))};
            header.isHuffmanCoded = marker <= progressiveHuffman;
        }
        header.hasHuffmanTables = header.hasHuffmanTables || marker == dht;
        if (!walk.skipSegment())
            return std::nullopt;
    }
}

std::optional<std::size_t> jpegLength(const std::uint8_t *jpeg, std::size_t length,
                                      std::size_t firstScan)
{
    Walk walk(jpeg, length);
    walk.moveTo(firstScan);
    for (;;) {
        const int marker = walk.marker();
        if (marker == eoi)
            return walk.place();
        if (marker == none || !walk.skipSegment())
            return std::nullopt;
        if (marker == sos)
            walk.skipScan();
    }
}

} // namespace kivra::cameras
