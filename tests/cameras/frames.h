#pragma once

#include "cameras/video/framedecoder.h"
#include "tests/reference/cameraframes.h"
#include "tests/support/guardedbytes.h"

#include <deque>
#include <optional>
#include <vector>

namespace kivra::test {

/// The number that V4L2 makes of the four letters.
std::uint32_t fourccOf(const std::string &letters);

/// All that V4L2 calls the raw formats that are read.
const std::vector<std::string> &rawFormats();

/// Turns and mirrorings, all eight.
const std::vector<cameras::Orientation> &orientations();

/// The quarters of a turn.
int quartersOf(cameras::Orientation orientation);

/// A frame of changing bytes. \a padding is added to the strides.
reference::CameraFrame makeFrame(const std::string &fourcc, int width, int height,
                                 std::size_t padding = 0);

/// What the driver of \a frame would say.
cameras::FrameFormat formatOf(const reference::CameraFrame &frame);

/// The frame in memory that ends where nobody may read.
class DriverFrame
{
public:
    explicit DriverFrame(const std::vector<std::vector<std::uint8_t>> &planes);

    cameras::RawFrame raw;

private:
    std::deque<GuardedBytes> memory;
};

/// Decodes into memory that ends where nobody may write, with \a padding bytes between the rows,
/// which are found untouched. Nothing if the decoder says that the frame is not good.
std::optional<reference::CameraPicture> decoded(cameras::FrameDecoder &decoder,
                                                const cameras::RawFrame &raw, cameras::Size size,
                                                std::size_t padding = 0);

} // namespace kivra::test
