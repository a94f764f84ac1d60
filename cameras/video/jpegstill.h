#pragma once

#include "cameras/video/framedecoder.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kivra::cameras {

/// A camera's JPEG frame as a complete file: without the bytes after its end, with the standard
/// Huffman tables if the camera leaves them out, and turned and mirrored without loss.
///
/// Nothing if that is impossible: the frame is cut or is no JPEG, or its size does not allow \a
/// orientation without loss (a row or column of incomplete blocks would move to the left or to the
/// top). Then the caller encodes the decoded picture instead. \a frame, \a length bytes, is only
/// read.
std::optional<std::vector<std::uint8_t>> jpegFile(const std::uint8_t *frame, std::size_t length,
                                                  Orientation orientation);

} // namespace kivra::cameras
