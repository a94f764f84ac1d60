#pragma once

#include <QImage>
#include <opencv2/core/mat.hpp>

// Operations on a picture in place, and what each leaves in the working matrices of buffers.h. The
// alpha of the result is 255. An empty picture stays as it is. A picture whose pixels are shared
// stays as it is if there is no memory for a copy. If memory runs short later, the rest of the
// operation is left out.

/// Turns the picture into black and white.
///
/// \a method 0: white where the grey exceeds \a level * 2.55 (\a level is a percentage; only this
/// method uses it). 1: Otsu's level. 2 and 3: 3x3 median, then white where it exceeds the
/// Gaussian-weighted mean of its 11x11 neighbourhood minus 2. Any other: no threshold; the picture
/// shows _dst as grey (and stays as it is if _dst has been given another size).
///
/// Leaves the colours in _src, the result in _dst, and in _src_gray the grey (methods 2 and 3: its
/// median).
void KvThreshold(QImage *image, int level, int method);

/// Reduces the brightness (V of HSV) to the eight levels 16, 48 .. 240, keeping hue and saturation;
/// leaves the result in _src. \a n is not used.
void KvPosterize(QImage *image, int n);

/// Reduces each channel to 0 (below 64), 127 or 255 (above 160); leaves the result in _src. \a n is
/// not used.
void KvPosterize1(QImage *image, int n);

/// Equalises the luma (Y of YCrCb) of \a src into the pixels of \a dst, chroma unchanged. Both are
/// CV_8UC3, blue, green, red, of the same size, and may be the same matrix. Otherwise, and for an
/// empty matrix, nothing happens. If there is no memory for the planes, \a dst is left unfinished.
void ColorEqualizeHist(cv::Mat src, cv::Mat dst);

/// Equalises the luma; leaves the result in _src.
void KvEqualizeHist(QImage *image);

/// Stretches red, green and blue alike so that the blue channel's first and last level with more
/// than 0.1 % of the pixels become 0 and 255; a picture with only one such level becomes black.
/// Leaves the original colours in _src.
void KvStretchHist(QImage *image);

// Look-up tables: 256 integers, each 0 to 255, indexed by an 8-bit channel.

/// Fills \a lut with brightness and contrast: entry i = (i + lumiere - 128) * contraste / 100 + 128
/// in single precision, truncated, then limited to 0..255. \a lumiere shifts every level before the
/// gain \a contraste (in percent), which pivots about level 128; (0, 100) gives the identity.
void CalculerLut(int *lut, int lumiere, int contraste);

/// Fills \a lut with a fixed shape. \a type 0: identity; 1: min(2 i, 255); 2: the line that takes
/// \a low to 0 and \a high to 255, truncated and limited to 0..255, all zero when both are equal.
/// Any other \a type leaves the table as it was.
void CreerLut(int *lut, int type, int low, int high);

/// Sends red, green and blue of every pixel through \a lut.
void AppliquerLut(QImage *image, int *lut);

/// Recolours the picture: dark parts take \a darkColour, light parts \a lightColour, mid-tones fade
/// towards grey 127 between them. Colours are 0xAARRGGBB, their alpha is ignored.
void fBicolore(QImage *image, unsigned int darkColour, unsigned int lightColour);
