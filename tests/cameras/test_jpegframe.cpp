#include "cameras/video/framedecoder.h"

#include "tests/cameras/frames.h"
#include "tests/support/jpegmaker.h"
#include "tests/support/testmain.h"

Q_DECLARE_METATYPE(kivra::test::JpegRecipe)

namespace kivra::test {

namespace {

using cameras::FrameDecoder;
using cameras::FrameFormat;
using cameras::Orientation;
using cameras::Size;
using reference::CameraPicture;
using Bytes = std::vector<std::uint8_t>;
using Colours = JpegRecipe::Colours;

FrameFormat jpegFormat(int width, int height)
{
    FrameFormat format;
    format.fourcc = fourccOf("MJPG");
    format.size = {width, height};
    return format;
}

std::optional<CameraPicture> pictureOf(const Bytes &jpeg, Size size, Orientation orientation = {})
{
    FrameDecoder decoder(jpegFormat(size.width, size.height), orientation);
    return decoded(decoder, DriverFrame({jpeg}).raw, turned(size, orientation));
}

void addRow(const char *name, JpegRecipe::Sampling luma, JpegRecipe::Sampling u,
            JpegRecipe::Sampling v)
{
    JpegRecipe recipe;
    recipe.sampling = {luma, u, v};
    QTest::newRow(name) << recipe;
}

Bytes joined(const Bytes &first, const Bytes &second)
{
    Bytes both = first;
    both.insert(both.end(), second.begin(), second.end());
    return both;
}

} // namespace

class JpegFrameTest : public QObject
{
    Q_OBJECT

private slots:
    void everySamplingIsDecoded_data()
    {
        QTest::addColumn<JpegRecipe>("recipe");
        addRow("4:4:4", {1, 1}, {1, 1}, {1, 1});
        addRow("4:4:4, factors 2", {1, 2}, {1, 2}, {1, 2});
        addRow("4:2:2", {2, 1}, {1, 1}, {1, 1});
        addRow("4:2:2, factors 2", {2, 2}, {1, 2}, {1, 2});
        addRow("4:2:0", {2, 2}, {1, 1}, {1, 1});
        addRow("4:4:0", {1, 2}, {1, 1}, {1, 1});
        addRow("4:1:1", {4, 1}, {1, 1}, {1, 1});
        addRow("4:1:0", {4, 2}, {1, 1}, {1, 1});
        addRow("a quarter of the rows", {1, 4}, {1, 1}, {1, 1});
        addRow("chroma that differs", {2, 2}, {1, 2}, {2, 1});
        addRow("chroma above luma", {1, 1}, {2, 1}, {2, 1});
        JpegRecipe grey;
        grey.colours = Colours::Grey;
        QTest::newRow("grey") << grey;
        grey.sampling[0] = {2, 2};
        QTest::newRow("grey, factors 2") << grey;
        JpegRecipe restarting;
        restarting.sampling[0] = {2, 1};
        restarting.restartInterval = 2;
        QTest::newRow("restart markers") << restarting;
        restarting.isProgressive = true;
        QTest::newRow("progressive") << restarting;
    }

    void everySamplingIsDecoded()
    {
        QFETCH(JpegRecipe, recipe);
        for (const Size size : {Size{1, 1}, {8, 8}, {16, 16}, {33, 19}, {70, 41}, {323, 26}}) {
            recipe.width = size.width;
            recipe.height = size.height;
            const Bytes jpeg = jpegOf(recipe);
            const CameraPicture expected = reference::jpegPicture(jpeg);
            for (const Orientation orientation : orientations()) {
                const auto picture = pictureOf(jpeg, size, orientation);
                QVERIFY(picture.has_value());
                const auto upright =
                    reference::turned(expected, quartersOf(orientation), orientation.mirror);
                // Unusual samplings are not decoded to planes: libjpeg-turbo converts their
                // colours.
                QVERIFY(reference::difference(*picture, upright) <= 1);
            }
        }
    }

    void colours()
    {
        JpegRecipe recipe{40, 24, {}, Colours::Rgb};
        QVERIFY(pictureOf(jpegOf(recipe), {40, 24}).has_value());
        recipe.colours = Colours::Cmyk;
        QVERIFY(!pictureOf(jpegOf(recipe), {40, 24}));
    }

    void standardTablesAreThoseThatAreMissing()
    {
        for (const Colours kind : {Colours::YCbCr, Colours::Grey}) {
            JpegRecipe recipe{70, 41, {}, kind};
            const Bytes jpeg = jpegOf(recipe);
            const Bytes bare = withoutHuffmanTables(jpeg);
            QVERIFY(bare.size() < jpeg.size());
            const auto picture = pictureOf(bare, {70, 41});
            QVERIFY(picture.has_value());
            QVERIFY(reference::difference(*picture, reference::jpegPicture(jpeg)) <= 1);
        }
    }

