#pragma once

#include <QImage>
#include <opencv2/core/mat.hpp>

/// Equalises the luma (Y of YCrCb) of \a src into the pixels of \a dst, chroma unchanged. Both are
/// CV_8UC3, blue, green, red, of the same size, and may be the same; otherwise, and for an empty
/// matrix, nothing happens.
void ColorEqualizeHist(cv::Mat src, cv::Mat dst);

/// Equalises the luma of the picture in place; leaves the result in _src. Alpha becomes 255; an
/// empty picture stays as it is.
void KvEqualizeHist(QImage *image);

/// Stretches red, green and blue alike so that the blue channel's first and last level with more
/// than 0.1 % of the pixels become 0 and 255; a picture with only one such level becomes black.
/// Leaves the original colours in _src. Alpha becomes 255; an empty picture stays as it is.
void KvStretchHist(QImage *image);
