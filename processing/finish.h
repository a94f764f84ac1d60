#pragma once

#include "processing/kernels/kernels.h"
#include "processing/pixels.h"

#include <array>
#include <cstdint>

namespace kivra {

/// The last steps of every picture, as one: a look-up table for the three channels, then an effect.
class Finish
{
public:
    enum class Effect { None, Grey, Negative, Colours };
    using Tone = std::array<std::uint8_t, 256>;

    /// Sets alpha to 255 and changes nothing else.
    Finish();
    /// The table \a tone, then \a effect.
    Finish(const Tone &tone, Effect effect);
    /// The table \a tone, then for each grey level its word of \a colours.
    Finish(const Tone &tone, const LevelWords &colours);

    /// This finish with another table in front of its own.
    Finish after(const Tone &first) const;

    /// What becomes of one pixel.
    Pixel word(Pixel pixel) const;
    /// What becomes of \a n pixels of a row; \a to may be \a from.
    void row(const Pixel *from, Pixel *to, int n) const;

private:
    Finish(const Tone &tone, Effect effect, const LevelWords &colours);
    void effectRow(const Pixel *from, Pixel *to, int n) const;

    Tone channelTone;
    bool toneIsIdentity;
    Effect lastEffect;
    LevelWords levelWords;
    ToneWords toneWords;
};

/// The table that changes nothing.
Finish::Tone identityTone();

/// The table that CalculerLut() and its like made.
Finish::Tone toneOf(const int *lut);

/// Finishes all pixels of \a from into \a to, a grid of the same size, perhaps the same one.
void applyFinish(ConstPixels from, Pixels to, const Finish &finish);

} // namespace kivra
