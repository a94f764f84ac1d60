#include "processing/operations.h"
#include "tests/reference/reference.h"
#include "tests/render/pictures.h"
#include "tests/render/versions.h"

#include <array>
#include <climits>

using namespace kivra::test;
namespace reference = kivra::reference;

namespace {

using Lut = std::array<int, 256>;

Lut brightnessContrast(int lumiere, int contraste)
{
    Lut lut{};
    CalculerLut(lut.data(), lumiere, contraste);
    return lut;
}

Lut shape(int type, int low = 0, int high = 255)
{
    Lut lut{};
    lut.fill(99);
    CreerLut(lut.data(), type, low, high);
    return lut;
}

} // namespace

class TestLut : public QObject
{
    Q_OBJECT

private slots:
    void neutralCoefficientsGiveTheIdentity() { QCOMPARE(brightnessContrast(0, 100), shape(0)); }

    void brightnessShifts()
    {
        const Lut lut = brightnessContrast(20, 100);
        QCOMPARE(lut[0], 20);
        for (std::size_t i = 235; i < 256; ++i)
            QCOMPARE(lut[i], 255);
    }

    void doubledContrastPivotsAbout128()
    {
        const Lut lut = brightnessContrast(0, 200);
        QCOMPARE(lut[64], 0);
        QCOMPARE(lut[128], 128);
        QCOMPARE(lut[192], 255);
    }

    void halvedContrastPivotsAbout128()
    {
        const Lut lut = brightnessContrast(0, 50);
        QCOMPARE(lut[0], 64);
        QCOMPARE(lut[255], 191);
    }

    void fractionsAreCutTowardsZero()
    {
        const Lut lut = brightnessContrast(0, 150);
        QCOMPARE(lut[1], 0);     // -62.5
        QCOMPARE(lut[43], 0);    // 0.5
        QCOMPARE(lut[45], 3);    // 3.5
        QCOMPARE(lut[127], 126); // 126.5
    }

    void everyCoefficientMatchesTheReference()
    {
        for (int lumiere = -100; lumiere <= 100; ++lumiere) {
            for (int contraste = 10; contraste <= 1000; ++contraste)
                QCOMPARE(brightnessContrast(lumiere, contraste),
                         reference::brightnessContrastLut(lumiere, contraste));
        }
    }

    void extremeCoefficientsAreLimited()
    {
        for (const int lumiere : {INT_MIN, -1, 0, INT_MAX}) {
            for (const int contraste : {INT_MIN, -100, 0, INT_MAX})
                QCOMPARE(brightnessContrast(lumiere, contraste),
                         reference::brightnessContrastLut(lumiere, contraste));
        }
        QCOMPARE(brightnessContrast(INT_MAX, INT_MAX)[0], 255);
        QCOMPARE(brightnessContrast(INT_MIN, INT_MAX)[255], 0);
    }

    void identityTableOnlySetsAlpha()
    {
        QImage picture = rowOf({0x00123456U, 0x7FFEDCBAU});
        Lut lut = shape(0);
        AppliquerLut(&picture, lut.data());
        KIVRA_COMPARE_PICTURES(picture, rowOf({0xFF123456U, 0xFFFEDCBAU}));
    }

    void everyLevelTakesItsEntryInEveryChannel()
    {
        Lut lut = shape(0);
        std::reverse(lut.begin(), lut.end());
        std::vector<unsigned int> words;
        std::vector<unsigned int> expected;
        for (unsigned int i = 0; i < 256; ++i) {
            words.insert(words.end(), {i, i << 8, i << 16});
            const unsigned int entry = 255 - i;
            expected.insert(expected.end(), {0xFFFFFF00U | entry, 0xFFFF00FFU | entry << 8,
                                             0xFF00FFFFU | entry << 16});
        }
        QImage picture = rowOf(words);
        AppliquerLut(&picture, lut.data());
        KIVRA_COMPARE_PICTURES(picture, rowOf(expected));
    }

    void tableMatchesTheReference_data()
    {
        QTest::addColumn<int>("lumiere");
        QTest::addColumn<int>("contraste");
        QTest::newRow("identity") << 0 << 100;
        QTest::newRow("brighter and harder") << 20 << 172;
        QTest::newRow("darker and softer") << -60 << 57;
    }

