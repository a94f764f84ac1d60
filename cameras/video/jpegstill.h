#pragma once

#include "cameras/video/framedecoder.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kivra::cameras {

/// A camera's JPEG frame as a complete file: without what lies behind its end, with the standard
/// Huffman tables where the camera leaves them out, and turned and mirrored without loss.
///
/// Nothing if that cannot be: the frame is cut or is no JPEG, or its size does not allow \a
/// orientation without loss (a row or column of incomplete blocks would come to lie at the left or
/// at the top). Then the decoded picture is to be encoded instead. \a frame, \a length bytes, is
/// only read.
std::optional<std::vector<std::uint8_t>> jpegFile(const std::uint8_t *frame, std::size_t length,
                                                  Orientation orientation);

} // namespace kivra::cameras
