#include "render/finish.h"

#include <algorithm>
#include <cmath>

namespace kivra {

namespace {

// Clamped before the conversion to an integer, which is undefined for values out of its range.
template<typename Real>
std::uint8_t truncatedLevel(Real value)
{
    return static_cast<std::uint8_t>(std::clamp(value, Real(0), Real(255)));
}

int onLine(int level, const ToneLine &line)
{
    return std::clamp((level * line.scale + line.offset) >> line.shift, 0, 255);
}

// The line in fixed point, or nothing if fixed point misses an entry of the table.
std::optional<ToneLine> lineOf(const ByteTable &table, double slope, double intercept)
{
    // Rounding must not push an entry below the whole number that it is in exact arithmetic. The
    // slack is harmless elsewhere: no other entry of a table of percents or of up to 255 steps lies
    // this close below a whole number.
    constexpr double slack = 1.0 / 1024;
    constexpr double room = 1 << 30; // the sum of both terms still fits in an int
    const double reach = 255 * std::abs(slope) + std::abs(intercept) + 1;
    int shift = 20;
    while (shift > 0 && std::ldexp(reach, shift) > room)
        --shift;
    if (!(std::ldexp(reach, shift) <= room))
        return {};
    const ToneLine line{static_cast<int>(std::lround(std::ldexp(slope, shift))),
                        static_cast<int>(std::lround(std::ldexp(intercept + slack, shift))), shift};
    for (int level = 0; level < 256; ++level) {
        if (onLine(level, line) != table[static_cast<std::size_t>(level)])
            return {};
    }
    return line;
}

} // namespace

Tone::Tone(const ByteTable &table)
    : entries(table)
    , words()
{
    for (std::size_t i = 0; i < table.size(); ++i) {
        const Pixel level = table[i];
        words.red[i] = 0xFF000000U | level << 16;
        words.green[i] = level << 8;
        words.blue[i] = level;
    }
}

Tone::Tone(const ByteTable &table, double slope, double intercept)
    : Tone(table)
{
    line = lineOf(table, slope, intercept);
}

bool Tone::isIdentity() const
{
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (entries[i] != i)
            return false;
    }
    return true;
}

void Tone::row(const Pixel *from, Pixel *to, int n) const
{
    if (line)
        kernels().line(from, to, n, *line);
    else
        kernels().tone(from, to, n, words);
}

Tone brightnessTone(int lumiere, int contraste)
{
    const float gain = static_cast<float>(contraste) / 100.0F;
    ByteTable table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        const auto shifted = static_cast<float>(static_cast<std::int64_t>(i) + lumiere - 128);
        table[i] = truncatedLevel(shifted * gain + 128.0F);
    }
    const double slope = contraste / 100.0;
    return {table, slope, (lumiere - 128.0) * slope + 128};
}

Tone stretchTone(int low, int high)
{
    ByteTable table{};
    if (low == high)
        return {table, 0, 0};
    const double range = static_cast<double>(high) - low;
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = truncatedLevel((static_cast<double>(i) - low) * 255.0 / range);
    return {table, 255.0 / range, -255.0 / range * low};
}

Finish::Finish(const Tone &first, Effect second, TwoColours twoColours)
    : tone(first)
    , keepsLevels(first.isIdentity())
    , effect(second)
    , colours(twoColours)
{
}

Pixel Finish::word(Pixel pixel) const
{
    Pixel result = 0;
    row(&pixel, &result, 1);
    return result;
}

// Row by row: the effect still finds the row of the tone in the first-level cache.
void Finish::row(const Pixel *from, Pixel *to, int n) const
{
    const Pixel *toned = from;
    if (!keepsLevels) {
        tone.row(from, to, n);
        toned = to;
    }
    switch (effect) {
    case Effect::None:
        if (keepsLevels)
            kernels().opaque(toned, to, n);
        break;
    case Effect::Shade:
        kernels().shade(toned, to, n);
        break;
    case Effect::Negative:
        kernels().negative(toned, to, n);
        break;
    case Effect::TwoColours:
        kernels().fade(toned, to, n, colours);
        break;
    }
}

} // namespace kivra
