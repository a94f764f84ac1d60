#include "processing/operations.h"
#include "tests/reference/reference.h"
#include "tests/render/pictures.h"
#include "tests/render/versions.h"

using namespace kivra::test;

namespace {

constexpr unsigned int white = 0xFFFFFFFFU;
constexpr unsigned int darkGreen = 0xFF006400U;

unsigned int recoloured(unsigned int word, unsigned int dark, unsigned int light)
{
    QImage picture = rowOf({word});
    fBicolore(&picture, dark, light);
    return wordAt(picture);
}

unsigned int greyChannels(unsigned int level)
{
    return level * 0x010101U;
}

} // namespace

class TestBicolore : public QObject
{
    Q_OBJECT

private slots:
    void blackBecomesTheDarkColour()
    {
        QCOMPARE(recoloured(0x00000000U, 0xFF0000FFU, 0xFFFFFF00U), 0xFF0000FFU);
        QCOMPARE(recoloured(0xFF000000U, white, darkGreen), white);
    }

    void whiteBecomesTheLightColour()
    {
        QCOMPARE(recoloured(0x00FFFFFFU, 0xFF0000FFU, 0xFFFFFF00U), 0xFFFFFF00U);
        QCOMPARE(recoloured(0xFFFFFFFFU, white, darkGreen), darkGreen);
    }

    void midTonesFadeTowardsGrey()
    {
        QCOMPARE(recoloured(greyChannels(127), white, darkGreen), 0xFF808080U);
        QCOMPARE(recoloured(greyChannels(128), white, darkGreen), 0xFF7D7E7DU);
    }

    void redTakesEntry87OfTheDarkHalf()
    {
        QCOMPARE(recoloured(0xFFFF0000U, 0xFF0000FFU, 0xFFFFFF00U),
                 recoloured(greyChannels(87), 0xFF0000FFU, 0xFFFFFF00U));
        // 127 * (87/128)² and 255 - 128 * (87/128)², truncated
        QCOMPARE(recoloured(0xFFFF0000U, 0xFF0000FFU, 0xFFFFFF00U), 0xFF3A3AC3U);
    }

    void alphaOfTheColoursIsIgnored()
    {
        QCOMPARE(recoloured(0U, 0x000000FFU, 0x00FFFF00U), 0xFF0000FFU);
        QCOMPARE(recoloured(greyChannels(60), 0x120000FFU, 0x34FFFF00U),
                 recoloured(greyChannels(60), 0xFF0000FFU, 0xFFFFFF00U));
    }

    void everyLevelMatchesTheReference()
    {
        std::vector<unsigned int> words;
        for (unsigned int level = 0; level < 256; ++level)
            words.push_back(greyChannels(level));
        const QImage picture = rowOf(words);
        for (const unsigned int dark : {0U, 0xFFFFFFU, 0x0000FFU, 0x123456U}) {
            for (const unsigned int light : {0U, 0x006400U, 0xFFFF00U, 0xFEDCBAU}) {
                QImage result = picture;
                fBicolore(&result, dark, light);
                KIVRA_COMPARE_PICTURES(result, kivra::reference::twoColours(picture, dark, light));
            }
        }
    }

    void everySizeMatchesTheReference()
    {
        std::vector<QSize> sizes = smallSizes();
        sizes.emplace_back(1281, 721);
        for (const QSize size : sizes) {
            const QImage picture = randomPicture(size);
            QImage result = picture;
            fBicolore(&result, 0x123456U, 0xFEDCBAU);
            KIVRA_COMPARE_PICTURES(result,
                                   kivra::reference::twoColours(picture, 0x123456U, 0xFEDCBAU));
        }
    }

    void emptyPictureStays()
    {
        QImage picture;
        fBicolore(&picture, 0U, white);
        QVERIFY(picture.isNull());
    }

    void otherHoldersKeepTheirPixels()
    {
        QImage picture = rowOf({0x00123456U});
        const QImage other = picture;
        fBicolore(&picture, 0U, white);
        QCOMPARE(wordAt(other), 0x00123456U);
    }
};

KIVRA_TEST_EACH_VERSION(TestBicolore)
#include "test_bicolore.moc"
