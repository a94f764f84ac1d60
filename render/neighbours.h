#pragma once

#include "render/pixels.h"

#include <opencv2/core/mat.hpp>

namespace kivra {

/// Decides the rows of \a to by the 3x3 median of \a grey, a non-empty CV_8UC1 matrix of the same
/// size: light where the median exceeds the Gaussian mean of its 11x11 neighbourhood less 2. Bit
/// for bit what cv::medianBlur() and cv::adaptiveThreshold() decide on this machine.
void decideByNeighbours(const cv::Mat &grey, Pixels to, Span rows, TwoColours colours);

} // namespace kivra
