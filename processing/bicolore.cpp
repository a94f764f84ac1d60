#include "processing/bicolore.h"

#include "processing/finish.h"
#include "processing/rendering.h"

void fBicolore(QImage *image, unsigned int darkColour, unsigned int lightColour)
{
    const kivra::Pixels pixels = kivra::editablePixels(image);
    const kivra::Finish finish(kivra::identityTone(), kivra::TwoColours{darkColour, lightColour});
    kivra::applyFinish(pixels, pixels, finish);
}
