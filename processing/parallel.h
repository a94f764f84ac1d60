#pragma once

#include <algorithm>
#include <opencv2/core/utility.hpp>

namespace kivra {

/// Calls \a body(firstRow, endRow) for bands of rows that together cover 0 to \a height once, on
/// all cores when the picture is worth it. The order of the bands is not defined, so \a body must
/// give the same result for any cut.
///
/// Several bands per core even out a worker that starts late. Waking a worker costs as much as some
/// ten thousand pixels, hence small pictures stay on the caller's thread.
template<typename Body>
void forBands(int width, int height, const Body &body)
{
    constexpr long pixelsWorthWaking = 1L << 16;
    constexpr int bandsPerThread = 8;
    const int threads = cv::getNumThreads();
    if (threads < 2 || static_cast<long>(width) * height < pixelsWorthWaking) {
        body(0, height);
        return;
    }
    const int bands = std::min(height, threads * bandsPerThread);
    const auto edge = [&](int band) {
        return static_cast<int>(static_cast<long>(height) * band / bands);
    };
    cv::parallel_for_(cv::Range(0, bands), [&](const cv::Range &range) {
        for (int band = range.start; band < range.end; ++band)
            body(edge(band), edge(band + 1));
    });
}

} // namespace kivra
