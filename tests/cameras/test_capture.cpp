// A stream of frames from a driver that is not to be trusted.

#include "cameras/video/capture.h"
#include "tests/support/fakekernel.h"
#include "tests/support/testmain.h"

#include <cerrno>
#include <chrono>
#include <memory>

using kivra::cameras::CapturedFrame;
using kivra::cameras::Fault;
using kivra::cameras::Matrix;
using kivra::cameras::Offer;
using kivra::cameras::Range;
using kivra::test::FakeKernel;

Q_DECLARE_METATYPE(kivra::cameras::Fault)
Q_DECLARE_METATYPE(kivra::cameras::Matrix)
Q_DECLARE_METATYPE(kivra::cameras::Range)
Q_DECLARE_METATYPE(kivra::test::FakeKernel::Answer)

namespace kivra::test {

namespace {

using cameras::Capture;

constexpr const char *filmed = "/dev/video0";

Offer plain()
{
    return offer(yuyv, 64, 48, 25);
}

Offer multiPlanar()
{
    return {V4L2_PIX_FMT_NV12M, {64, 48}, {25, 1}, true};
}

/// A kernel's only camera, open, and its stream.
struct OpenStream
{
    explicit OpenStream(const Offer &wanted, FakeCamera camera = {})
        : offered(wanted)
    {
        camera.offers = {offered};
        if (offered.multiPlanar)
            camera.capabilities = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING;
        kernel.plug(filmed, camera);
        int error = 0;
        node = kernel.open(filmed, error);
        capture = std::make_unique<Capture>(*node);
    }

    Fault begin() const { return capture->begin(offered); }

    Offer offered;
    FakeKernel kernel;
    std::unique_ptr<cameras::Node> node;
    std::unique_ptr<Capture> capture;
};

} // namespace

class CaptureTest : public QObject
{
    Q_OBJECT

private slots:
    void colours_data()
    {
        QTest::addColumn<uint>("fourcc");
        QTest::addColumn<uint>("colorspace");
        QTest::addColumn<uint>("encoding");
        QTest::addColumn<uint>("quantization");
        QTest::addColumn<Matrix>("matrix");
        QTest::addColumn<Range>("range");
        const auto row = [](const char *name, uint fourcc, uint colorspace, uint encoding,
                            uint quantization, Matrix matrix, Range range) {
            QTest::newRow(name) << fourcc << colorspace << encoding << quantization << matrix
                                << range;
        };
        constexpr uint ownEncoding = V4L2_YCBCR_ENC_DEFAULT;
        constexpr uint ownRange = V4L2_QUANTIZATION_DEFAULT;
        row("as most cameras", yuyv, V4L2_COLORSPACE_SRGB, ownEncoding, ownRange, Matrix::Bt601,
            Range::Limited);
        row("of high definition", yuyv, V4L2_COLORSPACE_REC709, ownEncoding, ownRange,
            Matrix::Bt709, Range::Limited);
        row("of ultra-high definition", yuyv, V4L2_COLORSPACE_BT2020, ownEncoding, ownRange,
            Matrix::Bt2020, Range::Limited);
        row("of early high definition", yuyv, V4L2_COLORSPACE_SMPTE240M, ownEncoding, ownRange,
            Matrix::Bt709, Range::Limited);
        row("of JPEG", yuyv, V4L2_COLORSPACE_JPEG, ownEncoding, ownRange, Matrix::Bt601,
            Range::Full);
        row("another matrix than the space's", yuyv, V4L2_COLORSPACE_SRGB, V4L2_YCBCR_ENC_709,
            ownRange, Matrix::Bt709, Range::Limited);
        row("wide, extended", yuyv, V4L2_COLORSPACE_SRGB, V4L2_YCBCR_ENC_XV709, ownRange,
            Matrix::Bt709, Range::Limited);
        row("of constant luminance", yuyv, V4L2_COLORSPACE_BT2020, V4L2_YCBCR_ENC_BT2020_CONST_LUM,
            ownRange, Matrix::Bt2020, Range::Limited);
        row("full range, said so", yuyv, V4L2_COLORSPACE_SRGB, ownEncoding,
            V4L2_QUANTIZATION_FULL_RANGE, Matrix::Bt601, Range::Full);
        row("limited range, said so", V4L2_PIX_FMT_RGB24, V4L2_COLORSPACE_SRGB, ownEncoding,
            V4L2_QUANTIZATION_LIM_RANGE, Matrix::Bt601, Range::Limited);
        row("red, green and blue", V4L2_PIX_FMT_XBGR32, V4L2_COLORSPACE_SRGB, ownEncoding, ownRange,
            Matrix::Bt601, Range::Full);
        row("grey", V4L2_PIX_FMT_GREY, V4L2_COLORSPACE_SRGB, ownEncoding, ownRange, Matrix::Bt601,
            Range::Full);
    }

