#pragma once

#include "render/pixels.h"

#include <cstddef>
#include <cstdint>

// What tells the view's area kernels how to average.

namespace kivra {

/// The weights of the rows that one row of an area average covers, from the top: the first row,
/// whole rows, the last row. The last row is not read if its weight is 0.
struct RowWeights
{
    int wholeRows;
    float first;
    float whole; ///< of each of them
    float last;
};

/// The most whole rows that sums of 16 bits have room for.
constexpr int mostWholeRows = 256;

/// The columns that each column of an area average covers: \c taps columns from firsts[i] on, with
/// the weights from weights[i * taps] on, which add up to 1.
struct ColumnWeights
{
    const int *firsts;
    const float *weights;
    int taps;
};

} // namespace kivra
