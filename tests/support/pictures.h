#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace kivra::test {

/// A picture of 32 bits a pixel with the word that \a wordOf(x, y) gives at each place. Null for an
/// empty size.
template<typename WordOf>
QImage drawn(const QSize &size, QImage::Format format, const WordOf &wordOf)
{
    QImage picture(size, format);
    const int width = size.width();
    for (int y = 0; y < size.height(); ++y) {
        auto *const row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < width; ++x)
            row[x] = wordOf(x, y);
    }
    return picture;
}

/// An opaque RGB32 picture in which every pixel differs from its neighbours, so that a shift by one
/// or a swap of channels shows. Null for an empty size.
QImage gradient(const QSize &size);

/// Empty when sizes and all words of two pictures of 32 bits a pixel are equal, alpha as it is in
/// memory; otherwise names the first difference and both values.
QString difference(const QImage &actual, const QImage &expected);

} // namespace kivra::test

/// Fails the test with the first differing pixel.
#define KIVRA_COMPARE_PICTURES(actual, expected)                                                   \
    do {                                                                                           \
        const QString difference_ = kivra::test::difference(actual, expected);                     \
        QVERIFY2(difference_.isEmpty(), qPrintable(difference_));                                  \
    } while (false)
