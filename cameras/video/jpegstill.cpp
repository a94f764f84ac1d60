#include "cameras/video/jpegstill.h"

#include "cameras/video/jpegmarkers.h"

#include <algorithm>
#include <array>
#include <cstdio> // jpeglib.h needs it and does not include it
#include <jpeglib.h>
#include <memory>
#include <turbojpeg.h>

namespace kivra::cameras {

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Destroy
{
    void operator()(void *transformer) const { tjDestroy(transformer); }
};

struct Free
{
    void operator()(unsigned char *jpeg) const { tjFree(jpeg); }
};

void addTable(Bytes &segment, int which, const JHUFF_TBL &table)
{
    segment.push_back(static_cast<std::uint8_t>(which));
    // The library indexes the code lengths from 1.
    const UINT8 *const counts = table.bits + 1;
    constexpr int lengths = 16;
    std::ptrdiff_t codes = 0;
    for (int i = 0; i < lengths; ++i)
        codes += counts[i];
    segment.insert(segment.end(), counts, counts + lengths);
    segment.insert(segment.end(), table.huffval, table.huffval + codes);
}

Bytes makeStandardTables()
{
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    info.input_components = 3;
    info.in_color_space = JCS_YCbCr;
    jpeg_set_defaults(&info); // includes the standard tables

    Bytes segment{0xFF, 0xC4, 0, 0};
    constexpr int ofAc = 0x10;
    for (int i = 0; i < 2; ++i) {
        addTable(segment, i, *info.dc_huff_tbl_ptrs[i]);
        addTable(segment, ofAc | i, *info.ac_huff_tbl_ptrs[i]);
    }
    jpeg_destroy_compress(&info);
    const std::size_t count = segment.size() - 2;
    segment[2] = static_cast<std::uint8_t>(count >> 8);
    segment[3] = static_cast<std::uint8_t>(count & 0xFFU);
    return segment;
}

const Bytes &standardTables()
{
    static const Bytes tables = makeStandardTables();
    return tables;
}

Bytes withTables(const std::uint8_t *jpeg, std::size_t length, const JpegHeader &header)
{
    Bytes file(jpeg, jpeg + header.firstScan);
    if (header.isHuffmanCoded && !header.hasHuffmanTables)
        file.insert(file.end(), standardTables().begin(), standardTables().end());
    file.insert(file.end(), jpeg + header.firstScan, jpeg + length);
    return file;
}

int operationOf(Orientation orientation)
{
    switch (orientation.turn) {
    case Turn::None:
        break;
    case Turn::By90:
        return orientation.mirror ? TJXOP_TRANSPOSE : TJXOP_ROT90;
    case Turn::By180:
        return orientation.mirror ? TJXOP_VFLIP : TJXOP_ROT180;
    case Turn::By270:
        return orientation.mirror ? TJXOP_TRANSVERSE : TJXOP_ROT270;
    }
    return orientation.mirror ? TJXOP_HFLIP : TJXOP_NONE;
}

// The library warns of bytes before a marker; they do no harm (see JpegFrame), so warnings pass.
std::optional<Bytes> transformed(const Bytes &jpeg, Orientation orientation)
{
    const std::unique_ptr<void, Destroy> transformer(tjInitTransform());
    if (!transformer)
        return std::nullopt;
    tjtransform transform{};
    transform.op = operationOf(orientation);
    transform.options = TJXOPT_PERFECT;
    unsigned char *result = nullptr;
    unsigned long length = 0;
    const int status = tjTransform(transformer.get(), jpeg.data(), jpeg.size(), 1, &result, &length,
                                   &transform, TJFLAG_LIMITSCANS);
    const std::unique_ptr<unsigned char, Free> owned(result);
    if (status != 0 && tjGetErrorCode(transformer.get()) != TJERR_WARNING)
        return std::nullopt;
    if (!result || length == 0)
        return std::nullopt;
    return Bytes(result, result + length);
}

} // namespace

std::optional<std::vector<std::uint8_t>> jpegFile(const std::uint8_t *frame, std::size_t length,
                                                  Orientation orientation)
{
    const auto header = jpegHeader(frame, length);
    if (!header)
        return std::nullopt;
    const auto end = jpegLength(frame, length, header->firstScan);
    if (!end)
        return std::nullopt;
    Bytes file = withTables(frame, *end, *header);
    if (orientation == Orientation{})
        return file;
    return transformed(file, orientation);
}

} // namespace kivra::cameras
