#pragma once

#include "cameras/video/frameformat.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace kivra::cameras {

/// What a JPEG's header says, as far as its first scan.
struct JpegHeader
{
    Size size;
    bool isHuffmanCoded = true; ///< neither arithmetic nor lossless
    bool hasHuffmanTables = false;
    std::size_t firstScan = 0; ///< where its SOS marker begins
};

/// Nothing if there is no header, or its size is beyond the limits.
std::optional<JpegHeader> jpegHeader(const std::uint8_t *jpeg, std::size_t length);

/// The length up to and including the EOI marker; nothing if there is none. \a firstScan is the
/// header's.
std::optional<std::size_t> jpegLength(const std::uint8_t *jpeg, std::size_t length,
                                      std::size_t firstScan);

} // namespace kivra::cameras
