#include "tests/cameras/frames.h"

#include <QtTest>
#include <array>

namespace kivra::test {

using cameras::FrameDecoder;
using cameras::FrameFormat;
using cameras::Orientation;
using cameras::RawFrame;
using cameras::Size;
using cameras::Turn;
using reference::CameraFrame;
using reference::CameraPicture;

namespace {

bool isOneOf(const std::string &fourcc, std::initializer_list<const char *> letters)
{
    return std::find(letters.begin(), letters.end(), fourcc) != letters.end();
}

std::size_t rowBytes(const std::string &fourcc, std::size_t width)
{
    if (isOneOf(fourcc, {"YUYV", "UYVY"}))
        return (width + 1) / 2 * 4;
    if (isOneOf(fourcc, {"RGB3", "BGR3"}))
        return width * 3;
    return fourcc[0] == 'N' || fourcc[0] == 'Y' || fourcc == "GREY" ? width : width * 4;
}

std::vector<std::uint8_t> noise(std::size_t count)
{
    std::vector<std::uint8_t> bytes(count);
    unsigned int state = 12345;
    for (std::uint8_t &byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24U);
    }
    return bytes;
}

} // namespace

std::uint32_t fourccOf(const std::string &letters)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= static_cast<std::uint32_t>(letters.at(i)) << 8U * i;
    return value;
}

const std::vector<std::string> &rawFormats()
{
    static const std::vector<std::string> all{"YUYV", "UYVY", "NV12", "NV21", "NM12", "NM21",
                                              "YU12", "YV12", "YM12", "YM21", "GREY", "RGB3",
                                              "BGR3", "BGR4", "AR24", "XR24", "AB24", "XB24",
                                              "RA24", "RX24", "RGB4", "BA24", "BX24"};
    return all;
}

const std::vector<Orientation> &orientations()
{
    static const std::vector<Orientation> all{
        {Turn::None, false}, {Turn::By90, false}, {Turn::By180, false}, {Turn::By270, false},
        {Turn::None, true},  {Turn::By90, true},  {Turn::By180, true},  {Turn::By270, true}};
    return all;
}

int quartersOf(Orientation orientation)
{
    switch (orientation.turn) {
    case Turn::None:
        return 0;
    case Turn::By90:
        return 1;
    case Turn::By180:
        return 2;
    case Turn::By270:
        break;
    }
    return 3;
}

CameraFrame makeFrame(const std::string &fourcc, int width, int height, std::size_t padding)
{
    CameraFrame frame{fourcc, width, height, {}, {}, {}};
    const auto rows = static_cast<std::size_t>(height);
    const std::size_t halfRows = (rows + 1) / 2;
    const std::size_t stride = rowBytes(fourcc, static_cast<std::size_t>(width)) + padding;
    const std::size_t half = (stride + 1) / 2;
    std::vector<std::size_t> sizes{stride * rows};
    frame.strides = {stride};
    if (isOneOf(fourcc, {"NV12", "NV21", "YU12", "YV12"})) {
        sizes = {stride * rows + 2 * half * halfRows};
    } else if (isOneOf(fourcc, {"NM12", "NM21"})) {
        sizes.push_back((2 * half + padding) * halfRows);
        frame.strides.push_back(2 * half + padding);
    } else if (isOneOf(fourcc, {"YM12", "YM21"})) {
        sizes.insert(sizes.end(), 2, (half + padding) * halfRows);
        frame.strides.insert(frame.strides.end(), 2, half + padding);
    }
    for (const std::size_t size : sizes)
        frame.planes.push_back(noise(size));
    return frame;
}

FrameFormat formatOf(const CameraFrame &frame)
{
    FrameFormat format;
    format.fourcc = fourccOf(frame.fourcc);
    format.size = {frame.width, frame.height};
    format.planeCount = static_cast<int>(frame.planes.size());
    for (std::size_t i = 0; i < frame.planes.size(); ++i)
        format.planes.at(i) = {frame.strides.at(i), frame.planes.at(i).size()};
    format.range = frame.code.isFull ? cameras::Range::Full : cameras::Range::Limited;
    if (frame.code.red < 0.25)
        format.matrix = cameras::Matrix::Bt709;
    else if (frame.code.red < 0.29)
        format.matrix = cameras::Matrix::Bt2020;
    return format;
}

DriverFrame::DriverFrame(const std::vector<std::vector<std::uint8_t>> &planes)
{
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const GuardedBytes &plane = memory.emplace_back(planes.at(i));
        raw.planes.at(i) = plane.data();
        raw.lengths.at(i) = plane.size();
    }
}

std::optional<CameraPicture> decoded(FrameDecoder &decoder, const RawFrame &raw, Size size,
                                     std::size_t padding)
{
    constexpr std::uint8_t untouched = 0x5A;
    const auto width = static_cast<std::size_t>(size.width);
    const auto height = static_cast<std::size_t>(size.height);
    const std::size_t stride = width * 4 + padding;
    GuardedBytes memory(stride * (height - 1) + width * 4);
    std::memset(memory.data(), untouched, memory.size());
    auto *const pixels = reinterpret_cast<std::uint32_t *>(memory.data());
    if (!decoder.decode(raw, {pixels, size, stride}))
        return std::nullopt;

    CameraPicture picture{size.width, size.height, {}};
    for (std::size_t y = 0; y < height; ++y) {
        const std::uint32_t *row = pixels + y * stride / 4;
        picture.pixels.insert(picture.pixels.end(), row, row + width);
        if (y + 1 == height)
            break;
        for (std::size_t i = 0; i < padding; ++i) {
            if (memory.data()[y * stride + width * 4 + i] != untouched)
                qFatal("row %d is followed by a byte that was written", int(y));
        }
    }
    return picture;
}

} // namespace kivra::test
