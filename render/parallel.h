#pragma once

#include "render/pixels.h"

#include <algorithm>
#include <atomic>
#include <opencv2/core/utility.hpp>
#include <vector>

namespace kivra {

/// As many threads as work at once on this machine.
inline int allThreads()
{
    return std::max(cv::getNumThreads(), 1);
}

/// Calls \a body(rows) for spans that together cover the rows of a picture once, on as many as
/// \a threads threads at once, the caller's among them; on that alone for a picture that is not
/// worth more. The order is not defined, so \a body must give the same result for any cut. What it
/// throws, this throws.
///
/// Each worker begins with a part of its own, the same in each call, so that a second pass finds in
/// its core's cache what the first has left there. Several bands to a part even out a worker that
/// starts late: the others do what it has not begun. Waking a worker costs as much as some ten
/// thousand pixels. Threads may call this at the same time; all but one of them then work alone.
template<typename Body>
void forBands(int threads, int width, int height, const Body &body)
{
    constexpr long pixelsWorthWaking = 1L << 16;
    constexpr int bandsPerThread = 8;
    if (threads < 2 || static_cast<long>(width) * height < pixelsWorthWaking) {
        body(Span{0, height});
        return;
    }
    const auto edge = [&](int band) {
        return static_cast<int>(static_cast<long>(height) * band / (threads * bandsPerThread));
    };
    std::vector<std::atomic<int>> begun(static_cast<std::size_t>(threads)); // of each part's bands
    const auto work = [&](const cv::Range &workers) {
        for (int turn = 0; turn < threads; ++turn) {
            const int part = (workers.start + turn) % threads;
            std::atomic<int> &next = begun[static_cast<std::size_t>(part)];
            for (int band = next++; band < bandsPerThread; band = next++) {
                const Span rows{edge(part * bandsPerThread + band),
                                edge(part * bandsPerThread + band + 1)};
                if (rows.begin < rows.end)
                    body(rows);
            }
        }
    };
    cv::parallel_for_(cv::Range(0, threads), work, threads);
}

} // namespace kivra