    void whatFollowsTheEndIsNotRead()
    {
        const Bytes jpeg = jpegOf({70, 41});
        const CameraPicture expected = reference::jpegPicture(jpeg);
        for (const Bytes &behind :
             {Bytes(1, 0), Bytes(5000, 0), Bytes(300, 0xFF), jpegOf({8, 8})}) {
            const auto picture = pictureOf(joined(jpeg, behind), {70, 41});
            QVERIFY(picture.has_value());
            QVERIFY(reference::difference(*picture, expected) <= 1);
        }
    }

    // Some cameras leave the end marker out, or put bytes before it.
    void aWholePictureIsGood()
    {
        const Bytes jpeg = jpegOf({70, 41});
        const Bytes endless(jpeg.begin(), jpeg.end() - 2);
        const CameraPicture expected = reference::jpegPicture(jpeg);
        for (const Bytes &whole : {endless, joined(endless, {0x12, 0x34, 0xFF, 0xD9})}) {
            const auto picture = pictureOf(whole, {70, 41});
            QVERIFY(picture.has_value());
            QVERIFY(reference::difference(*picture, expected) <= 1);
        }
    }

    void bytesBeforeARestartMarkerAreGood()
    {
        JpegRecipe recipe{70, 41};
        recipe.restartInterval = 4;
        const Bytes jpeg = jpegOf(recipe);
        const auto isRestart = [&](std::size_t place) {
            return jpeg.at(place) == 0xFF && jpeg.at(place + 1) >= 0xD0 &&
                   jpeg.at(place + 1) <= 0xD7;
        };
        Bytes stuffed;
        for (std::size_t place = 0; place < jpeg.size(); ++place) {
            if (place + 1 < jpeg.size() && isRestart(place))
                stuffed.insert(stuffed.end(), {0x12, 0x34});
            stuffed.push_back(jpeg.at(place));
        }
        QVERIFY(stuffed.size() > jpeg.size() + 20);
        const auto picture = pictureOf(stuffed, {70, 41});
        QVERIFY(picture.has_value());
        QVERIFY(reference::difference(*picture, reference::jpegPicture(jpeg)) <= 1);
    }

    void theSizeIsTheFrames()
    {
        const Bytes jpeg = jpegOf({70, 41});
        const DriverFrame driver({jpeg});
        FrameDecoder decoder(jpegFormat(64, 48), {cameras::Turn::By90, false});
        QVERIFY(decoder.size() == Size({48, 64}));
        QVERIFY(decoder.sizeOf(driver.raw) == Size({41, 70}));
        QVERIFY(!decoded(decoder, driver.raw, decoder.size()));
        const auto picture = decoded(decoder, driver.raw, {41, 70});
        QVERIFY(picture.has_value());
        const auto expected = reference::turned(reference::jpegPicture(jpeg), 1, false);
        QVERIFY(reference::difference(*picture, expected) <= 1);
    }

    void sizesFollowEachOther()
    {
        FrameDecoder decoder(jpegFormat(70, 41), {cameras::Turn::By180, false});
        for (const Size size : {Size{70, 41}, {323, 26}, {8, 8}, {70, 41}}) {
            const Bytes jpeg = jpegOf({size.width, size.height, {{{2, 1}, {1, 1}, {1, 1}}}});
            const auto picture = decoded(decoder, DriverFrame({jpeg}).raw, size);
            QVERIFY(picture.has_value());
            const auto expected = reference::turned(reference::jpegPicture(jpeg), 2, false);
            QVERIFY(reference::difference(*picture, expected) <= 1);
        }
    }

    // A frame without tables must not use those of the frame before.
    void framesStandAlone()
    {
        FrameDecoder decoder(jpegFormat(70, 41), {});
        const Bytes good = jpegOf({70, 41});
        QVERIFY(decoded(decoder, DriverFrame({good}).raw, {70, 41}).has_value());
        Bytes bare(good.begin(), good.begin() + 2);
        for (std::size_t at = 2; at < good.size();) {
            const bool isScan = good[at + 1] == 0xDA;
            const std::size_t end =
                isScan ? good.size() : at + 2U + (good[at + 2] << 8U | good[at + 3]);
            if (good[at + 1] != 0xDB) // quantisation
                bare.insert(bare.end(), good.begin() + std::ptrdiff_t(at),
                            good.begin() + std::ptrdiff_t(end));
            at = end;
        }
        QVERIFY(!decoded(decoder, DriverFrame({bare}).raw, {70, 41}));
        QVERIFY(decoded(decoder, DriverFrame({good}).raw, {70, 41}).has_value());
    }

