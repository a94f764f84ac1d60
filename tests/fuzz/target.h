#pragma once

#include <cstddef>
#include <cstdint>

namespace kivra::fuzz {

/// Reads an input as a frame with its settings, renders it both ways and compares each with the
/// reference; ends the process by abort() at the first difference.
///
/// An input is a header of 16 bytes, shorter ones count as filled up with zeros: width and height
/// (a byte each), format and padding, mode, effect (a signed byte each), brightness and contrast
/// (4 bytes each, little-endian), kind of operation, seed. The pixels are the bytes that follow,
/// repeated, each time changed by the seed.
void runFrame(const std::uint8_t *data, std::size_t size);

} // namespace kivra::fuzz
