#pragma once

#include <QImage>

/// Turns the picture into opaque black and white, in place.
///
/// \a method 0: white where the grey exceeds \a level * 2.55 (\a level is a percentage, used by
/// this method alone). 1: Otsu's level. 2 and 3: 3x3 median, then white where that exceeds the
/// Gaussian-weighted mean of its 11x11 neighbourhood minus 2. Any other: no threshold; the picture
/// shows what _dst holds, as grey (and stays as it is if somebody gave that another size).
///
/// Leaves the colours in _src, the grey in _src_gray and the result in _dst. An empty picture stays
/// as it is.
void KvThreshold(QImage *image, int level, int method);

/// Reduces the brightness (V of HSV) to the eight levels 16, 48 .. 240, keeping hue and saturation,
/// in place; leaves the result in _src. \a n is not used. An empty picture stays as it is.
void KvPosterize(QImage *image, int n);

/// Reduces each channel to 0 (below 64), 127 or 255 (above 160), in place; leaves the result in
/// _src. \a n is not used. An empty picture stays as it is.
void KvPosterize1(QImage *image, int n);
