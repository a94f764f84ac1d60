#include "processing/bicolore.h"

#include "processing/finish.h"
#include "processing/rendering.h"

namespace {

// The colour at square distance t (0 at the colour itself, nearly 1 at mid-grey).
unsigned int faded(unsigned int colour, double t)
{
    unsigned int result = 0xFF;
    for (int shift : {16, 8, 0}) {
        const int channel = static_cast<int>(colour >> shift & 0xFFU);
        const int value = static_cast<int>((127 - channel) * t + channel);
        result = result << 8 | (static_cast<unsigned int>(value) & 0xFFU);
    }
    return result;
}

} // namespace

std::array<unsigned int, 256> kivra::bicoloreTable(unsigned int darkColour,
                                                   unsigned int lightColour)
{
    constexpr double perSquareLevel = 6.103515625e-5; // 1 / 128²
    std::array<unsigned int, 256> table{};
    for (unsigned int k = 0; k < 128; ++k) {
        const double t = k * k * perSquareLevel;
        table[k] = faded(darkColour, t);
        table[255 - k] = faded(lightColour, t);
    }
    return table;
}

void fBicolore(QImage *image, unsigned int darkColour, unsigned int lightColour)
{
    const kivra::Pixels pixels = kivra::editablePixels(image);
    const kivra::Finish finish(kivra::identityTone(),
                               kivra::bicoloreTable(darkColour, lightColour));
    kivra::applyFinish(pixels, pixels, finish);
}
