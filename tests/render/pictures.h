#pragma once

#include "tests/support/pictures.h"

#include <QImage>
#include <vector>

namespace kivra::test {

/// A way to fill a picture of any size.
struct Motif
{
    const char *name;
    QImage (*draw)(QSize size);
};

/// The motifs that exactness is tested on. A new source of pictures is a new row here.
const std::vector<Motif> &motifs();

/// Every word random, alpha too; another picture for each size and \a seed.
QImage randomPicture(QSize size, unsigned int seed = 1);
/// Every pixel \a word.
QImage uniformPicture(QSize size, unsigned int word);

/// The small sizes at which edges and vector widths are crossed: all 1..40 x 1..5.
std::vector<QSize> smallSizes();
/// Sizes that are cut into bands, odd ones among them.
std::vector<QSize> largeSizes();

/// The pixel word at (\a x, \a y), alpha as it is in memory.
unsigned int wordAt(const QImage &picture, int x = 0, int y = 0);

/// A one-row picture of these words.
QImage rowOf(const std::vector<unsigned int> &words);

} // namespace kivra::test
