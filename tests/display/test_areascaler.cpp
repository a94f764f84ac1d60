#include "display/areascaler.h"
#include "tests/reference/reference.h"
#include "tests/render/spy.h"
#include "tests/render/versions.h"
#include "tests/support/pictures.h"
#include "tests/support/thisbuild.h"

#include <QPainter>
#include <QRandomGenerator>
#include <cmath>

using kivra::pixelsFilled;
using kivra::scaledByArea;
using kivra::ScaledPlace;

namespace {

constexpr QRgb paper = 0xffffffff;
constexpr QRgb ink = 0xff000000;

QImage noise(const QSize &size, unsigned int seed)
{
    QImage picture(size, QImage::Format_RGB32);
    QRandomGenerator random(seed);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            reinterpret_cast<QRgb *>(picture.scanLine(y))[x] = random.generate();
    }
    return picture;
}

QImage filledWith(const QSize &size, QRgb word)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        std::fill_n(row, size.width(), word);
    }
    return picture;
}

// Horizontal or vertical lines of one pixel, black and white in turn.
QImage lines(const QSize &size, bool across)
{
    QImage picture(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            picture.setPixel(x, y, (across ? y : x) % 2 == 0 ? ink : paper);
    }
    return picture;
}

int levelAt(const QImage &picture, int x, int y, unsigned int channel)
{
    const auto *row = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
    return int(row[x] >> (8 * channel) & 0xffU);
}

// The first channel that is more than one level off, alpha as it is in memory; empty if none is.
QString fault(const QImage &actual, const QImage &exact)
{
    if (actual.size() != exact.size())
        return QStringLiteral("other size");
    for (int y = 0; y < exact.height(); ++y) {
        for (int x = 0; x < exact.width(); ++x) {
            for (unsigned int channel = 0; channel < 4; ++channel) {
                const int is = levelAt(actual, x, y, channel);
                const int wanted = levelAt(exact, x, y, channel);
                if (std::abs(is - wanted) > 1)
                    return QStringLiteral("(%1, %2) channel %3: %4, exactly %5")
                        .arg(x)
                        .arg(y)
                        .arg(channel)
                        .arg(is)
                        .arg(wanted);
            }
        }
    }
    return {};
}

// The fault in all that the picture fills.
QString faultOfAll(const QImage &picture, const ScaledPlace &place)
{
    const QRect all = pixelsFilled(picture.size(), place);
    if (all.isEmpty())
        return {};
    return fault(scaledByArea(picture, place, all),
                 kivra::reference::areaMean(picture, place.origin, place.scale, all));
}

constexpr int arm = 40; // of a plus sign: at the smallest scale five pixels

// A page with a plus sign whose strokes are three pixels wide.
QImage plusSign(const QPoint &centre)
{
    QImage page = filledWith({200, 200}, paper);
    QPainter painter(&page);
    painter.fillRect(centre.x() - arm, centre.y() - 1, 2 * arm + 1, 3, Qt::black);
    painter.fillRect(centre.x() - 1, centre.y() - arm, 3, 2 * arm + 1, Qt::black);
    return page;
}

// The darkness along a line of the shown page that crosses an arm of the sign with this centre: the
// ink of the post above the bar, or of the bar left of the post, in pixels of the page.
double inkOfStroke(const QImage &shown, double scale, const QPoint &centre, bool post)
{
    const int along = int((post ? centre.y() - arm / 2 : centre.x() - arm / 2) * scale);
    const int across = post ? centre.x() : centre.y();
    const int reach = arm / 2;
    const int begin = int((across - reach) * scale);
    const int end = int((across + reach) * scale);
    double darkness = 0;
    for (int place = begin; place < end; ++place) {
        const QPoint at = post ? QPoint(place, along) : QPoint(along, place);
        darkness += (255 - qBlue(shown.pixel(at))) / 255.0;
    }
    return darkness / scale;
}

} // namespace

class TestAreaScaler : public QObject
{
    Q_OBJECT

private slots:
    void versionInUseRuns()
    {
        const kivra::test::Spy<&kivra::Kernels::weighRows> rows;
        const kivra::test::Spy<&kivra::Kernels::weighColumns> columns;
        scaledByArea(filledWith({8, 8}, paper), {{0, 0}, 0.5}, {0, 0, 4, 4});
        QVERIFY(rows.ran());
        QVERIFY(columns.ran());
    }

    void filledPixelsAreRoundedAsThePaintersAre()
    {
        QCOMPARE(pixelsFilled({4, 4}, {{0, 0}, 0.5}), QRect(0, 0, 2, 2));
        QCOMPARE(pixelsFilled({5, 4}, {{0, 0}, 0.5}), QRect(0, 0, 3, 2));
        QCOMPARE(pixelsFilled({4, 4}, {{-3.4, 7.5}, 0.5}), QRect(-3, 8, 2, 2));
        QVERIFY(pixelsFilled({1, 4}, {{0, 0}, 0.125}).isEmpty());
        QVERIFY(pixelsFilled({0, 0}, {{0, 0}, 0.5}).isEmpty());
    }

    void nothingOfNothing()
    {
        QVERIFY(scaledByArea(QImage(), {{0, 0}, 0.5}, {0, 0, 2, 2}).isNull());
        QVERIFY(scaledByArea(filledWith({8, 8}, paper), {{0, 0}, 0.5}, QRect()).isNull());
    }

