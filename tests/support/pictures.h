#pragma once

#include <QImage>
#include <QSize>
#include <QString>

namespace kivra::test {

/// An opaque RGB32 picture in which every pixel differs from its neighbours, so that a shift by one
/// or a swap of channels shows. Null for an empty size.
QImage gradient(const QSize &size);

/// The first difference of two pictures, in words ("pixel (3, 4): ff102030 instead of ff000000", or
/// their sizes); empty when they are equal, alpha included.
QString difference(const QImage &actual, const QImage &expected);

} // namespace kivra::test

/// Fails the test with the first differing pixel.
#define COMPARE_PICTURES(actual, expected)                                                         \
    do {                                                                                           \
        const QString difference_ = kivra::test::difference(actual, expected);                     \
        QVERIFY2(difference_.isEmpty(), qPrintable(difference_));                                  \
    } while (false)
