#include "cameras/video/jpegstill.h"

#include "tests/cameras/frames.h"
#include "tests/support/jpegmaker.h"
#include "tests/support/testmain.h"

#include <QImage>

namespace kivra::test {

namespace {

using cameras::jpegFile;
using cameras::Orientation;
using cameras::Turn;
using Bytes = std::vector<std::uint8_t>;
using Samplings = std::array<JpegRecipe::Sampling, 3>;

constexpr Samplings usual{{{2, 1}, {1, 1}, {1, 1}}};
constexpr Samplings halved{{{2, 2}, {1, 1}, {1, 1}}};
constexpr int huffmanTables = 0xC4;

std::optional<Bytes> fileOf(const Bytes &frame, Orientation orientation = {})
{
    const GuardedBytes memory(frame);
    return jpegFile(memory.data(), memory.size(), orientation);
}

Orientation inverse(Orientation orientation)
{
    if (orientation.mirror || orientation.turn == Turn::By180)
        return orientation;
    if (orientation.turn == Turn::By90)
        return {Turn::By270, false};
    return orientation.turn == Turn::By270 ? Orientation{Turn::By90, false} : orientation;
}

bool endsWithItsEnd(const Bytes &jpeg)
{
    return jpeg.size() > 2 && jpeg[jpeg.size() - 2] == 0xFF && jpeg.back() == 0xD9;
}

} // namespace

class JpegStillTest : public QObject
{
    Q_OBJECT

private slots:
    void aCompleteFrameStaysAsItIs()
    {
        for (const bool isProgressive : {false, true}) {
            const Bytes jpeg =
                jpegOf({70, 41, usual, JpegRecipe::Colours::YCbCr, 95, 2, isProgressive});
            QVERIFY(fileOf(jpeg) == jpeg);
        }
    }

    void whatFollowsTheEndIsCut()
    {
        const Bytes jpeg = jpegOf({70, 41, usual, JpegRecipe::Colours::YCbCr, 95, 2});
        for (const Bytes &behind :
             {Bytes(1, 0), Bytes(5000, 0), Bytes{0xFF, 0xD9}, jpegOf({8, 8})}) {
            Bytes padded = jpeg;
            padded.insert(padded.end(), behind.begin(), behind.end());
            QVERIFY(fileOf(padded) == jpeg);
        }
    }

    // The standard tables are the ones that the maker wrote and the test removed.
    void missingTablesArePutIn()
    {
        const Bytes jpeg = jpegOf({70, 41, usual});
        const Bytes bare = withoutHuffmanTables(jpeg);
        QCOMPARE(segmentsOf(bare, huffmanTables), 0);
        const auto file = fileOf(bare);
        QVERIFY(file.has_value());
        QCOMPARE(segmentsOf(*file, huffmanTables), 1);
        QVERIFY(endsWithItsEnd(*file));
        QCOMPARE(reference::difference(reference::jpegPicture(*file), reference::jpegPicture(jpeg)),
                 0);
        QCOMPARE(QImage::fromData(file->data(), static_cast<int>(file->size())).size(),
                 QSize(70, 41));
    }

    void turnsLoseNothing()
    {
        for (const Samplings &sampling : {usual, halved, Samplings{}}) {
            const Bytes jpeg = withoutHuffmanTables(jpegOf({64, 48, sampling}));
            const Bytes upright = fileOf(jpeg).value();
            const auto picture = reference::jpegPicture(upright);
            for (const Orientation orientation : orientations()) {
                const auto file = fileOf(jpeg, orientation);
                QVERIFY(file.has_value());
                QVERIFY(endsWithItsEnd(*file));
                const auto expected =
                    reference::turned(picture, quartersOf(orientation), orientation.mirror);
                // The transform to pixels rounds columns before rows.
                QVERIFY(reference::difference(reference::jpegPicture(*file), expected) <= 4);
                const auto back = fileOf(*file, inverse(orientation));
                QVERIFY(back.has_value());
                QCOMPARE(reference::difference(reference::jpegPicture(*back), picture), 0);
            }
        }
    }

    void aTurnThatWouldLoseIsTold()
    {
        const Bytes lastRowIncomplete = jpegOf({64, 40, halved});
        QVERIFY(fileOf(lastRowIncomplete).has_value());
        QVERIFY(fileOf(lastRowIncomplete, {Turn::None, true}).has_value());
        QVERIFY(fileOf(lastRowIncomplete, {Turn::By270, false}).has_value());
        QVERIFY(!fileOf(lastRowIncomplete, {Turn::By180, false}));
        QVERIFY(!fileOf(lastRowIncomplete, {Turn::By90, false}));
        const Bytes lastColumnIncomplete = jpegOf({72, 48, usual});
        QVERIFY(fileOf(lastColumnIncomplete, {Turn::By90, false}).has_value());
        QVERIFY(!fileOf(lastColumnIncomplete, {Turn::None, true}));
        // As from most cameras.
        QVERIFY(fileOf(jpegOf({1920, 1080, usual}), {Turn::By180, false}).has_value());
    }

    // A camera's extra bytes before a marker cause a warning, and are harmless.
    void bytesBeforeTheEndMarkerDoNotPreventATurn()
    {
        Bytes jpeg = jpegOf({64, 48, usual});
        jpeg.insert(jpeg.end() - 2, {0x12, 0x34});
        QVERIFY(fileOf(jpeg, {Turn::By90, false}).has_value());
    }

    void whatIsNoFrameIsTold()
    {
        const Bytes jpeg = jpegOf({64, 48, usual});
        for (std::size_t length = 0; length < jpeg.size(); ++length) {
            const Bytes cut(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(length));
            QVERIFY(!fileOf(cut));
        }
        QVERIFY(!fileOf(Bytes(5000, 0), {Turn::By90, false}));
        QVERIFY(!jpegFile(nullptr, 0, {}));
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::JpegStillTest)

#include "test_jpegstill.moc"