    void colours()
    {
        QFETCH(uint, fourcc);
        QFETCH(uint, colorspace);
        QFETCH(uint, encoding);
        QFETCH(uint, quantization);
        FakeCamera camera;
        camera.colorspace = colorspace;
        camera.encoding = encoding;
        camera.quantization = quantization;
        OpenStream stream(offer(fourcc, 64, 48, 25), camera);
        QCOMPARE(stream.begin(), Fault::None);
        QTEST(stream.capture->format().matrix, "matrix");
        QTEST(stream.capture->format().range, "range");
    }

    void rate_data()
    {
        QTest::addColumn<uint>("offered");
        QTest::addColumn<uint>("frames");
        QTest::addColumn<uint>("seconds");
        QTest::addColumn<qint64>("interval");
        constexpr qint64 ms = 1000000;
        QTest::newRow("another") << 25U << 50U << 1U << 20 * ms;
        QTest::newRow("a slow one") << 25U << 1U << 10U << 10000 * ms;
        QTest::newRow("too slow") << 25U << 1U << 11U << 40 * ms;
        QTest::newRow("too fast") << 25U << 1001U << 1U << 40 * ms;
        QTest::newRow("none") << 25U << 0U << 0U << 40 * ms;
        QTest::newRow("none, and none offered") << 0U << 0U << 0U << 1000 * ms / 30;
    }

    void rate()
    {
        QFETCH(uint, offered);
        QFETCH(uint, frames);
        QFETCH(uint, seconds);
        QFETCH(qint64, interval);
        OpenStream stream(offer(yuyv, 64, 48, offered));
        stream.kernel.answerBy(
            answering<v4l2_streamparm>(VIDIOC_S_PARM, [=](v4l2_streamparm &answer) {
                answer.parm.capture.timeperframe = {seconds, frames};
            }));
        QCOMPARE(stream.begin(), Fault::None);
        QCOMPARE(qint64(stream.capture->interval().count()), interval);
    }

    void rateThatCannotBeSet()
    {
        OpenStream stream(plain());
        stream.kernel.refuse(VIDIOC_S_PARM, ENOTTY);
        QCOMPARE(stream.begin(), Fault::None);
        QVERIFY(stream.capture->interval() == std::chrono::milliseconds(40));
    }

    void refusals_data()
    {
        QTest::addColumn<qulonglong>("request");
        QTest::addColumn<int>("error");
        QTest::addColumn<Fault>("fault");
        const auto row = [](const char *name, unsigned long request, int error, Fault fault) {
            QTest::newRow(name) << qulonglong(request) << error << fault;
        };
        row("format", VIDIOC_S_FMT, EBUSY, Fault::InUse);
        row("buffers", VIDIOC_REQBUFS, EBUSY, Fault::InUse);
        row("no memory", VIDIOC_REQBUFS, ENOMEM, Fault::DoesNotAnswer);
        row("what a buffer is", VIDIOC_QUERYBUF, EINVAL, Fault::DoesNotAnswer);
        row("taking a buffer", VIDIOC_QBUF, ENODEV, Fault::Unplugged);
        row("streaming", VIDIOC_STREAMON, ENOSPC, Fault::NoBandwidth);
    }

    // The same device streams once the driver refuses nothing any more.
    void refusals()
    {
        QFETCH(qulonglong, request);
        QFETCH(int, error);
        OpenStream stream(plain());
        const auto call = static_cast<unsigned long>(request);
        stream.kernel.refuse(call, error);
        QTEST(stream.begin(), "fault");
        QTEST(stream.capture->fault(), "fault");
        QCOMPARE(stream.capture->error(), error);
        QVERIFY(!stream.kernel.isStreaming());
        stream.kernel.refuse(call, 0);
        QCOMPARE(stream.begin(), Fault::None);
        QVERIFY(stream.kernel.isStreaming());
    }

