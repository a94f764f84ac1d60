#include "tests/render/pictures.h"

#include <QRandomGenerator>
#include <algorithm>
#include <cstring>

namespace kivra::test {

namespace {

QImage drawRandom(QSize size)
{
    return randomPicture(size);
}

// The colour depends on the size, so that many are seen.
QImage drawUniform(QSize size)
{
    const auto mixed = static_cast<unsigned int>(size.width() * 7919 + size.height() * 104729);
    return uniformPicture(size, mixed * 2654435761U);
}

QImage drawGradient(QSize size)
{
    return drawn(size, QImage::Format_RGB32, [&](int x, int y) {
        const auto across = static_cast<unsigned int>(255 * x / std::max(size.width() - 1, 1));
        const auto down = static_cast<unsigned int>(255 * y / std::max(size.height() - 1, 1));
        return 0xFF000000U | across << 16 | (255 - across) << 8 | down;
    });
}

// Dark strokes on paper that is lit from one side, with the grain of a sensor.
QImage drawPage(QSize size)
{
    QRandomGenerator grain(42);
    return drawn(size, QImage::Format_ARGB32, [&](int x, int y) {
        const int light = 140 + 90 * x / std::max(size.width(), 1);
        const bool ink = (x / 3 + y / 7) % 5 == 0 && y % 11 < 7;
        const auto level = static_cast<unsigned int>((ink ? light / 4 : light) + grain.bounded(9));
        return level << 24 | level << 16 | (level - 5) << 8 | (level - 12);
    });
}

} // namespace

const std::vector<Motif> &motifs()
{
    static const std::vector<Motif> all{
        {"random", drawRandom},
        {"uniform", drawUniform},
        {"gradient", drawGradient},
        {"page", drawPage},
    };
    return all;
}

QImage randomPicture(QSize size, unsigned int seed)
{
    const quint32 seeds[] = {seed, quint32(size.width()), quint32(size.height())};
    QRandomGenerator random(seeds);
    return drawn(size, QImage::Format_ARGB32, [&](int, int) { return random.generate(); });
}

QImage uniformPicture(QSize size, unsigned int word)
{
    return drawn(size, QImage::Format_ARGB32, [&](int, int) { return word; });
}

std::vector<QSize> smallSizes()
{
    std::vector<QSize> sizes;
    for (int height = 1; height <= 5; ++height) {
        for (int width = 1; width <= 40; ++width)
            sizes.emplace_back(width, height);
    }
    return sizes;
}

std::vector<QSize> largeSizes()
{
    return {QSize(641, 1), QSize(1281, 721), QSize(1920, 1080)};
}

unsigned int wordAt(const QImage &picture, int x, int y)
{
    return reinterpret_cast<const unsigned int *>(picture.constScanLine(y))[x];
}

QImage rowOf(const std::vector<unsigned int> &words)
{
    return drawn(QSize(static_cast<int>(words.size()), 1), QImage::Format_ARGB32,
                 [&](int x, int) { return words.at(static_cast<std::size_t>(x)); });
}

} // namespace kivra::test
