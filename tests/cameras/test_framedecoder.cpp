#include "cameras/video/framedecoder.h"

#include "tests/cameras/frames.h"
#include "tests/support/testmain.h"

#include <libyuv/cpu_id.h>

Q_DECLARE_METATYPE(std::string)
Q_DECLARE_METATYPE(kivra::reference::ColourCode)

namespace kivra::test {

namespace {

using cameras::FrameDecoder;
using cameras::FrameFormat;
using cameras::Orientation;
using cameras::Size;
using reference::CameraFrame;
using reference::CameraPicture;
using reference::ColourCode;

constexpr ColourCode bt601{0.299, 0.114, false};
constexpr ColourCode bt601Full{0.299, 0.114, true};
constexpr ColourCode bt709{0.2126, 0.0722, false};
constexpr ColourCode bt709Full{0.2126, 0.0722, true};
constexpr ColourCode bt2020{0.2627, 0.0593, false};
constexpr ColourCode bt2020Full{0.2627, 0.0593, true};

/// While it lives, libyuv sees only these features of the processor.
class Processor
{
public:
    explicit Processor(int flags) { libyuv::MaskCpuFlags(flags | libyuv::kCpuInitialized); }
    Processor(const Processor &) = delete;
    Processor &operator=(const Processor &) = delete;
    ~Processor() { libyuv::MaskCpuFlags(-1); }
};

QByteArray named(const CameraFrame &frame, Orientation orientation)
{
    return QByteArray::fromStdString(frame.fourcc) + ' ' + QByteArray::number(frame.width) + 'x' +
           QByteArray::number(frame.height) + " turned by " +
           QByteArray::number(90 * quartersOf(orientation)) +
           (orientation.mirror ? " and mirrored" : "");
}

/// The largest difference from the reference; 256 for a frame that is not decoded.
int errorOf(const CameraFrame &frame, const CameraPicture &upright, Orientation orientation,
            std::size_t padding)
{
    const DriverFrame driver(frame.planes);
    FrameDecoder decoder(formatOf(frame), orientation);
    const auto picture = decoded(decoder, driver.raw, decoder.size(), padding);
    if (!picture)
        return 256;
    const auto expected = reference::turned(upright, quartersOf(orientation), orientation.mirror);
    return reference::difference(*picture, expected);
}

/// A row for each chroma, with every luma. The steps of chroma include both ends and zero.
CameraFrame everyColour(const ColourCode &code)
{
    std::vector<int> levels{1, 127, 129, 254};
    for (int level = 0; level < 256; level += 16)
        levels.push_back(level);
    levels.push_back(255);
    const auto rows = static_cast<int>(levels.size() * levels.size());
    CameraFrame frame{"YUYV", 256, rows, {{}}, {512}, code};
    for (const int u : levels) {
        for (const int v : levels) {
            for (int y = 0; y < 256; ++y) {
                frame.planes[0].push_back(static_cast<std::uint8_t>(y));
                frame.planes[0].push_back(static_cast<std::uint8_t>(y % 2 == 0 ? u : v));
            }
        }
    }
    return frame;
}

} // namespace

class FrameDecoderTest : public QObject
{
    Q_OBJECT

private slots:
    void picturesAreThoseOfTheReference_data()
    {
        QTest::addColumn<std::string>("fourcc");
        for (const std::string &fourcc : rawFormats())
            QTest::newRow(fourcc.c_str()) << fourcc;
    }

    // Sizes around the widths of vectors and pieces; rows tight and padded, also by an odd number.
    void picturesAreThoseOfTheReference()
    {
        QFETCH(std::string, fourcc);
        const std::vector<Size> sizes{{1, 1},  {2, 2},  {3, 2},  {1, 9},    {9, 1},
                                      {17, 7}, {31, 8}, {64, 9}, {130, 24}, {259, 11}};
        for (const Size size : sizes) {
            const std::vector<std::pair<std::size_t, ColourCode>> cases{
                {0, bt601}, {3, bt709}, {32, bt2020Full}};
            for (const auto &[padding, code] : cases) {
                CameraFrame frame = makeFrame(fourcc, size.width, size.height, padding);
                frame.code = code;
                const CameraPicture upright = reference::cameraPicture(frame);
                for (const Orientation orientation : orientations()) {
                    const int error = errorOf(frame, upright, orientation, padding / 4 * 4);
                    QVERIFY2(error <= 1,
                             named(frame, orientation) + ": " + QByteArray::number(error));
                }
            }
        }
    }

