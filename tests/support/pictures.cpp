#include "tests/support/pictures.h"

namespace kivra::test {

QImage gradient(const QSize &size)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb((x * 7) & 0xff, (y * 11) & 0xff, (x + 3 * y) & 0xff));
    }
    return picture;
}

QString difference(const QImage &actual, const QImage &expected)
{
    if (actual.size() != expected.size()) {
        return QStringLiteral("%1 x %2 pixels instead of %3 x %4")
            .arg(actual.width())
            .arg(actual.height())
            .arg(expected.width())
            .arg(expected.height());
    }
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            const QRgb is = actual.pixel(x, y);
            const QRgb shall = expected.pixel(x, y);
            if (is != shall) {
                return QStringLiteral("pixel (%1, %2): %3 instead of %4")
                    .arg(x)
                    .arg(y)
                    .arg(is, 8, 16, QLatin1Char('0'))
                    .arg(shall, 8, 16, QLatin1Char('0'));
            }
        }
    }
    return {};
}

} // namespace kivra::test
