#pragma once

#include "render/kernels/kernels.h"
#include "render/pixels.h"

#include <array>
#include <cstdint>
#include <opencv2/core/mat.hpp>
#include <utility>

namespace kivra {

/// How many pixels have each of the 256 levels.
using Histogram = std::array<std::uint32_t, 256>;

/// A kernel that makes one byte of each pixel of a row: Kernels::grey, Kernels::luma.
using PlaneKernel = void (*)(const Pixel *from, std::uint8_t *to, int n);

// The pictures must not be empty. Each function uses up to \a threads threads. Those that fill a
// plane first make it CV_8UC1 of the picture's size, and throw if there is no memory for it.

/// The histogram of the blue channel.
Histogram blueHistogram(ConstPixels pixels, int threads);

void fillPlane(ConstPixels pixels, PlaneKernel kernel, cv::Mat &plane, int threads);

/// The same, and returns the plane's histogram.
Histogram fillPlaneAndCount(ConstPixels pixels, PlaneKernel kernel, cv::Mat &plane, int threads);

/// The first and the last level that more than 0.1 % of the pixels have.
std::pair<int, int> endsOf(const Histogram &histogram);

/// OpenCV's equalisation table: the darkest level and those below become 0. Any other level becomes
/// a share of 255, by the number of pixels that are brighter than the darkest level but not
/// brighter than this one. A picture of one level keeps it.
ByteTable equalizationTable(const Histogram &histogram);

/// Otsu's level, 0..255, as OpenCV finds it: the one that maximises the variance between the
/// classes below and above it.
int otsuLevel(const Histogram &histogram);

} // namespace kivra
