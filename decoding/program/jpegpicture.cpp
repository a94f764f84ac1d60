#include "decoding/program/jpegpicture.h"

#include <QtEndian>
#include <memory>
#include <turbojpeg.h>

namespace kivra {

namespace {

// The words of QImage::Format_RGB32 as bytes; the fourth one becomes 255.
constexpr TJPF wordFormat = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? TJPF_BGRX : TJPF_XRGB;

struct Destroy
{
    void operator()(void *decoder) const { tjDestroy(decoder); }
};
using Decoder = std::unique_ptr<void, Destroy>;

} // namespace

QSize decodeJpeg(const QByteArray &content, const PixelMemory &memory)
{
    if (!content.startsWith("\xff\xd8"))
        return {};
    const Decoder decoder(tjInitDecompress());
    const auto *const bytes = reinterpret_cast<const uchar *>(content.constData());
    const auto length = static_cast<unsigned long>(content.size());
    int width = 0;
    int height = 0;
    int sampling = 0;
    int colours = 0;
    if (!decoder || tjDecompressHeader3(decoder.get(), bytes, length, &width, &height, &sampling,
                                        &colours) != 0)
        return {};
    const QSize size(width, height);
    if (colours != TJCS_YCbCr || !isDecodable(size))
        return {};
    uchar *const pixels = memory(size, 0);
    if (!pixels || tjDecompress2(decoder.get(), bytes, length, pixels, width, 0, height, wordFormat,
                                 TJFLAG_STOPONWARNING) != 0)
        return {};
    return size;
}

} // namespace kivra