    void coloursAreThoseOfTheirCode_data()
    {
        QTest::addColumn<ColourCode>("code");
        QTest::newRow("BT.601") << bt601;
        QTest::newRow("BT.601 full") << bt601Full;
        QTest::newRow("BT.709") << bt709;
        QTest::newRow("BT.709 full") << bt709Full;
        QTest::newRow("BT.2020") << bt2020;
        QTest::newRow("BT.2020 full") << bt2020Full;
    }

    void coloursAreThoseOfTheirCode()
    {
        QFETCH(ColourCode, code);
        const CameraFrame frame = everyColour(code);
        const CameraPicture expected = reference::cameraPicture(frame);
        for (const int flags :
             {-1, int{libyuv::kCpuHasX86 | libyuv::kCpuHasSSE2 | libyuv::kCpuHasSSSE3}, 0}) {
            const Processor processor(flags);
            const int error = errorOf(frame, expected, {}, 0);
            QVERIFY2(error <= 1, QByteArray::number(flags) + ": " + QByteArray::number(error));
        }
    }

    void greysAreExact_data() { coloursAreThoseOfTheirCode_data(); }

    void greysAreExact()
    {
        QFETCH(ColourCode, code);
        CameraFrame yuyv{"YUYV", 256, 1, {{}}, {512}, code};
        CameraFrame grey{"GREY", 256, 1, {{}}, {256}, code};
        for (int y = 0; y < 256; ++y) {
            grey.planes[0].push_back(static_cast<std::uint8_t>(y));
            yuyv.planes[0].push_back(static_cast<std::uint8_t>(y));
            yuyv.planes[0].push_back(128);
        }
        for (const int flags :
             {-1, int{libyuv::kCpuHasX86 | libyuv::kCpuHasSSE2 | libyuv::kCpuHasSSSE3}, 0}) {
            const Processor processor(flags);
            QCOMPARE(errorOf(yuyv, reference::cameraPicture(yuyv), {}, 0), 0);
            QCOMPARE(errorOf(grey, reference::cameraPicture(grey), {}, 0), 0);
        }
    }

    void limitedRgbIsWidened()
    {
        CameraFrame frame = makeFrame("RGB3", 99, 9);
        for (const bool isFull : {false, true}) {
            frame.code.isFull = isFull;
            QCOMPARE(errorOf(frame, reference::cameraPicture(frame), {}, 0), 0);
        }
    }

    // Otherwise a row of the next frame, or of nothing, would show.
    void cutFramesAreTold_data() { picturesAreThoseOfTheReference_data(); }

    void cutFramesAreTold()
    {
        QFETCH(std::string, fourcc);
        const CameraFrame whole = makeFrame(fourcc, 34, 6);
        FrameDecoder decoder(formatOf(whole), {});
        for (std::size_t plane = 0; plane < whole.planes.size(); ++plane) {
            for (const std::size_t missing : {std::size_t{1}, whole.planes.at(plane).size()}) {
                auto planes = whole.planes;
                planes.at(plane).resize(planes.at(plane).size() - missing);
                const DriverFrame driver(planes);
                QVERIFY(!decoder.sizeOf(driver.raw));
                QVERIFY(!decoded(decoder, driver.raw, decoder.size()));
            }
            DriverFrame driver(whole.planes);
            driver.raw.planes.at(plane) = nullptr;
            QVERIFY(!decoded(decoder, driver.raw, decoder.size()));
        }
        const DriverFrame driver(whole.planes);
        QVERIFY(decoder.sizeOf(driver.raw) == decoder.size());
        QVERIFY(decoded(decoder, driver.raw, decoder.size()).has_value());
    }

