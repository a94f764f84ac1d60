#pragma once

#include "processing/kernels/kernels.h"
#include "processing/pixels.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace kivra {

/// A look-up table for the three channels alike.
struct Tone
{
    std::array<std::uint8_t, 256> table;
    /// The same as a line, if it is one.
    std::optional<ToneLine> line;
};

/// The table that changes nothing.
Tone identityTone();

/// The table that CalculerLut() and its like made.
Tone toneOf(const int *lut);

/// The same for a table that is, but for its limits, entry i = slope * i + intercept, truncated:
/// then it can be computed instead of looked up.
Tone toneOf(const int *lut, double slope, double intercept);

/// The last steps of every picture, as one: a look-up table for the three channels, then an effect.
class Finish
{
public:
    enum class Effect { None, Grey, Negative, TwoColours };

    /// Sets alpha to 255 and changes nothing else.
    Finish();
    /// The table \a tone, then \a effect.
    Finish(const Tone &tone, Effect effect);
    /// The table \a tone, then the levels between two colours.
    Finish(const Tone &tone, kivra::TwoColours colours);

    /// This finish with another table in front of its own.
    Finish after(const Tone &first) const;

    /// True when it does no more than to set alpha to 255.
    bool keepsColours() const { return tones.empty() && lastEffect == Effect::None; }
    /// What becomes of one pixel.
    Pixel word(Pixel pixel) const;
    /// What becomes of \a n pixels of a row; \a to may be \a from.
    void row(const Pixel *from, Pixel *to, int n) const;
    /// The same in place, for pixels whose alpha is 255 already.
    void opaqueRow(Pixel *pixels, int n) const;

private:
    Finish(std::vector<Tone> tones, Effect effect, kivra::TwoColours colours);
    void effectRow(const Pixel *from, Pixel *to, int n) const;

    /// In the order of their application, without identities.
    std::vector<Tone> tones;
    /// All tones, and a negative after them, in one look-up; unless each is a line.
    ToneWords toneWords;
    bool byLines;
    Effect lastEffect;
    kivra::TwoColours twoColours;
};

/// Finishes all pixels of \a from into \a to, a grid of the same size, perhaps the same one.
void applyFinish(ConstPixels from, Pixels to, const Finish &finish);

} // namespace kivra
