// What it costs to turn a driver's frames into pictures. The reference for YUYV is libyuv's own
// conversion, upright and with the only matrix that it has for that; for JPEG it is libjpeg-turbo
// decoding to planes.

#include "benchmarks/subjects.h"
#include "cameras/video/framedecoder.h"
#include "tests/support/jpegmaker.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <functional>
#include <libyuv/convert_argb.h>
#include <linux/videodev2.h>
#include <memory>
#include <turbojpeg.h>

namespace kivra::benchmarks {

namespace {

using namespace cameras;
using Bytes = std::vector<std::uint8_t>;

constexpr double perRound = 0.15; // seconds

std::vector<Subject> registered;

void add(const Subject &subject, const std::function<void(benchmark::State &)> &run)
{
    registered.push_back(subject);
    benchmark::RegisterBenchmark(nameOf(subject).c_str(), run)
        ->UseRealTime()
        ->MinTime(perRound)
        ->Unit(benchmark::kMillisecond);
}

std::size_t pixelsOf(QSize size)
{
    return static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height());
}

// More frames than a cache holds: a driver's buffers come from memory.
class Frames
{
public:
    explicit Frames(const Bytes &frame)
        : frames(std::size_t{64'000'000} / frame.size() + 1, frame)
    {
    }
    const Bytes &next()
    {
        current = (current + 1) % frames.size();
        return frames[current];
    }

private:
    std::vector<Bytes> frames;
    std::size_t current = 0;
};

// Three pictures take turns: one is shown, one waits, one is written.
class Pictures
{
public:
    explicit Pictures(QSize size)
        : pictures(3, std::vector<std::uint32_t>(pixelsOf(size)))
    {
    }
    std::uint32_t *next()
    {
        current = (current + 1) % pictures.size();
        return pictures[current].data();
    }

private:
    std::vector<std::vector<std::uint32_t>> pictures;
    std::size_t current = 0;
};

Bytes noise(std::size_t count)
{
    Bytes bytes(count);
    unsigned int state = 7;
    for (std::uint8_t &byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24U);
    }
    return bytes;
}

void addCopy(QSize size)
{
    add({"copy", "copy", size}, [size](benchmark::State &state) {
        Frames frames(noise(4 * pixelsOf(size)));
        Pictures pictures(size);
        for (auto _ : state) {
            std::memcpy(pictures.next(), frames.next().data(), 4 * pixelsOf(size));
            benchmark::ClobberMemory();
        }
    });
}

struct Stream
{
    std::string name;
    std::uint32_t fourcc;
    std::function<Bytes(QSize)> frame;
    Matrix matrix = Matrix::Bt601;
    Range range = Range::Limited;
};

void addDecoder(const std::string &operation, QSize size, const Stream &stream,
                Orientation orientation)
{
    add({operation, "product", size}, [=](benchmark::State &state) {
        Frames frames(stream.frame(size));
        Pictures pictures(size);
        FrameFormat format;
        format.fourcc = stream.fourcc;
        format.size = {size.width(), size.height()};
        format.planes[0] = {0, frames.next().size()};
        format.matrix = stream.matrix;
        format.range = stream.range;
        FrameDecoder decoder(format, orientation);
        for (auto _ : state) {
            const Bytes &frame = frames.next();
            const bool isGood =
                decoder.decode({{frame.data()}, {frame.size()}},
                               {pictures.next(), decoder.size(),
                                static_cast<std::size_t>(decoder.size().width) * 4});
            if (!isGood)
                state.SkipWithError("not decoded");
        }
    });
}

void addLibyuv(const std::string &operation, QSize size, const Stream &stream)
{
    add({operation, "reference", size}, [=](benchmark::State &state) {
        Frames frames(stream.frame(size));
        Pictures pictures(size);
        for (auto _ : state)
            libyuv::YUY2ToARGB(frames.next().data(), 2 * size.width(),
                               reinterpret_cast<std::uint8_t *>(pictures.next()), 4 * size.width(),
                               size.width(), size.height());
    });
}

void addTurboJpeg(const std::string &operation, QSize size, const Stream &stream)
{
    add({operation, "reference", size}, [=](benchmark::State &state) {
        Frames frames(stream.frame(size));
        Bytes planes(tjBufSizeYUV2(size.width(), 1, size.height(), TJSAMP_444));
        const std::unique_ptr<void, int (*)(void *)> decoder(tjInitDecompress(), tjDestroy);
        for (auto _ : state) {
            const Bytes &frame = frames.next();
            if (tjDecompressToYUV2(decoder.get(), frame.data(), frame.size(), planes.data(),
                                   size.width(), 1, size.height(), 0) != 0)
                state.SkipWithError("not decoded");
        }
    });
}

// As long as a camera's frame: about 400 kB at 1920 x 1080. The picture is rich in detail, hence
// the low quality.
Bytes jpeg(QSize size, test::JpegRecipe::Sampling luma)
{
    test::JpegRecipe recipe{size.width(), size.height(), {{luma, {1, 1}, {1, 1}}}};
    recipe.quality = 20;
    return test::jpegOf(recipe);
}

std::vector<Stream> streams()
{
    const auto packed = [](QSize size) { return noise(2 * pixelsOf(size)); };
    const auto planar = [](QSize size) { return noise(pixelsOf(size) * 3 / 2); };
    return {
        {"YUYV", V4L2_PIX_FMT_YUYV, packed},
        {"YUYV BT.709", V4L2_PIX_FMT_YUYV, packed, Matrix::Bt709},
        {"UYVY", V4L2_PIX_FMT_UYVY, packed},
        {"NV12", V4L2_PIX_FMT_NV12, planar},
        {"YU12", V4L2_PIX_FMT_YUV420, planar},
        {"RGB24", V4L2_PIX_FMT_RGB24, [](QSize size) { return noise(3 * pixelsOf(size)); },
         Matrix::Bt601, Range::Full},
        {"GREY", V4L2_PIX_FMT_GREY, [](QSize size) { return noise(pixelsOf(size)); }},
        {"MJPEG 4:2:2", V4L2_PIX_FMT_MJPEG,
         [](QSize size) {
             return jpeg(size, {2, 1});
         }},
        {"MJPEG 4:2:0", V4L2_PIX_FMT_MJPEG,
         [](QSize size) {
             return jpeg(size, {2, 2});
         }},
    };
}

void addStream(const Stream &stream, QSize size)
{
    struct Named
    {
        const char *name;
        Orientation orientation;
    };
    for (const Named &named :
         {Named{"", {}}, Named{" mirrored", {Turn::None, true}},
          Named{" turned by 180", {Turn::By180, false}}, Named{" upside down", {Turn::By180, true}},
          Named{" turned by 90", {Turn::By90, false}},
          Named{" turned by 270", {Turn::By270, false}}}) {
        const std::string operation = stream.name + named.name;
        addDecoder(operation, size, stream, named.orientation);
        if (stream.fourcc == V4L2_PIX_FMT_YUYV)
            addLibyuv(operation, size, stream);
        else if (stream.fourcc == V4L2_PIX_FMT_MJPEG)
            addTurboJpeg(operation, size, stream);
    }
}

} // namespace

std::vector<Subject> registerAll()
{
    for (const QSize size : {QSize(1280, 720), QSize(1920, 1080), QSize(3840, 2160)}) {
        addCopy(size);
        for (const Stream &stream : streams())
            addStream(stream, size);
    }
    return registered;
}

} // namespace kivra::benchmarks
