#include "tests/support/pictures.h"

#include <cstring>

namespace kivra::test {

namespace {

QRgb wordAt(const QImage &picture, int x, int y)
{
    return reinterpret_cast<const QRgb *>(picture.constScanLine(y))[x];
}

} // namespace

QImage gradient(const QSize &size)
{
    return drawn(size, QImage::Format_RGB32, [](int x, int y) {
        return qRgb((x * 7) & 0xff, (y * 11) & 0xff, (x + 3 * y) & 0xff);
    });
}

QString difference(const QImage &actual, const QImage &expected)
{
    if (actual.size() != expected.size()) {
        return QStringLiteral("size is %1x%2 instead of %3x%4")
            .arg(actual.width())
            .arg(actual.height())
            .arg(expected.width())
            .arg(expected.height());
    }
    Q_ASSERT(actual.depth() == 32 && expected.depth() == 32);
    const auto rowBytes = sizeof(QRgb) * size_t(actual.width());
    for (int y = 0; y < actual.height(); ++y) {
        if (std::memcmp(actual.constScanLine(y), expected.constScanLine(y), rowBytes) == 0)
            continue;
        for (int x = 0; x < actual.width(); ++x) {
            const QRgb is = wordAt(actual, x, y);
            const QRgb shouldBe = wordAt(expected, x, y);
            if (is != shouldBe) {
                return QStringLiteral("pixel (%1, %2) of %3x%4 is %5 instead of %6")
                    .arg(x)
                    .arg(y)
                    .arg(actual.width())
                    .arg(actual.height())
                    .arg(is, 8, 16, QLatin1Char('0'))
                    .arg(shouldBe, 8, 16, QLatin1Char('0'));
            }
        }
    }
    return {};
}

} // namespace kivra::test
