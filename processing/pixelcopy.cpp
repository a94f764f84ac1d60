#include "processing/pixelcopy.h"

#include "processing/kernels/kernels.h"

#include <algorithm>

namespace kivra {

bool copyPixels(const void *from, std::uint32_t *to, std::ptrdiff_t count)
{
    constexpr std::ptrdiff_t mostAtOnce = 1 << 20; // a kernel counts in int
    const auto *const bytes = static_cast<const std::byte *>(from);
    bool isOpaque = true;
    for (std::ptrdiff_t done = 0; done < count; done += mostAtOnce) {
        const auto n = static_cast<int>(std::min(mostAtOnce, count - done));
        const std::byte *const first = bytes + done * std::ptrdiff_t{sizeof *to};
        isOpaque = kernels().copy(first, to + done, n) && isOpaque;
    }
    return isOpaque;
}

} // namespace kivra
