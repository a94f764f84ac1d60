#pragma once

#include "processing/kernels/loops.h"

// The two passes of an area average as plain loops: the rows that a row of the result covers are
// added up first, so that only their sums, not the picture, are gone through column by column.

namespace kivra::loops {

/// The weighted sum of the row \a first, of \a rows whole ones, of what \a sums holds if it is
/// \a summed, and of the row \a last.
template<int rows, bool summed>
KIVRA_LOOP void weigh(const std::uint8_t *first, const std::uint8_t *whole,
                      const std::uint8_t *last, std::ptrdiff_t stride, const std::uint16_t *sums,
                      const RowWeights &given, float *to, int n)
{
    const RowWeights weights = given;
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i) {
        int sum = summed ? sums[i] : 0;
        for (int row = 0; row < rows; ++row)
            sum += whole[row * stride + i];
        const float ends = weights.first * static_cast<float>(static_cast<int>(first[i])) +
                           weights.last * static_cast<float>(static_cast<int>(last[i]));
        to[i] = ends + weights.whole * static_cast<float>(sum);
    }
}

constexpr int rowsAtOnce = 4;

template<bool more>
KIVRA_LOOP void addRows(const std::uint8_t *rows, std::ptrdiff_t stride, std::uint16_t *sums, int n)
{
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i) {
        int sum = more ? sums[i] : 0;
        for (int row = 0; row < rowsAtOnce; ++row)
            sum += rows[row * stride + i];
        sums[i] = static_cast<std::uint16_t>(sum);
    }
}

template<bool summed>
KIVRA_LOOP void weighRest(int rows, const std::uint8_t *first, const std::uint8_t *whole,
                          const std::uint8_t *last, std::ptrdiff_t stride,
                          const std::uint16_t *sums, const RowWeights &weights, float *to, int n)
{
    switch (rows) {
    case 0:
        weigh<0, summed>(first, whole, last, stride, sums, weights, to, n);
        break;
    case 1:
        weigh<1, summed>(first, whole, last, stride, sums, weights, to, n);
        break;
    case 2:
        weigh<2, summed>(first, whole, last, stride, sums, weights, to, n);
        break;
    default:
        weigh<3, summed>(first, whole, last, stride, sums, weights, to, n);
        break;
    }
}

KIVRA_LOOP void weighRows(const Pixel *pixels, std::ptrdiff_t stride, const RowWeights &weights,
                          std::uint16_t *sums, float *to, int pixelCount)
{
    const auto *const first = reinterpret_cast<const std::uint8_t *>(pixels);
    const int n = pixelCount * static_cast<int>(sizeof(Pixel));
    const std::uint8_t *whole = first + stride;
    int left = weights.wholeRows;
    for (; left >= rowsAtOnce; left -= rowsAtOnce, whole += rowsAtOnce * stride) {
        if (left == weights.wholeRows)
            addRows<false>(whole, stride, sums, n);
        else
            addRows<true>(whole, stride, sums, n);
    }
    // Without weight, the last row may lie below the picture.
    const std::uint8_t *const last = weights.last > 0.0F ? whole + left * stride : first;
    if (left == weights.wholeRows)
        weighRest<false>(left, first, whole, last, stride, sums, weights, to, n);
    else
        weighRest<true>(left, first, whole, last, stride, sums, weights, to, n);
}

// The four channels of a pixel, which every machine that matters holds in one register.
using Channels [[gnu::vector_size(16)]] = float;
using Levels [[gnu::vector_size(16)]] = std::int32_t;
using LevelBytes [[gnu::vector_size(16)]] = std::uint8_t;

KIVRA_LOOP Channels channelsAt(const float *place)
{
    Channels channels;
    std::memcpy(&channels, place, sizeof channels);
    return channels;
}

// Four levels are in 0..255: the lowest byte of each is all of it.
KIVRA_LOOP Pixel pixelOf(Channels channels)
{
    const LevelBytes bytes =
        reinterpret_cast<LevelBytes>(__builtin_convertvector(channels + 0.5F, Levels));
    const LevelBytes lowest =
        __builtin_shufflevector(bytes, bytes, 0, 4, 8, 12, 0, 4, 8, 12, 0, 4, 8, 12, 0, 4, 8, 12);
    Pixel pixel = 0;
    std::memcpy(&pixel, &lowest, sizeof pixel);
    return pixel;
}

/// \a fixedTaps is the number of taps where the compiler shall know it, otherwise 0.
template<int fixedTaps>
KIVRA_LOOP void weighTaps(const float *from, const ColumnWeights &columns, Pixel *to, int n)
{
    constexpr int channelCount = 4;
    const int taps = fixedTaps != 0 ? fixedTaps : columns.taps;
    const int *const firsts = columns.firsts;
    const float *weights = columns.weights;
    for (int i = 0; i < n; ++i, weights += taps) {
        const float *const first = from + std::ptrdiff_t{channelCount} * firsts[i];
        Channels sum = channelsAt(first) * weights[0];
        for (int tap = 1; tap < taps; ++tap)
            sum += channelsAt(first + std::ptrdiff_t{channelCount} * tap) * weights[tap];
        to[i] = pixelOf(sum);
    }
}

KIVRA_LOOP void weighColumns(const float *from, const ColumnWeights &columns, Pixel *to, int n)
{
    switch (columns.taps) {
    case 2:
        weighTaps<2>(from, columns, to, n);
        break;
    case 3:
        weighTaps<3>(from, columns, to, n);
        break;
    case 4:
        weighTaps<4>(from, columns, to, n);
        break;
    default:
        weighTaps<0>(from, columns, to, n);
        break;
    }
}

} // namespace kivra::loops
