// Decoders on threads of their own, at the same time: each gives what it gives when alone.

#include "cameras/video/framedecoder.h"
#include "cameras/video/jpegstill.h"
#include "tests/support/jpegmaker.h"

#include <array>
#include <cstdio>
#include <linux/videodev2.h>
#include <thread>
#include <vector>

namespace {

using namespace kivra::cameras;
using Bytes = std::vector<std::uint8_t>;
using Pixels = std::vector<std::uint32_t>;

constexpr Size size{96, 64};
constexpr Orientation orientation{Turn::By90, true};

Bytes payload(std::uint32_t fourcc)
{
    if (fourcc == V4L2_PIX_FMT_MJPEG)
        return kivra::test::withoutHuffmanTables(
            kivra::test::jpegOf({size.width, size.height, {{{2, 1}, {1, 1}, {1, 1}}}}));
    Bytes bytes(std::size_t{4} * size.width * size.height);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    return bytes;
}

// Empty if the frame is not good.
Pixels picture(std::uint32_t fourcc, const Bytes &bytes)
{
    FrameFormat format;
    format.fourcc = fourcc;
    format.size = size;
    format.planes[0] = {0, bytes.size()};
    FrameDecoder decoder(format, orientation);
    Pixels pixels(std::size_t{size.width} * size.height);
    const Size result = decoder.size();
    const bool isGood =
        decoder.decode({{bytes.data()}, {bytes.size()}},
                       {pixels.data(), result, static_cast<std::size_t>(result.width) * 4});
    return isGood ? pixels : Pixels();
}

bool agree(std::uint32_t fourcc)
{
    const Bytes bytes = payload(fourcc);
    constexpr int rounds = 50;
    constexpr std::size_t workers = 2;
    std::array<bool, workers> isSame{};
    std::array<Pixels, workers> first;
    const auto work = [&](std::size_t worker) {
        first.at(worker) = picture(fourcc, bytes);
        bool same = !first.at(worker).empty();
        for (int i = 0; i < rounds; ++i) {
            same = same && picture(fourcc, bytes) == first.at(worker);
            if (fourcc == V4L2_PIX_FMT_MJPEG)
                same = same && jpegFile(bytes.data(), bytes.size(), orientation).has_value();
        }
        isSame.at(worker) = same;
    };
    std::thread other(work, 0);
    work(1);
    other.join();
    return isSame[0] && isSame[1] && first[0] == first[1];
}

} // namespace

int main()
{
    for (const std::uint32_t fourcc :
         {V4L2_PIX_FMT_MJPEG, V4L2_PIX_FMT_YUYV, V4L2_PIX_FMT_NV12, V4L2_PIX_FMT_YUV420,
          V4L2_PIX_FMT_GREY, V4L2_PIX_FMT_RGB24}) {
        if (!agree(fourcc)) {
            std::fprintf(stderr, "pictures of format %08x differ\n", fourcc);
            return 1;
        }
    }
    return 0;
}
