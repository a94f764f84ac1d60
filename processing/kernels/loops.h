#pragma once

#include "processing/kernels/kernels.h"

#include <cstring>

// The kernels as plain loops. Included by the source of each version, which inlines them into
// functions of its own instruction set; the compiler vectorises most of them.

#define KIVRA_LOOP [[gnu::always_inline]] static inline

// Before a loop whose source and destination may be the same row: no pass reads what another one
// wrote. Without it the compiler checks for overlap and goes pixel by pixel.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wpass-failed" // not in instrumented builds
#define KIVRA_SAME_ROW _Pragma("clang loop vectorize(assume_safety)")
#else
#define KIVRA_SAME_ROW _Pragma("GCC ivdep")
#endif

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

KIVRA_LOOP bool isOpaque(const Pixel *pixels, int n)
{
    Pixel common = opaqueAlpha;
    for (int i = 0; i < n; ++i)
        common &= pixels[i];
    return common == opaqueAlpha;
}

KIVRA_LOOP bool copy(const std::byte *from, Pixel *to, int n)
{
    Pixel common = opaqueAlpha;
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i) {
        Pixel pixel = 0;
        std::memcpy(&pixel, from + std::ptrdiff_t{i} * std::ptrdiff_t{sizeof pixel}, sizeof pixel);
        common &= pixel;
        to[i] = pixel;
    }
    return common == opaqueAlpha;
}

KIVRA_LOOP void opaque(const Pixel *from, Pixel *to, int n)
{
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i)
        to[i] = from[i] | opaqueAlpha;
}

KIVRA_LOOP void negative(const Pixel *from, Pixel *to, int n)
{
    KIVRA_SAME_ROW
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
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i)
        to[i] = opaqueAlpha | level(from[i]) * 0x010101U;
}

// The channel at \a end of the levels, k levels on: end + (127 - end) * (k / 128)^2, rounded down.
KIVRA_LOOP Pixel faded(int end, int squareOfK)
{
    return static_cast<Pixel>(end + ((127 - end) * squareOfK >> 14));
}

KIVRA_LOOP void fade(const Pixel *from, Pixel *to, int n, TwoColours colours)
{
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i) {
        const int at = static_cast<int>(level(from[i]));
        const bool isDark = at < 128;
        const int k = isDark ? at : 255 - at;
        const Pixel end = isDark ? colours.dark : colours.light;
        to[i] = opaqueAlpha | faded(redOf(end), k * k) << 16 | faded(greenOf(end), k * k) << 8 |
                faded(blueOf(end), k * k);
    }
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
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i) {
        const int sum = 9798 * redOf(from[i]) + 19235 * greenOf(from[i]) + 3735 * blueOf(from[i]);
        to[i] = static_cast<std::uint8_t>((sum + (1 << 14)) >> 15);
    }
}

KIVRA_LOOP void choose(const std::uint8_t *from, Pixel *to, int n, int threshold, Pixel dark,
                       Pixel light)
{
    KIVRA_SAME_ROW
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
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i)
        to[i] = static_cast<std::uint8_t>(lumaOf(from[i]));
}

// Eight at a time, from one load.
KIVRA_LOOP void lookUp(const std::uint8_t *from, std::uint8_t *to, int n, const ByteTable &table)
{
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        std::uint64_t levels = 0;
        std::memcpy(&levels, from + i, sizeof levels);
        for (int place = 0; place < 8; ++place)
            to[i + place] = table[levels >> (8 * place) & 0xFFU];
    }
    for (; i < n; ++i)
        to[i] = table[from[i]];
}

KIVRA_LOOP int saturated(int value)
{
    const int atLeast0 = value < 0 ? 0 : value;
    return atLeast0 > 255 ? 255 : atLeast0;
}

KIVRA_LOOP Pixel wordOf(int red, int green, int blue)
{
    return opaqueAlpha | static_cast<Pixel>(red << 16 | green << 8 | blue);
}

// A colour difference in steps of 1 / scale, as 8 bits with its zero at 128, then without the zero.
KIVRA_LOOP int chroma(int difference, int scale)
{
    const int value = (difference * scale + (128 << lumaShift) + lumaHalf) >> lumaShift;
    return saturated(value) - 128;
}

KIVRA_LOOP void relight(const Pixel *from, const std::uint8_t *was, const std::uint8_t *becomes,
                        Pixel *to, int n)
{
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i) {
        const int cr = chroma(redOf(from[i]) - was[i], 11682);
        const int cb = chroma(blueOf(from[i]) - was[i], 9241);
        const int red = becomes[i] + ((cr * 22987 + lumaHalf) >> lumaShift);
        const int green = becomes[i] + ((cr * -11698 + cb * -5636 + lumaHalf) >> lumaShift);
        const int blue = becomes[i] + ((cb * 29049 + lumaHalf) >> lumaShift);
        to[i] = wordOf(saturated(red), saturated(green), saturated(blue));
    }
}

KIVRA_LOOP int onLine(int level, const ToneLine &line)
{
    return saturated((level * line.scale + line.offset) >> line.shift);
}

KIVRA_LOOP void line(const Pixel *from, Pixel *to, int n, const ToneLine &given)
{
    const ToneLine line = given; // a copy that the stores cannot touch
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i)
        to[i] = wordOf(onLine(redOf(from[i]), line), onLine(greenOf(from[i]), line),
                       onLine(blueOf(from[i]), line));
}

