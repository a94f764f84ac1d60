#pragma once

#include <cstddef>
#include <cstdint>

namespace kivra {

/// Copies \a count pixels, 0xAARRGGBB words, and returns whether the alpha of each is 255, which is
/// seen on the way at no cost. \a from may be any address, null if \a count is 0; \a to has room
/// for them; the two do not overlap. True for no pixels.
bool copyPixels(const void *from, std::uint32_t *to, std::ptrdiff_t count);

} // namespace kivra
