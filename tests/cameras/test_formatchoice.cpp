#include "cameras/video/formatchoice.h"
#include "tests/support/fakekernel.h"
#include "tests/support/testmain.h"

#include <algorithm>
#include <random>

Q_DECLARE_METATYPE(std::vector<kivra::cameras::Offer>)

namespace kivra::test {

namespace {

using namespace cameras;

constexpr std::uint32_t nv12 = V4L2_PIX_FMT_NV12;
constexpr std::uint32_t h264 = V4L2_PIX_FMT_H264;

/// What a document camera on USB 2 offers.
std::vector<Offer> documentCamera()
{
    return {
        offer(yuyv, 640, 480, 30),    offer(yuyv, 1280, 720, 10),   offer(yuyv, 1920, 1080, 5),
        offer(yuyv, 3840, 2160, 1),   offer(mjpeg, 640, 480, 30),   offer(mjpeg, 1280, 720, 30),
        offer(mjpeg, 1280, 720, 60),  offer(mjpeg, 1920, 1080, 30), offer(mjpeg, 1920, 1080, 15),
        offer(mjpeg, 3840, 2160, 30), offer(h264, 1920, 1080, 30)};
}

QString textOf(const Choice &choice)
{
    return QStringLiteral("%1 %2x%3@%4")
        .arg(QString::fromStdString(fourccName(choice.offer.fourcc)))
        .arg(choice.offer.size.width)
        .arg(choice.offer.size.height)
        .arg(choice.offer.rate.perSecond());
}

QString best(const std::vector<Offer> &offers, const char *wish = "")
{
    const std::vector<Choice> ranked = rankFormats(offers, parseFormatWish(wish));
    return ranked.empty() ? QString() : textOf(ranked.front());
}

} // namespace

class FormatChoiceTest : public QObject
{
    Q_OBJECT

private slots:
    void choice_data()
    {
        QTest::addColumn<std::vector<Offer>>("offers");
        QTest::addColumn<QByteArray>("wish");
        QTest::addColumn<QString>("expected");
        const std::vector<Offer> usual = documentCamera();
        QTest::newRow("full rate before raw") << usual << QByteArray() << "MJPG 1920x1080@30";
        QTest::newRow("wished size and rate")
            << usual << QByteArray("1280x720@30") << "MJPG 1280x720@30";
        QTest::newRow("wished rate only as raw")
            << usual << QByteArray("1280x720@10") << "YUYV 1280x720@10";
        QTest::newRow("nearest rate") << usual << QByteArray("1920x1080@12") << "MJPG 1920x1080@15";
        QTest::newRow("larger only by wish")
            << usual << QByteArray("3840x2160@30") << "MJPG 3840x2160@30";
        QTest::newRow("any rate") << usual << QByteArray("1280x720") << "MJPG 1280x720@30";
        QTest::newRow("raw before JPEG at equal size and rate")
            << usual << QByteArray("640x480") << "YUYV 640x480@30";
        QTest::newRow("a size that is not there")
            << usual << QByteArray("1000x1000") << "MJPG 1920x1080@30";
        QTest::newRow("none is fluent: the fastest")
            << std::vector<Offer>{offer(yuyv, 1920, 1080, 5), offer(yuyv, 640, 480, 15),
                                  offer(yuyv, 800, 600, 15)}
            << QByteArray() << "YUYV 800x600@15";
        QTest::newRow("23.976 is fluent")
            << std::vector<Offer>{{yuyv, {1280, 720}, {24000, 1001}, false},
                                  offer(yuyv, 640, 480, 30)}
            << QByteArray() << "YUYV 1280x720@23.976";
        QTest::newRow("all are larger: the smallest")
            << std::vector<Offer>{offer(mjpeg, 3840, 2160, 30), offer(mjpeg, 2592, 1944, 30)}
            << QByteArray() << "MJPG 2592x1944@30";
        QTest::newRow("portrait is not up to 1920x1080")
            << std::vector<Offer>{offer(mjpeg, 1080, 1920, 30), offer(mjpeg, 640, 480, 30)}
            << QByteArray() << "MJPG 640x480@30";
        QTest::newRow("no more than is seen")
            << std::vector<Offer>{offer(yuyv, 1280, 720, 120), offer(yuyv, 1280, 720, 30)}
            << QByteArray() << "YUYV 1280x720@30";
        QTest::newRow("unknown rate counts as usual")
            << std::vector<Offer>{offer(nv12, 1280, 720, 0), offer(yuyv, 640, 480, 30)}
            << QByteArray() << "NV12 1280x720@0";
        QTest::newRow("nothing readable")
            << std::vector<Offer>{offer(h264, 1920, 1080, 30)} << QByteArray() << QString();
        QTest::newRow("nothing at all") << std::vector<Offer>{} << QByteArray() << QString();
    }

    void choice()
    {
        QFETCH(std::vector<Offer>, offers);
        QFETCH(QByteArray, wish);
        QTEST(best(offers, wish.constData()), "expected");
    }

    void orderOfTheListDoesNotMatter()
    {
        std::vector<Offer> offers = documentCamera();
        QStringList expected;
        for (const Choice &choice : rankFormats(offers, std::nullopt))
            expected.append(textOf(choice));
        QCOMPARE(expected.size(), int(offers.size()) - 1);
        std::mt19937 random(7);
        for (int round = 0; round < 200; ++round) {
            std::shuffle(offers.begin(), offers.end(), random);
            QStringList ranked;
            for (const Choice &choice : rankFormats(offers, std::nullopt))
                ranked.append(textOf(choice));
            QCOMPARE(ranked, expected);
        }
    }

