#pragma once

#include "render/kernels/area.h"
#include "render/pixels.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kivra {

/// The instruction sets that kernels are compiled for, each including the ones before it.
enum class Isa { Portable, Sse41, Avx2 };

/// A table for bytes, aligned for the vectors that it is split into.
struct alignas(32) ByteTable : std::array<std::uint8_t, 256>
{
};

/// A table for each channel, its entries shifted to the channel's place in the pixel word.
struct ToneWords
{
    std::array<Pixel, 256> red;
    std::array<Pixel, 256> green;
    std::array<Pixel, 256> blue;
};

/// A table that is a straight line: entry i = (i * scale + offset) >> shift, limited to 0..255.
struct ToneLine
{
    std::int32_t scale;
    std::int32_t offset;
    std::int32_t shift;
};

/// The adaptive threshold's neighbourhood and the symmetric weights of its mean.
constexpr int meanReach = 5;
constexpr int meanTaps = 2 * meanReach + 1;
using MeanWeights = std::array<float, meanTaps>;

/// The inner loops: operations on \c n pixels of one row, for one instruction set. Source and
/// destination are the same row or do not overlap. All versions give the same bits, except for the
/// two kernels of the mean.
struct Kernels
{
    Isa isa;
    /// Copies pixels that may lie at any address. True when every alpha is 255.
    bool (*copy)(const std::byte *from, Pixel *to, int n);
    /// Alpha 255.
    void (*opaque)(const Pixel *from, Pixel *to, int n);
    /// Alpha 255, colours inverted.
    void (*negative)(const Pixel *from, Pixel *to, int n);
    /// Opaque grey of the pixel's shade, (11 R + 16 G + 5 B) / 32.
    void (*shade)(const Pixel *from, Pixel *to, int n);
    /// Fades from grey 127 at the middle of the shades to the two colours at their ends, with the
    /// square of the distance from the end; alpha 255.
    void (*fade)(const Pixel *from, Pixel *to, int n, TwoColours colours);
    /// Every channel through its table, alpha 255.
    void (*tone)(const Pixel *from, Pixel *to, int n, const ToneWords &words);
    /// Every channel through the line, alpha 255.
    void (*line)(const Pixel *from, Pixel *to, int n, const ToneLine &line);
    /// OpenCV's grey of blue-green-red.
    void (*grey)(const Pixel *from, std::uint8_t *to, int n);
    /// The light colour where the grey exceeds \a threshold, otherwise the dark one.
    void (*choose)(const std::uint8_t *from, Pixel *to, int n, int threshold, TwoColours colours);
    /// OpenCV's luma (Y of YCrCb).
    void (*luma)(const Pixel *from, std::uint8_t *to, int n);
    /// Each byte through the table.
    void (*lookUp)(const std::uint8_t *from, std::uint8_t *to, int n, const ByteTable &table);
    /// To YCrCb and back, alpha 255. On the way \a becomes replaces the pixels' luma \a was, which
    /// luma() gives.
    void (*relight)(const Pixel *from, const std::uint8_t *was, const std::uint8_t *becomes,
                    Pixel *to, int n);
    /// The index of the pixel's OpenCV hue (0..179), saturation and value eighth (0..7) in a table:
    /// (eighth * 180 + hue) * 256 + saturation.
    void (*hsvPlace)(const Pixel *from, std::uint32_t *to, int n);
    /// 3x3 median around \c n bytes of the middle row; each row has one more byte on either side.
    void (*median)(const std::uint8_t *above, const std::uint8_t *middle, const std::uint8_t *below,
                   std::uint8_t *to, int n);
    /// Weighted sums along a row, from left to right, around \c n values; \a from and \a scratch
    /// have meanReach more values on either side. Rounds as OpenCV does: with AVX2, multiplication
    /// and addition are fused; otherwise each rounds.
    void (*meanAcross)(const std::uint8_t *from, float *scratch, float *to, int n,
                       const MeanWeights &weights);
    /// Weighted sums across \a rows of such sums, from the middle outwards. Gives the light colour
    /// where \a values exceeds the sum, rounded to an integer, less 2; otherwise the dark one.
    void (*decide)(const float *const *rows, const std::uint8_t *values, Pixel *to, int n,
                   const MeanWeights &weights, TwoColours colours);
    /// First pass of an area average, the same for all four channels: weighs \a n pixels of each
    /// row from \a first on, the rows \a stride bytes apart, and gives four sums a pixel.
    /// \a scratch has room for as many.
    void (*weighRows)(const Pixel *first, std::ptrdiff_t stride, const RowWeights &weights,
                      std::uint16_t *scratch, float *to, int n);
    /// Second pass: weighs the columns of these sums and rounds to the nearest level; gives \a n
    /// pixels.
    void (*weighColumns)(const float *from, const ColumnWeights &columns, Pixel *to, int n);
};

/// The name of \a isa in the environment variable KIVRA_ISA: "portable", "sse41", "avx2".
std::string_view isaName(Isa isa);

/// The version for \a isa. Call it only on a machine that has this instruction set.
const Kernels &kernelsFor(Isa isa);

/// The version in use: the best that this machine has, or a lower one that KIVRA_ISA names; any
/// other value is ignored. Chosen at the first call.
const Kernels &kernels();

/// Makes \a version the version in use; it must outlive its use. For tests and measurements, while
/// no picture is being rendered.
void useKernels(const Kernels &version);

} // namespace kivra