    void cutFramesAreTold_data()
    {
        QTest::addColumn<JpegRecipe>("recipe");
        const std::array<JpegRecipe::Sampling, 3> usual{{{2, 1}, {1, 1}, {1, 1}}};
        QTest::newRow("baseline") << JpegRecipe{70, 41, usual};
        QTest::newRow("restart markers") << JpegRecipe{70, 41, usual, Colours::YCbCr, 95, 2};
        QTest::newRow("progressive") << JpegRecipe{70, 41, usual, Colours::YCbCr, 95, 0, true};
        QTest::newRow("grey") << JpegRecipe{70, 41, {}, Colours::Grey};
    }

    // Everything is needed except the end marker and the bits that pad the last byte.
    void cutFramesAreTold()
    {
        QFETCH(JpegRecipe, recipe);
        const Bytes jpeg = jpegOf(recipe);
        for (std::size_t length = 0; length + 4 < jpeg.size(); ++length) {
            const Bytes cut(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(length));
            QVERIFY2(!pictureOf(cut, {70, 41}), QByteArray::number(qulonglong(length)));
        }
        QVERIFY(pictureOf(jpeg, {70, 41}).has_value());
    }

    void noFrameIsTold()
    {
        FrameDecoder decoder(jpegFormat(70, 41), {});
        QVERIFY(!decoder.sizeOf({}));
        QVERIFY(!decoded(decoder, {}, {70, 41}));
        for (const Bytes &bytes : {Bytes(), Bytes(4000, 0), Bytes(4000, 0xFF), Bytes{0xFF, 0xD8},
                                   Bytes{0xFF, 0xD8, 0xFF}, Bytes{0xFF, 0xD8, 0xFF, 0xD9}}) {
            const DriverFrame driver({bytes});
            QVERIFY(!decoder.sizeOf(driver.raw));
            QVERIFY(!decoded(decoder, driver.raw, {70, 41}));
        }
    }

    // Whatever comes out, no memory is touched out of bounds, and a changed header is reported.
    void corruptFramesAreHarmless()
    {
        const Bytes jpeg = jpegOf({70, 41, {{{2, 1}, {1, 1}, {1, 1}}}});
        unsigned int state = 1;
        int told = 0;
        for (int round = 0; round < 2000; ++round) {
            Bytes corrupt = jpeg;
            for (int i = 0; i < 3; ++i) {
                state = state * 1664525U + 1013904223U;
                corrupt.at((state >> 8U) % corrupt.size()) = static_cast<std::uint8_t>(state >> 4U);
            }
            told += pictureOf(corrupt, {70, 41}) ? 0 : 1;
        }
        QVERIFY(told > 0);
    }

    // Each scan costs a pass over the whole picture, however few bytes the scan has.
    void tooManyScansAreRefused()
    {
        JpegRecipe recipe{70, 41};
        recipe.hasScanPerFrequency = true;
        QVERIFY(!pictureOf(jpegOf(recipe), {70, 41}));
        recipe.colours = Colours::Grey;
        QVERIFY(pictureOf(jpegOf(recipe), {70, 41}).has_value());
    }

    void beyondTheLimitsIsTold()
    {
        FrameDecoder decoder(jpegFormat(70, 41), {});
        Bytes jpeg = jpegOf({70, 41});
        std::size_t header = 2;
        while (jpeg.at(header + 1) != 0xC0)
            header += 2U + (jpeg.at(header + 2) << 8U | jpeg.at(header + 3));
        for (const auto &[width, height] :
             {std::pair{16385, 8}, {8, 16385}, {16384, 16384}, {0, 8}, {8, 0}}) {
            jpeg.at(header + 5) = static_cast<std::uint8_t>(height >> 8);
            jpeg.at(header + 6) = static_cast<std::uint8_t>(height & 255);
            jpeg.at(header + 7) = static_cast<std::uint8_t>(width >> 8);
            jpeg.at(header + 8) = static_cast<std::uint8_t>(width & 255);
            QVERIFY(!decoder.sizeOf(DriverFrame({jpeg}).raw));
        }
    }

    void impossibleFormatsAreTold()
    {
        FrameFormat format = jpegFormat(70, 41);
        QVERIFY(cameras::isPossible(format));
        format.planeCount = 2;
        QVERIFY(!cameras::isPossible(format));
        QVERIFY(!cameras::isPossible(jpegFormat(0, 41)));
        QVERIFY(!cameras::isPossible(jpegFormat(70, 16385)));
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::JpegFrameTest)

#include "test_jpegframe.moc"