    void wholeScalesRepeatEachPixel()
    {
        const QImage picture = noise({9, 7}, 2);
        for (const int scale : {1, 2, 3, 8}) {
            const QSize size = picture.size() * scale;
            KIVRA_COMPARE_PICTURES(
                scaledByArea(picture, {{0, 0}, double(scale)}, {QPoint(0, 0), size}),
                picture.scaled(size));
        }
    }

    void halfIsTheMeanOfFour()
    {
        QImage picture(2, 2, QImage::Format_RGB32);
        picture.setPixel(0, 0, 0xff000000);
        picture.setPixel(1, 0, 0xff204060);
        picture.setPixel(0, 1, 0xff408020);
        picture.setPixel(1, 1, 0xff60c0e0);
        const QImage mean = scaledByArea(picture, {{0, 0}, 0.5}, {0, 0, 1, 1});
        QCOMPARE(mean.pixel(0, 0), QRgb(0xff306058));
    }

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
            for (const QPointF &origin : {QPointF(0, 0), QPointF(-7, 3), QPointF(0.5, -0.5),
                                          QPointF(12.25, 1.75), QPointF(-40.5, -9)}) {
                for (const QImage &picture : {noise(size, 5), lines(size, true), lines(size, false),
                                              filledWith(size, paper)}) {
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
                const QImage picture = noise({width, height}, unsigned(width * 100 + height));
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
                const QImage white = filledWith({rows, rows + 1}, paper);
                const QString wrong = faultOfAll(white, {{0, 0}, 1.0 / (rows + more)});
                QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
                const QString wrongOfNoise =
                    faultOfAll(noise({rows, 3 * rows / 2}, 3), {{0, 0}, 1.0 / (rows + more)});
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
            const QString wrong = faultOfAll(noise(size, random.generate()), {origin, scale});
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

    void everyPixelIsTheSameWhateverElseIsWanted()
    {
        const QImage picture = noise({300, 200}, 8);
        for (const double scale : {1.7, 0.77, 0.31}) {
            const ScaledPlace place{{-20.5, 4.25}, scale};
            const QRect all = pixelsFilled(picture.size(), place);
            const QImage whole = scaledByArea(picture, place, all);
            for (const QRect &part : {QRect(3, 5, 1, 1), QRect(0, 7, 17, 9), QRect(10, 0, 5, 30)}) {
                const QRect wanted = part.translated(all.topLeft()) & all;
                KIVRA_COMPARE_PICTURES(scaledByArea(picture, place, wanted),
                                       whole.copy(wanted.translated(-all.topLeft())));
            }
        }
    }

    void plainAreasKeepTheirLevel()
    {
        for (int level = 0; level <= 255; ++level) {
            const QRgb word = qRgb(level, 255 - level, level / 2);
            const ScaledPlace place{{0.5, 0}, 0.3 + level * 0.01};
            const QRect all = pixelsFilled({50, 40}, place);
            KIVRA_COMPARE_PICTURES(scaledByArea(filledWith({50, 40}, word), place, all),
                                   filledWith(all.size(), word));
        }
    }

    void premultipliedColoursStayBelowTheirAlpha()
    {
        const QImage picture = noise({120, 90}, 4)
                                   .convertToFormat(QImage::Format_ARGB32)
                                   .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        const ScaledPlace place{{0, 0}, 0.37};
        const QRect all = pixelsFilled(picture.size(), place);
        const QImage reduced = scaledByArea(picture, place, all);
        QCOMPARE(reduced.format(), picture.format());
        for (int y = 0; y < reduced.height(); ++y) {
            for (int x = 0; x < reduced.width(); ++x) {
                for (unsigned int channel = 0; channel < 3; ++channel)
                    QVERIFY(levelAt(reduced, x, y, channel) <= levelAt(reduced, x, y, 3));
            }
        }
    }

    // In a part of a picture, rows are farther apart than the part's width.
    void rowsMayBePadded()
    {
        const QImage whole = noise({100, 80}, 6);
        const QImage part(whole.constScanLine(10) + 4 * 20, 50, 60, whole.bytesPerLine(),
                          QImage::Format_RGB32);
        const QString wrong = faultOfAll(part, {{0, 0}, 0.44});
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    }

    // The scales are 64ths, so 64 places show every phase. Fewer will do under the sanitizers: the
    // memory that is read hardly depends on the phase.
    void everyStrokeOfThreePixelsKeepsItsInk()
    {
        for (int phase = 0; phase < 64; phase += kivra::test::isSanitized() ? 9 : 1) {
            const QPoint centre(60 + phase, 60 + phase * 5 % 64);
            const QImage page = plusSign(centre);
            for (int sixtyFourths = 8; sixtyFourths <= 64; ++sixtyFourths) {
                const double scale = sixtyFourths / 64.0;
                const ScaledPlace place{{0, 0}, scale};
                const QImage shown = scaledByArea(page, place, pixelsFilled(page.size(), place));
                for (const bool post : {false, true}) {
                    const double kept = inkOfStroke(shown, scale, centre, post) / 3.0;
                    QVERIFY2(kept >= 0.75 && kept <= 1.25,
                             qPrintable(QStringLiteral("scale %1, phase %2: %3")
                                            .arg(scale)
                                            .arg(phase)
                                            .arg(kept)));
                }
            }
        }
    }
};

KIVRA_TEST_EACH_VERSION(TestAreaScaler)
#include "test_areascaler.moc"
