#include "display/areascaler.h"
#include "tests/render/pictures.h"
#include "tests/render/spy.h"
#include "tests/render/versions.h"
#include "tests/support/thisbuild.h"

#include <QPainter>
#include <algorithm>

using kivra::pixelsFilled;
using kivra::scaledByArea;
using kivra::ScaledPlace;
using kivra::test::randomPicture;
using kivra::test::uniformPicture;

namespace {

constexpr QRgb paper = 0xffffffff;
constexpr QRgb ink = 0xff000000;

constexpr int arm = 40; // of a plus sign: at the smallest scale five pixels

// A page with a plus sign whose strokes are three pixels wide.
QImage plusSign(const QPoint &centre)
{
    QImage page = uniformPicture({200, 200}, paper);
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
        scaledByArea(uniformPicture({8, 8}, paper), {{0, 0}, 0.5}, {0, 0, 4, 4});
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
        QVERIFY(scaledByArea(uniformPicture({8, 8}, paper), {{0, 0}, 0.5}, QRect()).isNull());
        const QImage before = uniformPicture({4, 4}, ink);
        QImage grid = before;
        kivra::drawByArea(QImage(), {{0, 0}, 0.5}, {0, 0, 2, 2}, grid);
        kivra::drawByArea(uniformPicture({8, 8}, paper), {{0, 0}, 0.5}, QRect(), grid);
        KIVRA_COMPARE_PICTURES(grid, before);
    }

    void wholeScalesRepeatEachPixel()
    {
        const QImage picture = randomPicture({9, 7}, 2);
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

    void everyPixelIsTheSameWhateverElseIsWanted()
    {
        const QImage picture = randomPicture({300, 200}, 8);
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
            KIVRA_COMPARE_PICTURES(scaledByArea(uniformPicture({50, 40}, word), place, all),
                                   uniformPicture(all.size(), word));
        }
    }

    void premultipliedColoursStayBelowTheirAlpha()
    {
        const QImage picture = randomPicture({120, 90}, 4)
                                   .convertToFormat(QImage::Format_ARGB32)
                                   .convertToFormat(QImage::Format_ARGB32_Premultiplied);
        const ScaledPlace place{{0, 0}, 0.37};
        const QRect all = pixelsFilled(picture.size(), place);
        const QImage reduced = scaledByArea(picture, place, all);
        QCOMPARE(reduced.format(), picture.format());
        for (int y = 0; y < reduced.height(); ++y) {
            const auto *const row = reinterpret_cast<const QRgb *>(reduced.constScanLine(y));
            for (int x = 0; x < reduced.width(); ++x)
                QVERIFY(std::max({qRed(row[x]), qGreen(row[x]), qBlue(row[x])}) <= qAlpha(row[x]));
        }
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
