#pragma once

#include <QImage>
#include <array>

/// Recolours the picture: dark parts take \a darkColour, light parts \a lightColour, mid-tones fade
/// towards grey 127 between them. Colours are 0xAARRGGBB, their alpha is ignored; the picture's
/// alpha becomes 255. An empty picture stays as it is.
void fBicolore(QImage *image, unsigned int darkColour, unsigned int lightColour);

namespace kivra {

/// The 256 pixel words that fBicolore() gives to the grey levels.
std::array<unsigned int, 256> bicoloreTable(unsigned int darkColour, unsigned int lightColour);

} // namespace kivra
