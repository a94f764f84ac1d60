#pragma once

#include "cameras/video/framerows.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kivra::cameras {

/// Decodes JPEG frames by libjpeg-turbo, with the standard Huffman tables where a frame has none.
class JpegFrame
{
public:
    JpegFrame();
    JpegFrame(JpegFrame &&) noexcept;
    JpegFrame &operator=(JpegFrame &&) noexcept;
    ~JpegFrame();

    /// The rows of \a jpeg, which are decoded when they are read; to be done with before the next
    /// call. Null if the header is corrupt, of other than \a size pixels or of colours that a
    /// camera has not (CMYK).
    std::unique_ptr<FrameRows> decode(const std::uint8_t *jpeg, std::size_t length, Size size);

private:
    struct Memory;
    std::unique_ptr<Memory> memory;
};

} // namespace kivra::cameras
