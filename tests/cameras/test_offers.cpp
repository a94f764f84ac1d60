// What a node offers, from whatever way its driver lists it.

#include "cameras/video/kernel.h"
#include "cameras/video/offers.h"
#include "tests/support/fakekernel.h"
#include "tests/support/testmain.h"

#include <QStringList>
#include <QTest>
#include <cerrno>

using namespace kivra::cameras;
using kivra::test::answering;
using kivra::test::FakeCamera;
using kivra::test::FakeKernel;
using kivra::test::offer;
using kivra::test::yuyv;

namespace {

QString textOf(const Offer &offer)
{
    const QString rate = offer.rate.isKnown() ? QString::number(offer.rate.perSecond(), 'g', 4)
                                              : QStringLiteral("?");
    return QStringLiteral("%1x%2@%3").arg(offer.size.width).arg(offer.size.height).arg(rate);
}

/// The offers of a camera with the one format YUYV 640 x 480 at 30 a second, if \a answer does not
/// answer otherwise.
QStringList offered(const FakeKernel::Answer &answer, bool multiPlanar = false)
{
    FakeKernel kernel;
    FakeCamera camera;
    camera.offers = {offer(yuyv, 640, 480, 30)};
    if (multiPlanar)
        camera.capabilities = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING;
    kernel.plug("/dev/video0", camera);
    kernel.answerBy(answer);
    int error = 0;
    const std::unique_ptr<Node> node = kernel.open("/dev/video0", error);
    QStringList texts;
    for (const Offer &each : offersOf(*node, multiPlanar))
        texts += textOf(each);
    return texts;
}

FakeKernel::Answer sizesIn(const v4l2_frmsize_stepwise &range)
{
    return answering<v4l2_frmsizeenum>(VIDIOC_ENUM_FRAMESIZES, [=](v4l2_frmsizeenum &size) {
        size.type = V4L2_FRMSIZE_TYPE_STEPWISE;
        size.stepwise = range;
    });
}

FakeKernel::Answer intervalsIn(const v4l2_fract &shortest, const v4l2_fract &longest)
{
    return answering<v4l2_frmivalenum>(VIDIOC_ENUM_FRAMEINTERVALS, [=](v4l2_frmivalenum &interval) {
        interval.type = V4L2_FRMIVAL_TYPE_CONTINUOUS;
        interval.stepwise.min = shortest;
        interval.stepwise.max = longest;
    });
}

/// A driver that lists no sizes; its format is \a width x \a height.
FakeKernel::Answer onlySize(std::uint32_t width, std::uint32_t height)
{
    return [=](unsigned long request, void *argument) -> std::optional<int> {
        if (request == VIDIOC_ENUM_FRAMESIZES)
            return ENOTTY;
        if (request != VIDIOC_G_FMT)
            return std::nullopt;
        auto &format = *static_cast<v4l2_format *>(argument);
        if (format.type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE) {
            format.fmt.pix_mp.width = width;
            format.fmt.pix_mp.height = height;
        } else {
            format.fmt.pix.width = width;
            format.fmt.pix.height = height;
        }
        return 0;
    };
}

const FakeKernel::Answer nothingElse = [](unsigned long, void *) { return std::nullopt; };

} // namespace

class TestOffers : public QObject
{
    Q_OBJECT

private slots:
    void listed()
    {
        QCOMPARE(offered(nothingElse), QStringList{QStringLiteral("640x480@30")});
        QCOMPARE(offered(nothingElse, true), QStringList{QStringLiteral("640x480@30")});
    }

    // The usual sizes that are a step of the range, and its largest.
    void rangeOfSizes()
    {
        QCOMPARE(offered(sizesIn({320, 1920, 16, 240, 1080, 8})),
                 QStringList({QStringLiteral("640x480@30"), QStringLiteral("800x600@?"),
                              QStringLiteral("1024x768@?"), QStringLiteral("1280x720@?"),
                              QStringLiteral("1280x960@?"), QStringLiteral("1920x1080@?")}));
        // Steps are counted from the smallest size; 0 means any.
        QCOMPARE(offered(sizesIn({610, 700, 30, 400, 500, 0})),
                 QStringList({QStringLiteral("640x480@30"), QStringLiteral("700x500@?")}));
        QCOMPARE(offered(sizesIn({600, 700, 32, 400, 500, 0})),
                 QStringList{QStringLiteral("700x500@?")});
    }

    void impossibleRangesOfSizes()
    {
        QCOMPARE(offered(sizesIn({800, 700, 1, 400, 500, 1})), QStringList());
        QCOMPARE(offered(sizesIn({600, 700, 1, 600, 500, 1})), QStringList());
        QCOMPARE(offered(sizesIn({600, 0xffffffff, 0, 400, 0xffffffff, 0})).first(),
                 QStringLiteral("640x480@30"));
        QCOMPARE(offered(sizesIn({0, 0, 0, 0, 0, 0})), QStringList());
    }

    // The usual rates of the range, and its highest.
    void rangeOfRates()
    {
        QCOMPARE(offered(intervalsIn({1, 50}, {1, 10})),
                 QStringList({QStringLiteral("640x480@30"), QStringLiteral("640x480@25"),
                              QStringLiteral("640x480@15"), QStringLiteral("640x480@10"),
                              QStringLiteral("640x480@50")}));
        QCOMPARE(offered(intervalsIn({2, 15}, {1, 1})),
                 QStringList({QStringLiteral("640x480@5"), QStringLiteral("640x480@7.5")}));
        // A highest rate that is usual comes once.
        QCOMPARE(offered(intervalsIn({1, 10}, {1, 10})), QStringList{QStringLiteral("640x480@10")});
    }

    void impossibleRangesOfRates()
    {
        QCOMPARE(offered(intervalsIn({0, 30}, {1, 5})), QStringList{QStringLiteral("640x480@?")});
        QCOMPARE(offered(intervalsIn({1, 0}, {1, 5})), QStringList{QStringLiteral("640x480@?")});
        // Without a longest interval, there is no slowest rate.
        QCOMPARE(offered(intervalsIn({1, 7}, {0, 0})),
                 QStringList({QStringLiteral("640x480@5"), QStringLiteral("640x480@7")}));
    }

    void noListOfSizes()
    {
        QCOMPARE(offered(onlySize(640, 480)), QStringList{QStringLiteral("640x480@30")});
        QCOMPARE(offered(onlySize(321, 200)), QStringList{QStringLiteral("321x200@?")});
        QCOMPARE(offered(onlySize(321, 200), true), QStringList{QStringLiteral("321x200@?")});
        QCOMPARE(offered(onlySize(0, 200)), QStringList());
        QCOMPARE(offered(onlySize(16385, 200)), QStringList());
    }

    void noSizeAtAll()
    {
        const auto refused = [](unsigned long request, void *) -> std::optional<int> {
            if (request == VIDIOC_ENUM_FRAMESIZES || request == VIDIOC_G_FMT)
                return EINVAL;
            return std::nullopt;
        };
        QCOMPARE(offered(refused), QStringList());
    }
};

KIVRA_TEST(TestOffers)
#include "test_offers.moc"
