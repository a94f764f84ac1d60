#pragma once

#include <cstddef>
#include <cstdint>

namespace kivra {

/// Copies \a count pixels (0xAARRGGBB words, \a from at any address) and returns whether the alpha
/// of each is 255, which is seen on the way at no cost. The two do not overlap. True for none.
bool copyPixels(const void *from, std::uint32_t *to, std::ptrdiff_t count);

} // namespace kivra