    void wishIsParsed_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("good");
        for (const char *good : {"1280x720@30", "1280x720", "16x16@1", "16384x16384@240"})
            QTest::newRow(good) << QByteArray(good) << true;
        for (const char *bad :
             {"", "x", "1280", "1280x", "1280x720@", "1280x720@0", "1280x720@241", "15x16",
              "99999x720", "-1280x720", " 1280x720", "1280x720@30fps", "1280X720", "1280x720@30\n"})
            QTest::newRow(bad) << QByteArray(bad) << false;
    }

    void wishIsParsed()
    {
        QFETCH(QByteArray, text);
        QTEST(parseFormatWish(text.toStdString()).has_value(), "good");
    }

    void reasons()
    {
        const auto reason = [](const std::vector<Offer> &offers, const char *wish = "") {
            return rankFormats(offers, parseFormatWish(wish)).front().reason;
        };
        QCOMPARE(reason(documentCamera()), ChoiceReason::Fluent);
        QCOMPARE(reason(documentCamera(), "640x480"), ChoiceReason::Wished);
        QCOMPARE(reason(documentCamera(), "641x480"), ChoiceReason::Fluent);
        QCOMPARE(reason({offer(yuyv, 1920, 1080, 5)}), ChoiceReason::Fastest);
        QCOMPARE(reason({offer(mjpeg, 3840, 2160, 30)}), ChoiceReason::OnlyLarger);
    }

    void smallerOnTheBus()
    {
        const std::vector<Choice> ranked =
            rankFormats({offer(yuyv, 1920, 1080, 30), offer(mjpeg, 1920, 1080, 30),
                         offer(yuyv, 1280, 720, 60), offer(yuyv, 640, 480, 30)},
                        std::nullopt);
        QCOMPARE(textOf(ranked.at(0)), QStringLiteral("YUYV 1920x1080@30"));
        QCOMPARE(nextSmaller(ranked, 0), std::optional<std::size_t>(1));
        QCOMPARE(textOf(ranked.at(1)), QStringLiteral("MJPG 1920x1080@30"));
        // 1280 x 720 raw at 60 needs more room on the bus than the JPEG did.
        const std::optional<std::size_t> next = nextSmaller(ranked, 1);
        QVERIFY(next.has_value());
        QCOMPARE(textOf(ranked.at(*next)), QStringLiteral("YUYV 640x480@30"));
        QVERIFY(!nextSmaller(ranked, *next).has_value());
    }

    void needOfEachFormat_data()
    {
        QTest::addColumn<quint32>("fourcc");
        QTest::addColumn<int>("rate"); // of YUYV that needs as much as 30 of this format
        const auto add = [](const char *name, quint32 fourcc, int rate) {
            QTest::newRow(name) << fourcc << rate;
        };
        add("JPEG", mjpeg, 6);
        add("grey", V4L2_PIX_FMT_GREY, 15);
        for (const quint32 fourcc : {V4L2_PIX_FMT_RGB24, V4L2_PIX_FMT_BGR24})
            add(fourccName(fourcc).c_str(), fourcc, 45);
        for (const quint32 fourcc : {V4L2_PIX_FMT_YUYV, V4L2_PIX_FMT_UYVY, V4L2_PIX_FMT_NV16})
            add(fourccName(fourcc).c_str(), fourcc, 30);
        for (const quint32 fourcc : {V4L2_PIX_FMT_BGR32, V4L2_PIX_FMT_ABGR32, V4L2_PIX_FMT_XBGR32,
                                     V4L2_PIX_FMT_RGB32, V4L2_PIX_FMT_ARGB32, V4L2_PIX_FMT_XRGB32})
            add(fourccName(fourcc).c_str(), fourcc, 60);
    }

    // Without bandwidth, only what needs less is tried next.
    void needOfEachFormat()
    {
        QFETCH(quint32, fourcc);
        QFETCH(int, rate);
        const auto hasSmaller = [=](int other) {
            const std::vector<Choice> ranked{
                {offer(fourcc, 640, 480, 30), ChoiceReason::Fluent},
                {offer(yuyv, 640, 480, quint32(other)), ChoiceReason::Fluent}};
            return nextSmaller(ranked, 0).has_value();
        };
        QVERIFY(hasSmaller(rate - 1));
        QVERIFY(!hasSmaller(rate + 1));
    }

    // Half a colour for each brightness: 12 bits a pixel.
    void needOfSubsampledFormats()
    {
        for (const quint32 fourcc : {V4L2_PIX_FMT_NV12, V4L2_PIX_FMT_NV21, V4L2_PIX_FMT_NV12M,
                                     V4L2_PIX_FMT_NV21M, V4L2_PIX_FMT_YUV420, V4L2_PIX_FMT_YVU420,
                                     V4L2_PIX_FMT_YUV420M, V4L2_PIX_FMT_YVU420M}) {
            const std::vector<Choice> ranked{{offer(fourcc, 640, 480, 30), ChoiceReason::Fluent},
                                             {offer(yuyv, 640, 480, 23), ChoiceReason::Fluent},
                                             {offer(yuyv, 640, 480, 22), ChoiceReason::Fluent}};
            QCOMPARE(nextSmaller(ranked, 0), std::optional<std::size_t>(2));
        }
    }

    void namesOfFormats()
    {
        QCOMPARE(fourccName(yuyv), std::string("YUYV"));
        QCOMPARE(fourccName(0x01ff4141), std::string("AA.."));
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::FormatChoiceTest)

#include "test_formatchoice.moc"
