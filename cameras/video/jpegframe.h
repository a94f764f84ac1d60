#pragma once

#include "cameras/video/framerows.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kivra::cameras {

/// Decodes JPEG frames with libjpeg-turbo, using the standard Huffman tables if a frame has none.
class JpegFrame
{
public:
    JpegFrame();
    ~JpegFrame();

    /// The rows of \a jpeg, decoded as they are read; not to be used after the next call. Null if
    /// the header is corrupt, has another size than \a size, or colours that cameras do not use
    /// (CMYK).
    std::unique_ptr<FrameRows> decode(const std::uint8_t *jpeg, std::size_t length, Size size);

private:
    struct Memory;
    std::unique_ptr<Memory> memory;
};

} // namespace kivra::cameras
