#pragma once

#include "render/pixels.h"

#include <algorithm>
#include <opencv2/core/utility.hpp>

namespace kivra {

/// The most threads that work at once on this machine.
inline int allThreads()
{
    return std::max(cv::getNumThreads(), 1);
}

/// Calls \a body(rows) for spans that together cover each row of a picture once. Up to \a threads
/// threads work at once, including the caller's; a small picture stays on the caller's thread
/// alone. The order is not defined, so \a body must give the same result for any cut. Exceptions of
/// \a body are passed on.
///
/// Several bands per thread make up for a worker that starts late. Waking a worker costs as much as
/// some ten thousand pixels. Several threads may call this at the same time; all but one of them
/// then work alone.
template<typename Body>
void forBands(int threads, int width, int height, const Body &body)
{
    constexpr long pixelsWorthWaking = 1L << 16;
    constexpr int bandsPerThread = 8;
    if (threads < 2 || static_cast<long>(width) * height < pixelsWorthWaking) {
        body(Span{0, height});
        return;
    }
    const int bands = std::min(height, threads * bandsPerThread);
    const auto edge = [&](int band) {
        return static_cast<int>(static_cast<long>(height) * band / bands);
    };
    const auto work = [&](const cv::Range &range) {
        for (int band = range.start; band < range.end; ++band)
            body(Span{edge(band), edge(band + 1)});
    };
    // One stripe for each worker allowed, or one for each band if all workers are allowed.
    const int stripes = threads < allThreads() ? threads : bands;
    cv::parallel_for_(cv::Range(0, bands), work, stripes);
}

} // namespace kivra
