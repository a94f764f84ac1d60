#pragma once

#include "processing/pixels.h"

#include <array>
#include <cstdint>
#include <opencv2/core/mat.hpp>

namespace kivra {

/// How many pixels have each of the 256 levels.
using Histogram = std::array<std::uint32_t, 256>;

/// The histogram of the blue channel.
Histogram blueHistogram(ConstPixels pixels);

/// Makes \a plane a CV_8UC1 matrix of the picture's size with OpenCV's luma (Y of YCrCb) and
/// returns its histogram.
Histogram lumaWithHistogram(ConstPixels pixels, cv::Mat &plane);

/// The same with OpenCV's grey.
Histogram grayWithHistogram(ConstPixels pixels, cv::Mat &plane);

/// The grey alone.
void gray(ConstPixels pixels, cv::Mat &plane);

} // namespace kivra
