#pragma once

#include "render/kernels/kernels.h"
#include "render/pixels.h"

#include <optional>

namespace kivra {

/// A look-up table for red, green and blue alike.
class Tone
{
public:
    /// The table is the line of this \a slope and \a intercept, truncated and limited. It is
    /// computed instead of looked up if fixed point gives every entry exactly.
    Tone(const ByteTable &table, double slope, double intercept);
    /// A table of any other shape.
    explicit Tone(const ByteTable &table);

    const ByteTable &table() const { return entries; }
    bool isIdentity() const;
    /// True if it is computed.
    bool isLine() const { return line.has_value(); }
    /// Sends \a n pixels of a row through the table; alpha becomes 255. \a to may be \a from.
    void row(const Pixel *from, Pixel *to, int n) const;

private:
    ByteTable entries;
    std::optional<ToneLine> line;
    ToneWords words; ///< for a table that is not computed
};

/// Brightness and contrast: entry i = (i + lumiere - 128) * contraste / 100 + 128 in single
/// precision, truncated, limited to 0..255. (0, 100) is the identity.
Tone brightnessTone(int lumiere, int contraste);

/// The line that takes \a low to 0 and \a high to 255, truncated and limited to 0..255; all zero
/// when both are equal.
Tone stretchTone(int low, int high);

/// The last steps of every picture: a tone, then an effect.
class Finish
{
public:
    enum class Effect { None, Shade, Negative, TwoColours };

    /// \a colours are the colours of the effect TwoColours. The default finish sets alpha to 255
    /// and changes nothing else.
    explicit Finish(const Tone &tone = brightnessTone(0, 100), Effect effect = Effect::None,
                    TwoColours colours = {});

    /// True when it only sets alpha to 255.
    bool keepsColours() const { return keepsLevels && effect == Effect::None; }
    /// What becomes of one pixel.
    Pixel word(Pixel pixel) const;
    /// What becomes of \a n pixels of a row; \a to may be \a from.
    void row(const Pixel *from, Pixel *to, int n) const;

private:
    Tone tone;
    bool keepsLevels; ///< the tone is the identity
    Effect effect;
    TwoColours colours;
};

} // namespace kivra
