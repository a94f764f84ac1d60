#pragma once

#include <QImage>

// Recolouring by look-up tables. Those of levels are 256 integers, each 0 to 255, indexed by an
// 8-bit channel.

/// Fills \a lut with brightness and contrast: entry i = (i + lumiere - 128) * contraste / 100 + 128
/// in single precision, truncated, then limited to 0..255. \a lumiere shifts every level before the
/// gain \a contraste (in percent), which pivots about level 128; (0, 100) gives the identity.
void CalculerLut(int *lut, int lumiere, int contraste);

/// Sends red, green and blue of every pixel through \a lut and sets alpha to 255. An empty picture
/// stays as it is.
void AppliquerLut(QImage *image, int *lut);

/// Fills \a lut with a fixed shape. \a type 0: identity; 1: min(2 i, 255); 2: the line that takes
/// \a low to 0 and \a high to 255, truncated and limited to 0..255, all zero when both are equal.
/// Any other \a type leaves the table as it was.
void CreerLut(int *lut, int type, int low, int high);

/// Recolours the picture: dark parts take \a darkColour, light parts \a lightColour, mid-tones fade
/// towards grey 127 between them. Colours are 0xAARRGGBB, their alpha is ignored; the picture's
/// alpha becomes 255. An empty picture stays as it is.
void fBicolore(QImage *image, unsigned int darkColour, unsigned int lightColour);
