#pragma once

#include "processing/isa.h"
#include "processing/pixels.h"

#include <array>
#include <cstdint>

namespace kivra {

/// A table for each channel, its entries shifted to the channel's place in the pixel word.
struct ToneWords
{
    std::array<Pixel, 256> red;
    std::array<Pixel, 256> green;
    std::array<Pixel, 256> blue;
};

/// A table for bytes, aligned for the vectors that it is split into.
struct alignas(32) ByteTable : std::array<std::uint8_t, 256>
{
};

/// A table that is a line: entry i = (i * scale + offset) >> shift, limited to 0..255.
struct ToneLine
{
    std::int32_t scale;
    std::int32_t offset;
    std::int32_t shift;
};

/// The neighbourhood of the adaptive threshold's mean and its symmetric weights.
constexpr int meanReach = 5;
constexpr int meanTaps = 2 * meanReach + 1;
using MeanWeights = std::array<float, meanTaps>;

/// The neighbourhood mean of the adaptive threshold, in OpenCV's order of operations.
struct MeanKernels
{
    /// Sums along a row, from left to right, around \c n values; \a from and \a scratch have
    /// meanReach more of them on either side.
    void (*across)(const std::uint8_t *from, float *scratch, float *to, int n,
                   const MeanWeights &weights);
    /// Sums across the \a rows, from the middle outwards, and compares: where \a values exceeds the
    /// mean, rounded to an integer, less 2: \a light, otherwise \a dark.
    void (*decide)(const float *const *rows, const std::uint8_t *values, Pixel *to, int n,
                   const MeanWeights &weights, Pixel dark, Pixel light);
};

/// What takes the time: operations on \c n pixels of one row. Source and destination are the same
/// row or do not overlap. Every version gives the same bits.
struct Kernels
{
    Isa isa;
    /// True when every alpha is 255.
    bool (*isOpaque)(const Pixel *pixels, int n);
    /// Alpha 255.
    void (*opaque)(const Pixel *from, Pixel *to, int n);
    /// Alpha 255, colours inverted.
    void (*negative)(const Pixel *from, Pixel *to, int n);
    /// Opaque grey of level (11 R + 16 G + 5 B) / 32.
    void (*grey)(const Pixel *from, Pixel *to, int n);
    /// Between grey 127 at the middle of those levels and the colours at their ends, fading with
    /// the square of the distance from the end; alpha 255.
    void (*fade)(const Pixel *from, Pixel *to, int n, TwoColours colours);
    /// Every channel through its table, alpha 255.
    void (*tone)(const Pixel *from, Pixel *to, int n, const ToneWords &words);
    /// Every channel through the line, alpha 255.
    void (*line)(const Pixel *from, Pixel *to, int n, const ToneLine &line);
    /// OpenCV's grey of blue-green-red.
    void (*gray)(const Pixel *from, std::uint8_t *to, int n);
    /// Where the grey exceeds \a threshold, \a light, otherwise \a dark.
    void (*choose)(const std::uint8_t *from, Pixel *to, int n, int threshold, Pixel dark,
                   Pixel light);
    /// OpenCV's luma (Y of YCrCb).
    void (*luma)(const Pixel *from, std::uint8_t *to, int n);
    /// Each byte through the table.
    void (*lookUp)(const std::uint8_t *from, std::uint8_t *to, int n, const ByteTable &table);
    /// Through YCrCb and back, alpha 255. On the way the pixels' luma \a was, as luma() gives it,
    /// is replaced by \a becomes.
    void (*relight)(const Pixel *from, const std::uint8_t *was, const std::uint8_t *becomes,
                    Pixel *to, int n);
    /// The place of the pixel's OpenCV hue (0..179), saturation and value eighth (0..7) in a table:
    /// (eighth * 180 + hue) * 256 + saturation.
    void (*hsvPlace)(const Pixel *from, std::uint32_t *to, int n);
    /// 3x3 median around \c n bytes of the middle row; the rows have one more on either side.
    void (*median)(const std::uint8_t *above, const std::uint8_t *middle, const std::uint8_t *below,
                   std::uint8_t *to, int n);
    /// With fused multiply-add, null in versions without; and with a rounding after each operation.
    MeanKernels meanFused;
    MeanKernels meanUnfused;
};

/// The version for activeIsa().
const Kernels &kernels();

/// The version for \a isa. Only to be called on a machine that has it.
const Kernels &kernelsFor(Isa isa);

/// The instruction set of the version whose kernel last ran; for tests.
Isa lastIsaRun();

} // namespace kivra
