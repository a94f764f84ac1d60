#include "tests/reference/reference.h"

namespace kivra::reference {

QImage mode(const QImage &picture, int number)
{
    switch (number) {
    case 1:
        return stretch(picture);
    case 2:
        return equalize(picture);
    case 3:
        return threshold(picture, 50, 1);
    case 4:
        return threshold(picture, 50, 2);
    case 5:
        return twoColours(threshold(picture, 50, 3), 0xFFFFFFFFU, 0xFF006400U);
    case 6:
        return posterize(picture);
    default:
        return picture.copy();
    }
}

QImage tableAndEffect(const QImage &picture, int lumiere, int contraste, int effect)
{
    QImage toned = applyLut(picture, brightnessContrastLut(lumiere, contraste));
    switch (effect) {
    case 1:
        return grey(toned);
    case 2:
        return negative(toned);
    case 3:
        return twoColours(toned, 0xFF0000FFU, 0xFFFFFF00U);
    default:
        return toned;
    }
}

QImage frame(const QImage &picture, int number, int effect, int lumiere, int contraste)
{
    return tableAndEffect(mode(picture, number), lumiere, contraste, effect);
}

} // namespace kivra::reference
