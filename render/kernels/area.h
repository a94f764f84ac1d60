#pragma once

#include "render/pixels.h"

#include <cstddef>
#include <cstdint>

// What the kernels of the view's area mean are told.

namespace kivra {

/// Of the rows that one row of an area average covers, from above: the first, whole ones, the last.
/// A last row without weight is not read.
struct RowWeights
{
    int wholeRows;
    float first;
    float whole; ///< of each of them
    float last;
};

/// The whole rows of which sums of 16 bits have room.
constexpr int mostWholeRows = 256;

/// Of the columns that each column of an area average covers: from firsts[i] on, \c taps of them
/// with the weights from weights[i * taps] on, which add up to 1.
struct ColumnWeights
{
    const int *firsts;
    const float *weights;
    int taps;
};

} // namespace kivra
