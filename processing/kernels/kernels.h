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

/// The table that gives the pixel word of each grey level.
using LevelWords = std::array<Pixel, 256>;

/// What takes the time: operations on \c n pixels of one row. Source and destination are the same
/// row or do not overlap. Every version gives the same bits.
struct Kernels
{
    Isa isa;
    /// Alpha 255.
    void (*opaque)(const Pixel *from, Pixel *to, int n);
    /// Alpha 255, colours inverted.
    void (*negative)(const Pixel *from, Pixel *to, int n);
    /// Opaque grey of level (11 R + 16 G + 5 B) / 32.
    void (*grey)(const Pixel *from, Pixel *to, int n);
    /// The word of that level.
    void (*levels)(const Pixel *from, Pixel *to, int n, const LevelWords &words);
    /// Every channel through its table, alpha 255.
    void (*tone)(const Pixel *from, Pixel *to, int n, const ToneWords &words);
    /// OpenCV's grey of blue-green-red.
    void (*gray)(const Pixel *from, std::uint8_t *to, int n);
    /// Where the grey exceeds \a threshold, \a light, otherwise \a dark.
    void (*choose)(const std::uint8_t *from, Pixel *to, int n, int threshold, Pixel dark,
                   Pixel light);
    /// OpenCV's luma (Y of YCrCb).
    void (*luma)(const Pixel *from, std::uint8_t *to, int n);
    /// Through YCrCb and back, the luma through \a table on the way; alpha 255.
    void (*relight)(const Pixel *from, Pixel *to, int n,
                    const std::array<std::uint8_t, 256> &table);
};

/// The version for activeIsa().
const Kernels &kernels();

/// The version for \a isa. Only to be called on a machine that has it.
const Kernels &kernelsFor(Isa isa);

/// The instruction set of the version whose kernel last ran; for tests.
Isa lastIsaRun();

} // namespace kivra
