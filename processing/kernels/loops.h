#pragma once

#include "processing/kernels/kernels.h"

// The kernels as plain loops. Included by the source of each version, which inlines them into
// functions of its own instruction set; the compiler vectorises most of them.

#define KIVRA_LOOP [[gnu::always_inline]] static inline

namespace kivra::loops {

constexpr Pixel opaqueAlpha = 0xFF000000U;

KIVRA_LOOP int blueOf(Pixel pixel)
{
    return static_cast<int>(pixel & 0xFFU);
}

KIVRA_LOOP int greenOf(Pixel pixel)
{
    return static_cast<int>(pixel >> 8 & 0xFFU);
}

KIVRA_LOOP int redOf(Pixel pixel)
{
    return static_cast<int>(pixel >> 16 & 0xFFU);
}

KIVRA_LOOP void opaque(const Pixel *from, Pixel *to, int n)
{
    for (int i = 0; i < n; ++i)
        to[i] = from[i] | opaqueAlpha;
}

KIVRA_LOOP void negative(const Pixel *from, Pixel *to, int n)
{
    for (int i = 0; i < n; ++i)
        to[i] = (from[i] | opaqueAlpha) ^ 0x00FFFFFFU;
}

// Integer weights out of 32.
KIVRA_LOOP Pixel level(Pixel pixel)
{
    return static_cast<Pixel>(11 * redOf(pixel) + 16 * greenOf(pixel) + 5 * blueOf(pixel)) >> 5;
}

KIVRA_LOOP void grey(const Pixel *from, Pixel *to, int n)
{
    for (int i = 0; i < n; ++i)
        to[i] = opaqueAlpha | level(from[i]) * 0x010101U;
}

KIVRA_LOOP void levels(const Pixel *from, Pixel *to, int n, const LevelWords &words)
{
    for (int i = 0; i < n; ++i)
        to[i] = words[level(from[i])];
}

KIVRA_LOOP void tone(const Pixel *from, Pixel *to, int n, const ToneWords &words)
{
    for (int i = 0; i < n; ++i) {
        const Pixel pixel = from[i];
        to[i] = words.red[pixel >> 16 & 0xFFU] | words.green[pixel >> 8 & 0xFFU] |
                words.blue[pixel & 0xFFU];
    }
}

// OpenCV's 8-bit grey: .299, .587 and .114 in 15-bit fixed point.
KIVRA_LOOP void gray(const Pixel *from, std::uint8_t *to, int n)
{
    for (int i = 0; i < n; ++i) {
        const int sum = 9798 * redOf(from[i]) + 19235 * greenOf(from[i]) + 3735 * blueOf(from[i]);
        to[i] = static_cast<std::uint8_t>((sum + (1 << 14)) >> 15);
    }
}

KIVRA_LOOP void choose(const std::uint8_t *from, Pixel *to, int n, int threshold, Pixel dark,
                       Pixel light)
{
    for (int i = 0; i < n; ++i)
        to[i] = from[i] > threshold ? light : dark;
}

// OpenCV's 8-bit YCrCb works in 14-bit fixed point.
constexpr int lumaShift = 14;
constexpr int lumaHalf = 1 << (lumaShift - 1);

KIVRA_LOOP int lumaOf(Pixel pixel)
{
    const int sum = 4899 * redOf(pixel) + 9617 * greenOf(pixel) + 1868 * blueOf(pixel);
    return (sum + lumaHalf) >> lumaShift;
}

KIVRA_LOOP void luma(const Pixel *from, std::uint8_t *to, int n)
{
    for (int i = 0; i < n; ++i)
        to[i] = static_cast<std::uint8_t>(lumaOf(from[i]));
}

KIVRA_LOOP Pixel saturated(int value)
{
    return static_cast<Pixel>(value < 0 ? 0 : value > 255 ? 255 : value);
}

// A colour difference in steps of 1 / scale, as 8 bits with its zero at 128, then without the zero.
KIVRA_LOOP int chroma(int difference, int scale)
{
    const int value = (difference * scale + (128 << lumaShift) + lumaHalf) >> lumaShift;
    return static_cast<int>(saturated(value)) - 128;
}

KIVRA_LOOP void relight(const Pixel *from, Pixel *to, int n,
                        const std::array<std::uint8_t, 256> &table)
{
    for (int i = 0; i < n; ++i) {
        const int y = lumaOf(from[i]);
        const int cr = chroma(redOf(from[i]) - y, 11682);
        const int cb = chroma(blueOf(from[i]) - y, 9241);
        const int lit = table[static_cast<std::size_t>(y)];
        const Pixel red = saturated(lit + ((cr * 22987 + lumaHalf) >> lumaShift));
        const Pixel green = saturated(lit + ((cr * -11698 + cb * -5636 + lumaHalf) >> lumaShift));
        const Pixel blue = saturated(lit + ((cb * 29049 + lumaHalf) >> lumaShift));
        to[i] = opaqueAlpha | red << 16 | green << 8 | blue;
    }
}

} // namespace kivra::loops
