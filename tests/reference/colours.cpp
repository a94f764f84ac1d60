#include "tests/reference/reference.h"
#include "tests/reference/words.h"

namespace kivra::reference {

namespace {

int greyLevel(int red, int green, int blue)
{
    return (11 * red + 16 * green + 5 * blue) / 32;
}

int faded(int channel, int k)
{
    const double t = double(k) * double(k) * 6.103515625e-5;
    return int((127 - channel) * t + channel) & 0xFF;
}

unsigned int fadedColour(unsigned int colour, int k)
{
    return word(faded(int(colour >> 16 & 0xFF), k), faded(int(colour >> 8 & 0xFF), k),
                faded(int(colour & 0xFF), k));
}

} // namespace

QImage twoColours(const QImage &picture, unsigned int dark, unsigned int light)
{
    std::array<unsigned int, 256> table{};
    for (int k = 0; k <= 127; ++k) {
        table.at(size_t(k)) = fadedColour(dark, k);
        table.at(size_t(255 - k)) = fadedColour(light, k);
    }
    return eachPixel(picture, [&](int red, int green, int blue) {
        return table.at(size_t(greyLevel(red, green, blue)));
    });
}

QImage grey(const QImage &picture)
{
    return eachPixel(picture, [](int red, int green, int blue) {
        const int level = greyLevel(red, green, blue);
        return word(level, level, level);
    });
}

QImage negative(const QImage &picture)
{
    return eachPixel(picture, [](int red, int green, int blue) {
        return word(255 - red, 255 - green, 255 - blue);
    });
}

} // namespace kivra::reference
