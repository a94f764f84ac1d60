#include "processing/finish.h"

#include "processing/parallel.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace kivra {

namespace {

int onLine(int level, const ToneLine &line)
{
    return std::clamp((level * line.scale + line.offset) >> line.shift, 0, 255);
}

// The line in fixed point, if that gives every entry exactly.
std::optional<ToneLine> lineOf(const Tone &tone, double slope, double intercept)
{
    // Entries that are whole numbers in exact arithmetic must not fall short of them; no fraction
    // of a table of percents or of up to 255 steps comes this close below a whole number.
    constexpr double slack = 1.0 / 1024;
    constexpr double room = 1 << 30; // in an int, with the sum of both terms
    const double reach = 255 * std::abs(slope) + std::abs(intercept) + 1;
    int shift = 20;
    while (shift > 0 && std::ldexp(reach, shift) > room)
        --shift;
    if (!(std::ldexp(reach, shift) <= room))
        return {};
    const ToneLine line{static_cast<int>(std::lround(std::ldexp(slope, shift))),
                        static_cast<int>(std::lround(std::ldexp(intercept + slack, shift))), shift};
    for (int level = 0; level < 256; ++level) {
        if (onLine(level, line) != tone.table[static_cast<std::size_t>(level)])
            return {};
    }
    return line;
}

bool isIdentity(const Tone &tone)
{
    return tone.table == identityTone().table;
}

} // namespace

Tone identityTone()
{
    Tone tone{{}, ToneLine{1, 0, 0}};
    std::iota(tone.table.begin(), tone.table.end(), std::uint8_t{0});
    return tone;
}

Tone toneOf(const int *lut)
{
    Tone tone{};
    std::transform(lut, lut + tone.table.size(), tone.table.begin(),
                   [](int level) { return static_cast<std::uint8_t>(level); });
    return tone;
}

Tone toneOf(const int *lut, double slope, double intercept)
{
    Tone tone = toneOf(lut);
    tone.line = lineOf(tone, slope, intercept);
    return tone;
}

Finish::Finish()
    : Finish(identityTone(), Effect::None)
{
}

Finish::Finish(const Tone &tone, Effect effect)
    : Finish({tone}, effect, kivra::TwoColours{})
{
}

Finish::Finish(const Tone &tone, kivra::TwoColours colours)
    : Finish({tone}, Effect::TwoColours, colours)
{
}

Finish::Finish(std::vector<Tone> given, Effect effect, kivra::TwoColours colours)
    : tones(std::move(given))
    , lastEffect(effect)
    , twoColours(colours)
{
    tones.erase(std::remove_if(tones.begin(), tones.end(), isIdentity), tones.end());
    byLines = std::all_of(tones.begin(), tones.end(),
                          [](const Tone &tone) { return tone.line.has_value(); });
    const Pixel inverted = effect == Effect::Negative ? 0xFFU : 0U;
    for (std::size_t i = 0; i < toneWords.blue.size(); ++i) {
        std::size_t through = i;
        for (const Tone &tone : tones)
            through = tone.table[through];
        const Pixel level = static_cast<Pixel>(through) ^ inverted;
        toneWords.red[i] = 0xFF000000U | level << 16;
        toneWords.green[i] = level << 8;
        toneWords.blue[i] = level;
    }
}

Finish Finish::after(const Tone &first) const
{
    std::vector<Tone> all{first};
    all.insert(all.end(), tones.begin(), tones.end());
    return {std::move(all), lastEffect, twoColours};
}

Pixel Finish::word(Pixel pixel) const
{
    Pixel result = 0;
    row(&pixel, &result, 1);
    return result;
}

// Each step after the first finds the row in the first-level cache.
void Finish::row(const Pixel *from, Pixel *to, int n) const
{
    if (byLines) {
        for (const Tone &tone : tones) {
            kernels().line(from, to, n, *tone.line);
            from = to;
        }
        if (tones.empty() || lastEffect != Effect::None)
            effectRow(from, to, n);
        return;
    }
    kernels().tone(from, to, n, toneWords);
    if (lastEffect == Effect::Grey || lastEffect == Effect::TwoColours)
        effectRow(to, to, n);
}

void Finish::opaqueRow(Pixel *pixels, int n) const
{
    if (!keepsColours())
        row(pixels, pixels, n);
}

void Finish::effectRow(const Pixel *from, Pixel *to, int n) const
{
    switch (lastEffect) {
    case Effect::None:
        kernels().opaque(from, to, n);
        break;
    case Effect::Grey:
        kernels().grey(from, to, n);
        break;
    case Effect::Negative:
        kernels().negative(from, to, n);
        break;
    case Effect::TwoColours:
        kernels().fade(from, to, n, twoColours);
        break;
    }
}

void applyFinish(ConstPixels from, Pixels to, const Finish &finish)
{
    if (from.isEmpty())
        return;
    forBands(from.width(), from.height(), [&](int begin, int end) {
        for (int y = begin; y < end; ++y)
            finish.row(from.row(y), to.row(y), from.width());
    });
}

} // namespace kivra
