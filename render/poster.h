#pragma once

#include "render/kernels/kernels.h"
#include "render/pixels.h"

#include <vector>

namespace kivra {

/// The pixels of all HSV colours that posterising can yield, at the indices that Kernels::hsvPlace
/// gives. Made at the first call; throws if there is no memory for them.
const std::vector<Pixel> &posterColours();

/// Writes the rows of \a to from those of \a from, perhaps the same picture: the HSV value of each
/// pixel becomes the middle of its eighth (16, 48 .. 240), hue and saturation stay, alpha becomes
/// 255. Bit for bit what cv::cvtColor() gives there and back.
void posterize(ConstPixels from, Pixels to, Span rows);

} // namespace kivra
