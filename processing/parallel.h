#pragma once

#include <algorithm>
#include <opencv2/core/utility.hpp>

namespace kivra {

/// From \c begin to \c end, exclusive.
struct Span
{
    int begin;
    int end;
};

/// Calls \a body(columns, rows) for spans that together cover a picture once, \a across of them
/// side by side, on all cores when the picture is worth it. The order is not defined, so \a body
/// must give the same result for any cut.
///
/// Several tiles per core even out a worker that starts late. Waking a worker costs as much as some
/// ten thousand pixels, hence small pictures stay on the caller's thread.
template<typename Body>
void forTiles(int width, int height, int across, const Body &body)
{
    constexpr long pixelsWorthWaking = 1L << 16;
    constexpr int tilesPerThread = 8;
    const int threads = cv::getNumThreads();
    const bool alone = threads < 2 || static_cast<long>(width) * height < pixelsWorthWaking;
    const int down = alone ? 1 : std::min(height, (threads * tilesPerThread - 1) / across + 1);
    const auto span = [](int whole, int parts, int part) -> Span {
        const auto edge = [&](int number) {
            return static_cast<int>(static_cast<long>(whole) * number / parts);
        };
        return {edge(part), edge(part + 1)};
    };
    const auto work = [&](const cv::Range &range) {
        for (int tile = range.start; tile < range.end; ++tile)
            body(span(width, across, tile % across), span(height, down, tile / across));
    };
    const cv::Range all(0, down * across);
    if (alone)
        work(all);
    else
        cv::parallel_for_(all, work);
}

/// The same for whole rows: \a body(firstRow, endRow).
template<typename Body>
void forBands(int width, int height, const Body &body)
{
    forTiles(width, height, 1, [&](Span, Span rows) { body(rows.begin, rows.end); });
}

} // namespace kivra
