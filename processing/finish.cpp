#include "processing/finish.h"

#include "processing/parallel.h"

#include <algorithm>
#include <numeric>

namespace kivra {

Finish::Tone identityTone()
{
    Finish::Tone tone;
    std::iota(tone.begin(), tone.end(), std::uint8_t{0});
    return tone;
}

Finish::Finish()
    : Finish(identityTone(), Effect::None)
{
}

Finish::Finish(const Tone &tone, Effect effect)
    : Finish(tone, effect, LevelWords{})
{
}

Finish::Finish(const Tone &tone, const LevelWords &colours)
    : Finish(tone, Effect::Colours, colours)
{
}

Finish::Finish(const Tone &tone, Effect effect, const LevelWords &colours)
    : channelTone(tone)
    , toneIsIdentity(tone == identityTone())
    , lastEffect(effect)
    , levelWords(colours)
{
    // The negative costs nothing inside the tables.
    const Pixel inverted = effect == Effect::Negative ? 0xFFU : 0U;
    for (std::size_t i = 0; i < tone.size(); ++i) {
        const Pixel level = tone[i] ^ inverted;
        toneWords.red[i] = 0xFF000000U | level << 16;
        toneWords.green[i] = level << 8;
        toneWords.blue[i] = level;
    }
}

Finish Finish::after(const Tone &first) const
{
    Tone both;
    std::transform(first.begin(), first.end(), both.begin(),
                   [this](std::uint8_t level) { return channelTone[level]; });
    return {both, lastEffect, levelWords};
}

Pixel Finish::word(Pixel pixel) const
{
    Pixel result = 0;
    row(&pixel, &result, 1);
    return result;
}

void Finish::row(const Pixel *from, Pixel *to, int n) const
{
    if (toneIsIdentity) {
        effectRow(from, to, n);
        return;
    }
    kernels().tone(from, to, n, toneWords);
    // The row is still in the first-level cache.
    if (lastEffect == Effect::Grey || lastEffect == Effect::Colours)
        effectRow(to, to, n);
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
    case Effect::Colours:
        kernels().levels(from, to, n, levelWords);
        break;
    }
}

Finish::Tone toneOf(const int *lut)
{
    Finish::Tone tone;
    std::transform(lut, lut + tone.size(), tone.begin(),
                   [](int level) { return static_cast<std::uint8_t>(level); });
    return tone;
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
