#include "render/finish.h"
#include "tests/reference/reference.h"
#include "tests/render/versions.h"

#include <climits>
#include <numeric>
#include <vector>

using namespace kivra;

namespace {

using Words = std::vector<Pixel>;

// Each channel a permutation of all levels.
Words allLevels()
{
    Words words(256);
    for (Pixel i = 0; i < 256; ++i)
        words[i] = (i * 3 & 0xFFU) << 16 | (i * 5 & 0xFFU) << 8 | i;
    return words;
}

Pixel through(const reference::Lut &lut, Pixel pixel)
{
    const auto entry = [&](int shift) {
        return static_cast<Pixel>(lut.at(pixel >> shift & 0xFFU)) << shift;
    };
    return 0xFF000000U | entry(16) | entry(8) | entry(0);
}

// True if the tone makes of a row of all levels what the table says.
bool isExact(const Tone &tone, const reference::Lut &lut)
{
    const Words from = allLevels();
    Words to(from.size());
    tone.row(from.data(), to.data(), 256);
    for (std::size_t i = 0; i < from.size(); ++i) {
        if (to[i] != through(lut, from[i]) || tone.table()[i] != lut[i])
            return false;
    }
    return true;
}

} // namespace

class TestFinish : public QObject
{
    Q_OBJECT

private slots:
    // Computed or looked up, each level comes out as its entry says.
    void brightnessIsExact()
    {
        int lines = 0;
        int tables = 0;
        for (int lumiere = -100; lumiere <= 100; lumiere += 5) {
            for (int contraste = 10; contraste <= 1000; contraste += 3) {
                const Tone tone = brightnessTone(lumiere, contraste);
                ++(tone.isLine() ? lines : tables);
                QVERIFY(isExact(tone, reference::brightnessContrastLut(lumiere, contraste)));
            }
        }
        QVERIFY2(lines > 100 * tables, "nearly every brightness and contrast is a line");
    }

    void stretchIsExact()
    {
        int tables = 0;
        for (int low = 0; low < 256; low += 3) {
            for (int high = low; high < 256; high += 2) {
                const Tone tone = stretchTone(low, high);
                tables += tone.isLine() ? 0 : 1;
                QVERIFY(isExact(tone, reference::lineLut(low, high)));
            }
        }
        QVERIFY2(tables < 100, "nearly every stretch is a line");
    }

    void wildNumbersAreExact()
    {
        for (const int wild : {INT_MIN, -100000, 100000, INT_MAX}) {
            QVERIFY(
                isExact(brightnessTone(wild, 100), reference::brightnessContrastLut(wild, 100)));
            QVERIFY(isExact(brightnessTone(0, wild), reference::brightnessContrastLut(0, wild)));
            QVERIFY(isExact(stretchTone(wild, 3), reference::lineLut(wild, 3)));
            QVERIFY(isExact(stretchTone(3, wild), reference::lineLut(3, wild)));
        }
    }

    void plainTableIsLookedUp()
    {
        reference::Lut lut{};
        ByteTable table{};
        for (std::size_t i = 0; i < table.size(); ++i) {
            lut[i] = static_cast<int>((i * 77 + 13) & 0xFFU);
            table[i] = static_cast<std::uint8_t>(lut[i]);
        }
        const Tone tone(table);
        QVERIFY(!tone.isLine());
        QVERIFY(isExact(tone, lut));
    }

    void identityIsKnown()
    {
        QVERIFY(brightnessTone(0, 100).isIdentity());
        QVERIFY(!brightnessTone(1, 100).isIdentity());
        QVERIFY(Finish().keepsColours());
        QVERIFY(!Finish(brightnessTone(0, 101), Finish::Effect::None).keepsColours());
        QVERIFY(!Finish(brightnessTone(0, 100), Finish::Effect::Shade).keepsColours());
    }

    void wordIsWhatARowMakesOfIt()
    {
        const Finish finish(brightnessTone(20, 150), Finish::Effect::TwoColours,
                            {0x00123456U, 0x00FEDCBAU});
        const Words from = allLevels();
        Words to(from.size());
        finish.row(from.data(), to.data(), 256);
        for (std::size_t i = 0; i < from.size(); ++i)
            QCOMPARE(finish.word(from[i]), to[i]);
    }
};

KIVRA_TEST_EACH_VERSION(TestFinish)
#include "test_finish.moc"
