// An input is a driver's format and a frame of it. The frame and the picture end at a page that may
// not be touched, because no sanitizer sees the libraries' vector code.
//
// The header has 8 bytes (a shorter one is padded with zeros): number of the format, width, height,
// stride beyond the width, orientation, colours, bytes that the second and third plane take of the
// rest (a 16th each), planes. The frame is what follows.

#include "cameras/video/framedecoder.h"
#include "cameras/video/jpegstill.h"
#include "tests/fuzz/target.h"
#include "tests/support/guardedbytes.h"

#include <algorithm>
#include <array>
#include <deque>
#include <linux/videodev2.h>

namespace kivra::fuzz {

namespace {

using namespace cameras;
using test::GuardedBytes;

constexpr std::size_t headerSize = 8;
using Header = std::array<std::uint8_t, headerSize>;

// JPEG comes first, so an input of zeros selects it.
constexpr std::array formats{
    V4L2_PIX_FMT_MJPEG,   V4L2_PIX_FMT_YUYV,  V4L2_PIX_FMT_UYVY,   V4L2_PIX_FMT_NV12,
    V4L2_PIX_FMT_NV12M,   V4L2_PIX_FMT_NV21,  V4L2_PIX_FMT_YUV420, V4L2_PIX_FMT_YUV420M,
    V4L2_PIX_FMT_YVU420M, V4L2_PIX_FMT_GREY,  V4L2_PIX_FMT_RGB24,  V4L2_PIX_FMT_BGR24,
    V4L2_PIX_FMT_RGB32,   V4L2_PIX_FMT_BGR32, V4L2_PIX_FMT_RGBX32, V4L2_PIX_FMT_H264,
};

Orientation orientationOf(const Header &header)
{
    constexpr std::array turns{Turn::None, Turn::By90, Turn::By180, Turn::By270};
    return {turns.at(header[4] & 3U), (header[4] & 4U) != 0};
}

FrameFormat formatOf(const Header &header)
{
    FrameFormat format;
    format.fourcc = formats.at(header[0] % formats.size());
    format.size = {header[1], header[2]};
    format.planeCount = header[7] & 3U;
    const std::size_t beyond = header[3];
    for (FramePlane &plane : format.planes) {
        plane.stride = beyond == 0 ? 0 : header[1] + beyond - 1;
        plane.size = std::size_t{1} << 20U;
    }
    constexpr std::array matrices{Matrix::Bt601, Matrix::Bt709, Matrix::Bt2020};
    format.matrix = matrices.at(header[5] % matrices.size());
    format.range = (header[5] & 128U) != 0 ? Range::Full : Range::Limited;
    return format;
}

// The payload, divided among the planes.
struct Frame
{
    std::deque<GuardedBytes> memory;
    RawFrame raw;

    Frame(const Header &header, int planeCount, const std::uint8_t *data, std::size_t size)
    {
        std::array<std::size_t, 3> lengths{size, 0, 0};
        for (std::size_t i = 1; i < 3; ++i) {
            const unsigned int sixteenths = i == 1 ? header[6] & 15U : header[6] >> 4U;
            lengths.at(i) = std::min(lengths[0], size * sixteenths / 16);
            lengths[0] -= lengths.at(i);
        }
        for (std::size_t i = 0; i < 3; ++i) {
            const std::vector<std::uint8_t> bytes(data, data + lengths.at(i));
            data += lengths.at(i);
            if (static_cast<int>(i) >= planeCount)
                continue;
            raw.planes.at(i) = memory.emplace_back(bytes).data();
            raw.lengths.at(i) = bytes.size();
        }
    }
};

void decode(FrameDecoder &decoder, const RawFrame &raw, Size size)
{
    const auto width = static_cast<std::size_t>(size.width);
    const auto height = static_cast<std::size_t>(size.height);
    GuardedBytes memory(width * height * 4);
    auto *const pixels = reinterpret_cast<std::uint32_t *>(memory.data());
    if (!decoder.decode(raw, {pixels, size, width * 4}))
        return;
    const bool isOpaque = std::all_of(pixels, pixels + width * height,
                                      [](std::uint32_t word) { return word >> 24U == 255; });
    require(isOpaque, "a pixel is not opaque");
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
    std::copy_n(data, headed, header.begin());
    const FrameFormat format = formatOf(header);
    const Orientation orientation = orientationOf(header);
    const Frame frame(header, format.planeCount, data + headed, size - headed);

    FrameDecoder decoder(format, orientation);
    const auto found = decoder.sizeOf(frame.raw);
    // The caller provides as many pixels as a camera claims. With more than this, the fuzzer would
    // do nothing else.
    constexpr int mostPixels = 1 << 20;
    if (found && found->width * found->height <= mostPixels)
        decode(decoder, frame.raw, *found);
    if (!isCompressed(format.fourcc))
        return;
    const auto file = jpegFile(frame.raw.planes[0], frame.raw.lengths[0], orientation);
    require(!file || file->size() > 4, "a file is empty");
}

} // namespace kivra::fuzz
