#pragma once

#include <QImage>

/// Recolours the picture: dark parts take \a darkColour, light parts \a lightColour, mid-tones fade
/// towards grey 127 between them. Colours are 0xAARRGGBB, their alpha is ignored; the picture's
/// alpha becomes 255. An empty picture stays as it is.
void fBicolore(QImage *image, unsigned int darkColour, unsigned int lightColour);
