#pragma once

#include "processing/finish.h"
#include "processing/pixels.h"

// The rendering modes, each with the finish that follows it. All read \a from and write \a to, a
// grid of the same size, perhaps the same one, and return at once for an empty picture. They size
// the working matrices by checkBuffers() and use _src_gray as scratch.

namespace kivra {

/// Stretches all channels by the histogram of the blue one.
void stretch(ConstPixels from, Pixels to, const Finish &finish);

/// Equalises the histogram of the luma, keeping chroma.
void equalize(ConstPixels from, Pixels to, const Finish &finish);

/// Light where the grey exceeds \a level, which may be any number.
void thresholdAt(ConstPixels from, Pixels to, double level, TwoColours colours);

/// The same with Otsu's level.
void thresholdByOtsu(ConstPixels from, Pixels to, TwoColours colours);

/// 3x3 median of the grey; light where that exceeds the Gaussian mean of its 11x11 neighbours - 2.
void thresholdByNeighbours(ConstPixels from, Pixels to, TwoColours colours);

/// Eight levels of HSV value, hue and saturation kept.
void posterize(ConstPixels from, Pixels to, const Finish &finish);

} // namespace kivra
