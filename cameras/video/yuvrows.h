#pragma once

#include "cameras/video/frameformat.h"

#include <cstdint>
#include <memory>

namespace kivra::cameras {

/// Converts rows of YUV to words 0xFFRRGGBB. Pixels that share a chroma sample all get its value,
/// without interpolation. Every channel is within 1 of the exact one; greys are exact to the
/// rounding.
///
/// The functions convert \c n pixels; where a pair shares chroma, the first pixel must begin a
/// pair. They read no byte beyond these pixels or, for an odd n, beyond the last pair.
class YuvRows
{
public:
    YuvRows(Matrix matrix, Range range);
    ~YuvRows();

    void yuyv(const std::uint8_t *pairs, std::uint32_t *to, int n) const;
    void uyvy(const std::uint8_t *pairs, std::uint32_t *to, int n) const;
    /// Chroma as pairs U, V.
    void nv12(const std::uint8_t *y, const std::uint8_t *uv, std::uint32_t *to, int n) const;
    /// Chroma as pairs V, U.
    void nv21(const std::uint8_t *y, const std::uint8_t *vu, std::uint32_t *to, int n) const;
    /// Chroma for each pixel.
    void i444(const std::uint8_t *y, const std::uint8_t *u, const std::uint8_t *v,
              std::uint32_t *to, int n) const;
    /// Chroma for each two pixels.
    void i422(const std::uint8_t *y, const std::uint8_t *u, const std::uint8_t *v,
              std::uint32_t *to, int n) const;
    void grey(const std::uint8_t *y, std::uint32_t *to, int n) const;

private:
    struct Conversion;
    std::unique_ptr<const Conversion> conversion;
};

} // namespace kivra::cameras
