#pragma once

#include "processing/pixels.h"
#include "processing/rendering.h"

#include <opencv2/core/mat.hpp>

namespace kivra {

/// Writes \a to by the 3x3 median of \a gray, a CV_8UC1 matrix of the same size that is not empty:
/// light where the median exceeds the Gaussian mean of its 11x11 neighbourhood less 2. Bit for bit
/// what cv::medianBlur() and cv::adaptiveThreshold() decide on this machine.
void decideByNeighbours(const cv::Mat &gray, Pixels to, TwoColours colours);

} // namespace kivra
