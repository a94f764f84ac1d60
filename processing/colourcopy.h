#pragma once

#include "processing/pixels.h"

namespace kivra {

/// Blue, green and red of every pixel into \a matrix, a CV_8UC3 matrix of the picture's size.
void copyColours(ConstPixels from, cv::Mat &matrix);

/// The blue byte of every pixel, which is the grey of a black and white picture, into \a matrix,
/// which becomes a CV_8UC1 matrix of the picture's size.
void copyBlue(ConstPixels from, cv::Mat &matrix);

/// Opaque grey pixels from \a matrix, a CV_8UC1 matrix of the picture's size.
void showGray(const cv::Mat &matrix, Pixels to);

/// _src with the colours of the picture, whose size checkBuffers() has set. Whoever still holds the
/// matrix of an earlier picture keeps that one's pixels.
void keepSource(ConstPixels from);

} // namespace kivra