    void tableMatchesTheReference()
    {
        QFETCH(int, lumiere);
        QFETCH(int, contraste);
        Lut lut = brightnessContrast(lumiere, contraste);
        std::vector<QSize> sizes = smallSizes();
        sizes.emplace_back(1281, 721);
        for (const QSize size : sizes) {
            const QImage picture = randomPicture(size);
            QImage result = picture;
            AppliquerLut(&result, lut.data());
            KIVRA_COMPARE_PICTURES(result, reference::applyLut(picture, lut));
        }
    }

    void tableLeavesAnEmptyPictureAlone()
    {
        QImage picture;
        Lut lut = shape(1);
        AppliquerLut(&picture, lut.data());
        QVERIFY(picture.isNull());
    }

    void tableLeavesOtherHoldersAlone()
    {
        QImage picture = rowOf({0x00123456U});
        const QImage other = picture;
        Lut lut = shape(1);
        AppliquerLut(&picture, lut.data());
        QCOMPARE(wordAt(other), 0x00123456U);
    }

    void tableKeepsTheFormat()
    {
        Lut lut = shape(1);
        for (const QImage::Format format : {QImage::Format_RGB32, QImage::Format_ARGB32}) {
            QImage picture(2, 2, format);
            picture.fill(0x20102030U);
            AppliquerLut(&picture, lut.data());
            QCOMPARE(picture.format(), format);
            QCOMPARE(wordAt(picture), 0xFF204060U);
        }
    }

    void tableConvertsOtherFormats()
    {
        QImage picture(1, 1, QImage::Format_RGB888);
        picture.fill(QColor(1, 2, 3));
        Lut lut = shape(1);
        AppliquerLut(&picture, lut.data());
        QCOMPARE(picture.format(), QImage::Format_RGB32);
        QCOMPARE(wordAt(picture), 0xFF020406U);
    }

    void tableKeepsThePaddingOfRows()
    {
        std::vector<quint32> memory{1, 2, 0xEEEEEE, 3, 4, 0xEEEEEE};
        QImage padded(reinterpret_cast<uchar *>(memory.data()), 2, 2, 12, QImage::Format_RGB32);
        Lut lut = shape(1);
        AppliquerLut(&padded, lut.data());
        const std::vector<quint32> expected{0xFF000002U, 0xFF000004U, 0xEEEEEE,
                                            0xFF000006U, 0xFF000008U, 0xEEEEEE};
        QCOMPARE(memory, expected);
    }

    void shapeZeroIsTheIdentity()
    {
        const Lut lut = shape(0, 7, 9);
        for (std::size_t i = 0; i < 256; ++i)
            QCOMPARE(lut[i], static_cast<int>(i));
    }

    void shapeOneDoubles()
    {
        const Lut lut = shape(1);
        QCOMPARE(lut[0], 0);
        QCOMPARE(lut[127], 254);
        QCOMPARE(lut[128], 255);
        QCOMPARE(lut[255], 255);
    }

    void shapeTwoIsALine()
    {
        const Lut lut = shape(2, 40, 200);
        QCOMPARE(lut[0], 0);
        QCOMPARE(lut[40], 0);
        QCOMPARE(lut[120], 127);
        QCOMPARE(lut[200], 255);
        QCOMPARE(lut[255], 255);
        for (const int low : {INT_MIN, -20, 0, 3, 128, 255, INT_MAX}) {
            for (const int high : {INT_MIN, -20, 0, 77, 254, 255, 300, INT_MAX})
                QCOMPARE(shape(2, low, high), reference::lineLut(low, high));
        }
    }

    void shapeTwoWithEqualEndsIsZero()
    {
        for (const int end : {0, 100, 255, -5})
            QCOMPARE(shape(2, end, end), Lut{});
    }

    void otherShapesLeaveTheTable()
    {
        Lut untouched{};
        untouched.fill(99);
        QCOMPARE(shape(3), untouched);
        QCOMPARE(shape(-1), untouched);
    }
};

KIVRA_TEST_EACH_VERSION(TestLut)
#include "test_lut.moc"