    void impossibleAnswers_data()
    {
        QTest::addColumn<bool>("isMultiPlanar");
        QTest::addColumn<FakeKernel::Answer>("answer");
        const auto row = [](const char *name, bool isMultiPlanar,
                            const FakeKernel::Answer &answer) {
            QTest::newRow(name) << isMultiPlanar << answer;
        };
        row("size", false, answering<v4l2_format>(VIDIOC_S_FMT, [](v4l2_format &answer) {
                answer.fmt.pix.width = 0xffffffff;
                answer.fmt.pix.height = 48;
            }));
        row("more planes than there can be", true,
            answering<v4l2_format>(
                VIDIOC_S_FMT, [](v4l2_format &answer) { answer.fmt.pix_mp.num_planes = 200; }));
        for (const uint count : {0U, 33U}) {
            row(count == 0 ? "no buffer" : "too many buffers", false,
                answering<v4l2_requestbuffers>(
                    VIDIOC_REQBUFS, [=](v4l2_requestbuffers &answer) { answer.count = count; }));
        }
        for (const uint length : {0U, (256U << 20) + 1}) {
            row(length == 0 ? "empty buffer" : "huge buffer", false,
                answering<v4l2_buffer>(VIDIOC_QUERYBUF,
                                       [=](v4l2_buffer &answer) { answer.length = length; }));
        }
        row("fewer planes than the format has", true,
            answering<v4l2_buffer>(VIDIOC_QUERYBUF, [](v4l2_buffer &answer) {
                answer.length = 1;
                for (uint plane = 0; plane < 2; ++plane) {
                    answer.m.planes[plane].length = 64 * 48 / (1 + plane);
                    answer.m.planes[plane].m.mem_offset = answer.index + plane * 1024;
                }
            }));
    }

    void impossibleAnswers()
    {
        QFETCH(bool, isMultiPlanar);
        QFETCH(FakeKernel::Answer, answer);
        OpenStream stream(isMultiPlanar ? multiPlanar() : plain());
        stream.kernel.answerBy(answer);
        QCOMPARE(stream.begin(), Fault::Nonsense);
        QVERIFY(!stream.kernel.isStreaming());
        stream.kernel.answerBy({});
        QCOMPARE(stream.begin(), Fault::None);
    }

    void bufferThatCannotBeMapped()
    {
        OpenStream stream(plain());
        stream.kernel.answerBy(answering<v4l2_buffer>(VIDIOC_QUERYBUF, [](v4l2_buffer &answer) {
            answer.length = 64 * 48 * 2;
            answer.m.offset = 1000;
        }));
        QCOMPARE(stream.begin(), Fault::DoesNotAnswer);
        QCOMPARE(stream.capture->error(), ENOMEM);
        QVERIFY(!stream.kernel.isStreaming());
    }

    void framesThatAreNone()
    {
        OpenStream stream(plain());
        QCOMPARE(stream.begin(), Fault::None);
        CapturedFrame frame;
        QCOMPARE(stream.capture->dequeue(frame), Capture::Next::None);
        const int given = stream.kernel.queuedBuffers();
        QVERIFY(stream.kernel.deliver({}));
        QCOMPARE(stream.capture->dequeue(frame), Capture::Next::Skipped);
        QVERIFY(stream.kernel.deliver(std::vector<std::uint8_t>(64 * 48 * 2), V4L2_BUF_FLAG_ERROR));
        QCOMPARE(stream.capture->dequeue(frame), Capture::Next::Skipped);
        QCOMPARE(stream.kernel.queuedBuffers(), given);
    }

    // A driver that claims more content than the buffer has is believed up to the buffer's end.
    void contentEndsWithTheBuffer()
    {
        OpenStream stream(plain());
        QCOMPARE(stream.begin(), Fault::None);
        stream.kernel.answerBy(answering<v4l2_buffer>(VIDIOC_DQBUF, [](v4l2_buffer &answer) {
            answer.index = 0;
            answer.bytesused = 0xffffffff;
        }));
        CapturedFrame frame;
        QCOMPARE(stream.capture->dequeue(frame), Capture::Next::Frame);
        QCOMPARE(frame.frame.lengths[0], std::size_t(64 * 48 * 2));
    }

    void planeThatBeginsBehindItsContent()
    {
        OpenStream stream(multiPlanar());
        QCOMPARE(stream.begin(), Fault::None);
        stream.kernel.answerBy(answering<v4l2_buffer>(VIDIOC_DQBUF, [](v4l2_buffer &answer) {
            answer.index = 0;
            for (uint plane = 0; plane < 2; ++plane) {
                answer.m.planes[plane].bytesused = 100;
                answer.m.planes[plane].data_offset = plane * 100;
            }
        }));
        CapturedFrame frame;
        QCOMPARE(stream.capture->dequeue(frame), Capture::Next::Skipped);
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::CaptureTest)
#include "test_capture.moc"
