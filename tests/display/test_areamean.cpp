// Reduced and enlarged pictures, against the exact mean of the area that each pixel covers.

#include "display/areascaler.h"
#include "tests/reference/reference.h"
#include "tests/render/pictures.h"
#include "tests/render/versions.h"

#include <QRandomGenerator>
#include <cmath>

using kivra::pixelsFilled;
using kivra::scaledByArea;
using kivra::ScaledPlace;
using kivra::test::drawn;
using kivra::test::randomPicture;
using kivra::test::testedVersions;
using kivra::test::uniformPicture;

namespace {

constexpr QRgb whiteWord = 0xffffffff;
constexpr QRgb blackWord = 0xff000000;

// Horizontal or vertical lines of one pixel, black and white in turn.
QImage lines(const QSize &size, bool across)
{
    return drawn(size, QImage::Format_RGB32,
                 [&](int x, int y) { return (across ? y : x) % 2 == 0 ? blackWord : whiteWord; });
}

// The first channel that is more than one level off, alpha as it is in memory; empty if none is.
QString fault(const QImage &actual, const QImage &exact)
{
    if (actual.size() != exact.size())
        return QStringLiteral("other size");
    for (int y = 0; y < exact.height(); ++y) {
        const uchar *const levels = actual.constScanLine(y);
        const uchar *const wanted = exact.constScanLine(y);
        for (int i = 0; i < 4 * exact.width(); ++i) {
            if (std::abs(levels[i] - wanted[i]) > 1)
                return QStringLiteral("(%1, %2) byte %3: %4, exactly %5")
                    .arg(i / 4)
                    .arg(y)
                    .arg(i % 4)
                    .arg(levels[i])
                    .arg(wanted[i]);
        }
    }
    return {};
}

// The fault of any version in all that the picture fills. Each result is compared with one
// reference, because making that takes long.
QString faultOfAll(const QImage &picture, const ScaledPlace &place)
{
    const QRect all = pixelsFilled(picture.size(), place);
    if (all.isEmpty())
        return {};
    const QImage exact = kivra::reference::areaMean(picture, place.origin, place.scale, all);
    for (const kivra::Isa isa : testedVersions()) {
        kivra::useKernels(kivra::kernelsFor(isa));
        const QString found = fault(scaledByArea(picture, place, all), exact);
        if (!found.isEmpty())
            return QStringLiteral("KIVRA_ISA=%1: %2")
                .arg(QLatin1String(kivra::isaName(isa).data()), found);
    }
    return {};
}

} // namespace

class TestAreaMean : public QObject
{
    Q_OBJECT

private slots:
    void anyScaleIsTheAreaMean_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale :
             {0.999, 0.95, 5 / 6.0, 0.75, 2 / 3.0, 0.6, 0.5, 0.42, 1 / 3.0, 0.3, 0.25, 0.2, 1 / 5.8,
              0.166, 0.125, 0.1, 0.05, 1 / 33.0, 0.01})
            QTest::newRow(qPrintable(QString::number(scale))) << scale;
    }

    void anyScaleIsTheAreaMean()
    {
        QFETCH(double, scale);
        for (const QSize &size : {QSize(97, 61), QSize(160, 120), QSize(33, 301)}) {
            for (const QImage &picture : {randomPicture(size, 5), lines(size, true),
                                          lines(size, false), uniformPicture(size, whiteWord)}) {
                for (const QPointF &origin : {QPointF(0, 0), QPointF(-7, 3), QPointF(0.5, -0.5),
                                              QPointF(12.25, 1.75), QPointF(-40.5, -9)}) {
                    const QString wrong = faultOfAll(picture, {origin, scale});
                    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
                }
            }
        }
    }

    void smallestPictures()
    {
        for (int width = 1; width <= 12; ++width) {
            for (int height = 1; height <= 12; ++height) {
                const QImage picture =
                    randomPicture({width, height}, unsigned(width * 100 + height));
                for (const double scale : {5.3, 2.0, 1.2, 0.97, 0.7, 0.5, 0.3, 0.125, 0.04}) {
                    for (const double begin : {0.0, 0.25, 0.5, 0.75}) {
                        const QString wrong = faultOfAll(picture, {{begin, 1 - begin}, scale});
                        QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
                    }
                }
            }
        }
    }

    // More rows than sums of 16 bits have room for, around each multiple of that number.
    void manyRowsInOne()
    {
        for (const int rows : {255, 256, 257, 258, 259, 514, 515, 516, 1000, 5000}) {
            for (const double more : {0.0, 0.4}) {
                const QImage white = uniformPicture({rows, rows + 1}, whiteWord);
                const QString wrong = faultOfAll(white, {{0, 0}, 1.0 / (rows + more)});
                QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
                const QString wrongOfNoise = faultOfAll(randomPicture({rows, 3 * rows / 2}, 3),
                                                        {{0, 0}, 1.0 / (rows + more)});
                QVERIFY2(wrongOfNoise.isEmpty(), qPrintable(wrongOfNoise));
                if (rows > 1000)
                    break;
            }
        }
    }

    void anyPlaceAndScale()
    {
        QRandomGenerator random(20);
        for (int turn = 0; turn < 400; ++turn) {
            const QSize size(1 + int(random.bounded(90)), 1 + int(random.bounded(90)));
            const double scale = std::pow(2.0, 2 - random.bounded(7.0));
            const QPointF origin(random.bounded(200.0) - 100, random.bounded(200.0) - 100);
            const QString wrong =
                faultOfAll(randomPicture(size, random.generate()), {origin, scale});
            QVERIFY2(wrong.isEmpty(),
                     qPrintable(QStringLiteral("%1 x %2, scale %3, at (%4, %5): %6")
                                    .arg(size.width())
                                    .arg(size.height())
                                    .arg(scale)
                                    .arg(origin.x())
                                    .arg(origin.y())
                                    .arg(wrong)));
        }
    }

    // In a part of a picture, rows are farther apart than the part's width.
    void rowsMayBePadded()
    {
        const QImage whole = randomPicture({100, 80}, 6);
        const QImage part(whole.constScanLine(10) + 4 * 20, 50, 60, whole.bytesPerLine(),
                          QImage::Format_RGB32);
        const QString wrong = faultOfAll(part, {{0, 0}, 0.44});
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    }
};

KIVRA_TEST(TestAreaMean)
#include "test_areamean.moc"