    // Some drivers count the padding after the last row, others do not.
    void theLastRowNeedsNoPadding()
    {
        const CameraFrame frame = makeFrame("YUYV", 34, 6, 12);
        FrameDecoder decoder(formatOf(frame), {});
        auto planes = frame.planes;
        planes[0].resize(planes[0].size() - 12);
        QVERIFY(decoded(decoder, DriverFrame(planes).raw, decoder.size()).has_value());
        planes[0].pop_back();
        QVERIFY(!decoded(decoder, DriverFrame(planes).raw, decoder.size()));
    }

    void anotherSizeIsRefused()
    {
        const CameraFrame frame = makeFrame("YUYV", 34, 6);
        const DriverFrame driver(frame.planes);
        FrameDecoder upright(formatOf(frame), {});
        QVERIFY(!decoded(upright, driver.raw, {34, 5}));
        FrameDecoder sideways(formatOf(frame), {cameras::Turn::By90, false});
        QVERIFY(sideways.size() == Size({6, 34}));
        QVERIFY(!decoded(sideways, driver.raw, {34, 6}));
        QVERIFY(decoded(sideways, driver.raw, {6, 34}).has_value());
    }

    void onlySomeFormatsAreReadable()
    {
        for (const std::string &fourcc : rawFormats()) {
            QVERIFY2(cameras::isReadable(fourccOf(fourcc)), fourcc.c_str());
            QVERIFY2(!cameras::isCompressed(fourccOf(fourcc)), fourcc.c_str());
        }
        for (const char *fourcc : {"MJPG", "JPEG"}) {
            QVERIFY2(cameras::isReadable(fourccOf(fourcc)), fourcc);
            QVERIFY2(cameras::isCompressed(fourccOf(fourcc)), fourcc);
        }
        for (const char *fourcc : {"H264", "YVYU", "NV16", "Y10 ", "RGBP", "BA81", "NV24"}) {
            QVERIFY2(!cameras::isReadable(fourccOf(fourcc)), fourcc);
            QVERIFY2(!cameras::isCompressed(fourccOf(fourcc)), fourcc);
        }
        QVERIFY(!cameras::isReadable(0));
    }

    void whatNoDriverCanMeanIsTold_data()
    {
        QTest::addColumn<std::string>("fourcc");
        for (const std::string &fourcc : rawFormats())
            QTest::newRow(fourcc.c_str()) << fourcc;
    }

    void whatNoDriverCanMeanIsTold()
    {
        QFETCH(std::string, fourcc);
        const CameraFrame frame = makeFrame(fourcc, 34, 6);
        const FrameFormat good = formatOf(frame);
        QVERIFY(cameras::isPossible(good));
        std::vector<FrameFormat> bad(8, good);
        bad[0].size.width = 0;
        bad[1].size.height = -1;
        bad[2].size.width = 16385;
        bad[3].size.height = 16385;
        bad[4].planeCount = good.planeCount + 1;
        bad[5].planes[0].stride -= 1;
        bad[6].planes[0].stride = ~std::size_t{0};
        bad[7].planes.at(frame.planes.size() - 1).size -= 1;
        const DriverFrame driver(frame.planes);
        for (std::size_t i = 0; i < bad.size(); ++i) {
            QVERIFY2(!cameras::isPossible(bad.at(i)), QByteArray::number(int(i)));
            FrameDecoder decoder(bad.at(i), {});
            QVERIFY(!decoder.sizeOf(driver.raw));
            QVERIFY(!decoded(decoder, driver.raw, {34, 6}));
        }
    }

    void aStrideThatIsNotToldIsTight_data() { picturesAreThoseOfTheReference_data(); }

    void aStrideThatIsNotToldIsTight()
    {
        QFETCH(std::string, fourcc);
        const CameraFrame frame = makeFrame(fourcc, 34, 6);
        FrameFormat format = formatOf(frame);
        for (cameras::FramePlane &plane : format.planes)
            plane.stride = 0;
        QVERIFY(cameras::isPossible(format));
        FrameDecoder decoder(format, {});
        const auto picture = decoded(decoder, DriverFrame(frame.planes).raw, {34, 6});
        QVERIFY(picture.has_value());
        QVERIFY(reference::difference(*picture, reference::cameraPicture(frame)) <= 1);
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::FrameDecoderTest)

#include "test_framedecoder.moc"