// OpenCV's 8-bit hue and saturation divide by multiplying with a 12-bit fixed-point quotient, which
// is the nearest integer; a float is exact enough to find it. Where the divisor is 0, so is what
// the quotient multiplies.
KIVRA_LOOP int quotient(float dividend, int divisor)
{
    constexpr float toInteger = 12582912.0F; // 1.5 * 2^23: the sum has no fraction bits left
    const float exact = dividend / static_cast<float>(divisor == 0 ? 1 : divisor);
    return static_cast<int>((exact + toInteger) - toInteger);
}

KIVRA_LOOP std::uint32_t hsvPlaceOf(Pixel pixel)
{
    constexpr int shift = 12;
    constexpr int half = 1 << (shift - 1);
    const int red = redOf(pixel);
    const int green = greenOf(pixel);
    const int blue = blueOf(pixel);
    const int highest = red > green ? red : green;
    const int value = highest > blue ? highest : blue;
    const int lowest = red < green ? red : green;
    const int range = value - (lowest < blue ? lowest : blue);
    const int saturation = (range * quotient(255 << shift, value) + half) >> shift;
    const int fromGreen = value == green ? blue - red + 2 * range : red - green + 4 * range;
    const int sixths = value == red ? green - blue : fromGreen;
    const int turn = (sixths * quotient(30 << shift, range) + half) >> shift;
    const int hue = turn < 0 ? turn + 180 : turn;
    return static_cast<std::uint32_t>(((value >> 5) * 180 + hue) * 256 + saturation);
}

KIVRA_LOOP void hsvPlace(const Pixel *from, std::uint32_t *to, int n)
{
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i)
        to[i] = hsvPlaceOf(from[i]);
}

KIVRA_LOOP std::uint8_t lower(std::uint8_t one, std::uint8_t other)
{
    return one < other ? one : other;
}

KIVRA_LOOP std::uint8_t higher(std::uint8_t one, std::uint8_t other)
{
    return one > other ? one : other;
}

KIVRA_LOOP std::uint8_t medianOf(std::uint8_t a, std::uint8_t b, std::uint8_t c)
{
    return higher(lower(a, b), lower(higher(a, b), c));
}

constexpr int piece = 256;

// The median of nine is the median of: the highest of the columns' lowest, the median of their
// medians, the lowest of their highest.
KIVRA_LOOP void median(const std::uint8_t *above, const std::uint8_t *middle,
                       const std::uint8_t *below, std::uint8_t *to, int n)
{
    std::array<std::uint8_t, piece + 2> low;
    std::array<std::uint8_t, piece + 2> mid;
    std::array<std::uint8_t, piece + 2> high;
    for (int done = 0; done < n; done += piece) {
        const int count = n - done < piece ? n - done : piece;
        for (int i = 0; i < count + 2; ++i) {
            const int column = done + i - 1;
            const std::uint8_t a = above[column];
            const std::uint8_t b = middle[column];
            const std::uint8_t c = below[column];
            const auto place = static_cast<std::size_t>(i);
            low[place] = lower(lower(a, b), c);
            mid[place] = medianOf(a, b, c);
            high[place] = higher(higher(a, b), c);
        }
        for (int i = 0; i < count; ++i) {
            const auto place = static_cast<std::size_t>(i);
            to[done + i] = medianOf(higher(higher(low[place], low[place + 1]), low[place + 2]),
                                    medianOf(mid[place], mid[place + 1], mid[place + 2]),
                                    lower(lower(high[place], high[place + 1]), high[place + 2]));
        }
    }
}

template<bool fused>
KIVRA_LOOP float multiplyAdd(float a, float b, float c)
{
    if constexpr (fused)
        return __builtin_fmaf(a, b, c);
    return a * b + c;
}

template<bool fused>
KIVRA_LOOP void across(const std::uint8_t *from, float *scratch, float *to, int n,
                       const MeanWeights &given)
{
    const MeanWeights weights = given;
    for (int i = -meanReach; i < n + meanReach; ++i)
        scratch[i] = static_cast<float>(from[i]);
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i) {
        float sum = scratch[i - meanReach] * weights[0];
        for (int tap = 1; tap < meanTaps; ++tap)
            sum = multiplyAdd<fused>(scratch[i - meanReach + tap],
                                     weights[static_cast<std::size_t>(tap)], sum);
        to[i] = sum;
    }
}

template<bool fused>
KIVRA_LOOP void decide(const float *const *rows, const std::uint8_t *values, Pixel *to, int n,
                       const MeanWeights &given, Pixel dark, Pixel light)
{
    constexpr float toInteger = 12582912.0F; // 1.5 * 2^23: rounds to nearest, ties to even
    const MeanWeights weights = given;
    std::array<const float *, meanTaps> row;
    for (std::size_t tap = 0; tap < meanTaps; ++tap)
        row[tap] = rows[tap];
    KIVRA_SAME_ROW
    for (int i = 0; i < n; ++i) {
        float sum = row[meanReach][i] * weights[meanReach];
        for (std::size_t out = 1; out <= meanReach; ++out)
            sum = multiplyAdd<fused>(row[meanReach + out][i] + row[meanReach - out][i],
                                     weights[meanReach + out], sum);
        const float mean = (sum + toInteger) - toInteger;
        to[i] = static_cast<float>(values[i]) > mean - 2.0F ? light : dark;
    }
}

} // namespace kivra::loops
