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

// All for a picture that is not empty, on as many as \a threads threads; those that fill a plane
// make it CV_8UC1 of the picture's size first, and throw if there is no memory for it.

/// The histogram of the blue channel.
Histogram blueHistogram(ConstPixels pixels, int threads);

void fillPlane(ConstPixels pixels, PlaneKernel kernel, cv::Mat &plane, int threads);

/// The same; the histogram of the plane.
Histogram fillPlaneAndCount(ConstPixels pixels, PlaneKernel kernel, cv::Mat &plane, int threads);

/// The first and the last level that more than 0.1 % of the pixels have.
std::pair<int, int> endsOf(const Histogram &histogram);

/// The table by which OpenCV equalises: the levels below and at the darkest one become 0, each
/// other one its share of 255, by the number of pixels above the darkest level that are not
/// brighter. A picture of one level keeps it.
ByteTable equalizationTable(const Histogram &histogram);

/// Otsu's level, 0..255, as OpenCV finds it: the one that maximises the variance between the
/// classes below and above it.
int otsuLevel(const Histogram &histogram);

} // namespace kivra
