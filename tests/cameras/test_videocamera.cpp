// A V4L2 camera as QCamera meets it, on a kernel that the test plays.

#include "cameras/service/cameraservice.h"
#include "cameras/video/videocatalogue.h"
#include "tests/cameras/fakemachine.h"
#include "tests/cameras/framerecorder.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QBuffer>
#include <QSignalSpy>
#include <cerrno>

namespace kivra::test {

namespace {

using namespace std::chrono_literals;
using namespace cameras;

FakeCamera smallCamera()
{
    FakeCamera camera;
    camera.offers = {offer(yuyv, 64, 48, 30)};
    return camera;
}

FakeCamera jpegCamera()
{
    FakeCamera camera;
    camera.offers = {offer(yuyv, 64, 48, 5), offer(mjpeg, 64, 48, 30), offer(mjpeg, 128, 96, 10)};
    return camera;
}

std::vector<std::uint8_t> jpegOf(const QImage &picture)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    picture.save(&file, "jpeg", 95);
    return {file.data().begin(), file.data().end()};
}

QImage evenPicture(const QColor &colour, QSize size = {64, 48})
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

/// Whether all pixels are opaque and of this grey, within one level.
bool isEven(const QImage &picture, int grey)
{
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            if (qAlpha(pixel) != 255 || std::abs(qRed(pixel) - grey) > 1 ||
                std::abs(qGreen(pixel) - grey) > 1 || std::abs(qBlue(pixel) - grey) > 1)
                return false;
        }
    }
    return !picture.isNull();
}

/// The service as QCamera uses it, on the first camera of a machine.
class ServiceRig
{
public:
    explicit ServiceRig(FakeMachine &on)
        : machine(on)
        , catalogue(std::make_unique<VideoCatalogue>(machine.kernel, machine.folders))
        , service(std::make_unique<CameraService>(*catalogue))
        , control(service->requestControl<QCameraControl *>())
        , stills(service->requestControl<QCameraImageCaptureControl *>())
        , errors(control, &QCameraControl::error)
    {
        service->requestControl<QVideoRendererControl *>()->setSurface(&surface);
    }

    void start() const { control->setState(QCamera::ActiveState); }

    /// Delivers frames of all bytes \a value until one is shown.
    bool showEven(std::uint8_t value)
    {
        return showBytes(
            [=] { return std::vector<std::uint8_t>(machine.kernel.format().sizeimage, value); });
    }

    bool showJpeg(const QImage &picture)
    {
        std::vector<std::uint8_t> bytes = jpegOf(picture);
        return showBytes([&] { return bytes; });
    }

    template<typename Bytes>
    bool showBytes(Bytes bytes)
    {
        const int before = surface.frames;
        if (!QTest::qWaitFor([&] { return machine.kernel.deliver(bytes()); }))
            return false;
        return QTest::qWaitFor([&] { return surface.frames > before; });
    }

    /// Keeps delivering frames, because a stream that is about to end swallows some.
    bool startAndShow(std::uint8_t value)
    {
        const int before = surface.frames;
        start();
        return QTest::qWaitFor([&] {
            machine.kernel.deliverEven(value);
            return surface.frames > before && control->status() == QCamera::ActiveStatus;
        });
    }

    /// Lets a second pass at a time until \a condition holds.
    template<typename Condition>
    bool passTimeUntil(Condition condition)
    {
        return QTest::qWaitFor([&] {
            if (condition())
                return true;
            machine.kernel.advance(1s);
            return false;
        });
    }

    /// When a camera is gone and back so quickly that the list of devices never changed, the thread
    /// finds it at its next try.
    bool passTimeUntilItStreams()
    {
        return passTimeUntil([this] { return machine.kernel.isStreaming(); });
    }

    /// While the stream is of this width and the driver has all buffers, delivers \a bytes until a
    /// still is saved.
    bool deliverUntilSaved(const std::vector<std::uint8_t> &bytes, int width,
                           const QSignalSpy &saved)
    {
        return QTest::qWaitFor([&] {
            if (int(machine.kernel.format().width) == width && machine.kernel.queuedBuffers() == 6)
                machine.kernel.deliver(bytes);
            return saved.size() == 1;
        });
    }

    /// Waits for that: then no earlier frame becomes the next still.
    bool hasUsedAllFrames() const
    {
        return QTest::qWaitFor([this] { return machine.kernel.queuedBuffers() == 6; });
    }

    /// The next stills are larger than the live picture of jpegCamera().
    void wishLargerStill() const
    {
        QImageEncoderSettings settings;
        settings.setResolution(128, 96);
        service->requestControl<QImageEncoderControl *>()->setImageSettings(settings);
    }

    QString lastError() const
    {
        return errors.isEmpty() ? QString() : errors.last().at(1).toString();
    }

    FakeMachine &machine;
    FrameRecorder surface;
    std::unique_ptr<VideoCatalogue> catalogue;
    std::unique_ptr<CameraService> service;
    QCameraControl *control;
    QCameraImageCaptureControl *stills;
    QSignalSpy errors;
};

/// The driver lists formats of this width and cannot set them.
std::optional<int> refusalOf128Columns(unsigned long request, void *argument)
{
    const bool isRefused =
        request == VIDIOC_S_FMT && static_cast<v4l2_format *>(argument)->fmt.pix.width == 128;
    return isRefused ? std::optional<int>(EINVAL) : std::nullopt;
}

QString stillPath(const char *name)
{
    return Sandbox::instance().documents() + QLatin1Char('/') + QLatin1String(name);
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

QByteArray bytesOf(const std::vector<std::uint8_t> &bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), int(bytes.size())};
}

} // namespace

class VideoCameraTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Sandbox::instance().reset();
        for (const char *name : {"FORMAT", "TURN", "MIRROR", "MAINS"})
            qunsetenv(QByteArray("KIVRA_CAMERA_") + name);
    }

    void showsWhatTheDriverFilms()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        // 16 to 235 become 0 to 255.
        QVERIFY(isEven(rig.surface.picture(), 130));
        QCOMPARE(rig.surface.surfaceFormat().frameSize(), QSize(64, 48));
        QVERIFY(rig.surface.onOwnThread);
        QVERIFY(rig.errors.isEmpty());
    }

    void framesShareTheirPicture()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        QImage picture;
        {
            ServiceRig rig(machine);
            QVERIFY(rig.startAndShow(128));
            QVideoFrame frame = rig.surface.lastFrame;
            picture = frame.handle().value<QImage>();
            QCOMPARE(picture.size(), QSize(64, 48));
            QCOMPARE(picture.format(), QImage::Format_RGB32);
            QVERIFY(frame.map(QAbstractVideoBuffer::ReadOnly));
            QCOMPARE(frame.mappedBytes(), 64 * 48 * 4);
            QCOMPARE(static_cast<const uchar *>(frame.bits()), picture.constBits());
            frame.unmap();
        }
        QVERIFY(isEven(picture, 130)); // it outlives the frame and the camera
    }

    // Each component has memory of its own, in which the content follows bytes of the driver's;
    // rows are padded.
    void multiPlanarInterface_data()
    {
        QTest::addColumn<quint32>("fourcc");
        QTest::newRow("one plane") << quint32(yuyv);
        QTest::newRow("two planes") << quint32(V4L2_PIX_FMT_NV12M);
        QTest::newRow("three planes") << quint32(V4L2_PIX_FMT_YUV420M);
    }

    void multiPlanarInterface()
    {
        QFETCH(quint32, fourcc);
        FakeCamera camera;
        camera.capabilities = V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_STREAMING;
        camera.offers = {offer(fourcc, 64, 48, 30)};
        camera.padding = 16;
        camera.dataOffset = 24;
        FakeMachine machine;
        machine.plug(0, camera);
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QVERIFY(isEven(rig.surface.picture(), 130));
        // Raises the luma where chroma has planes of its own; the rest stays at 128.
        std::vector<std::uint8_t> bytes(machine.kernel.format().sizeimage, 128);
        std::fill_n(bytes.begin(), fourcc == yuyv ? 0 : 80 * 48, std::uint8_t{235});
        QVERIFY(QTest::qWaitFor([&] {
            machine.kernel.deliver(bytes);
            return isEven(rig.surface.picture(), fourcc == yuyv ? 130 : 255);
        }));
        rig.control->setState(QCamera::LoadedState);
        QTRY_VERIFY(!machine.kernel.isOpen());
    }

    void choosesTheFluentFormat()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray)));
        QCOMPARE(machine.kernel.format().pixelformat, mjpeg);
        QCOMPARE(rig.surface.surfaceFormat().frameSize(), QSize(64, 48));
    }

    void theSettingChoosesTheFormat()
    {
        qputenv("KIVRA_CAMERA_FORMAT", "128x96@10");
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray, {128, 96})));
        QCOMPARE(rig.surface.surfaceFormat().frameSize(), QSize(128, 96));
    }

    void picturesAreTurnedAndMirrored()
    {
        qputenv("KIVRA_CAMERA_TURN", "90");
        qputenv("KIVRA_CAMERA_MIRROR", "1");
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        QImage picture = evenPicture(Qt::white);
        for (int y = 0; y < 24; ++y) {
            for (int x = 0; x < 32; ++x)
                picture.setPixel(x, y, 0xff000000);
        }
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(picture));
        const QImage shown = rig.surface.picture();
        QCOMPARE(shown.size(), QSize(48, 64));
        // The top left corner goes to the top right, and the mirror brings it back.
        QVERIFY(qGray(shown.pixel(4, 4)) < 20);
        QVERIFY(qGray(shown.pixel(43, 4)) > 235);
        QVERIFY(qGray(shown.pixel(4, 59)) > 235);
    }

    void jpegOfAnotherSizeChangesTheFormat()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray)));
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray, {32, 16})));
        QCOMPARE(rig.surface.surfaceFormat().frameSize(), QSize(32, 16));
        QCOMPARE(rig.surface.picture().size(), QSize(32, 16));
    }

    void faultyFramesAreSkipped()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray)));
        const int before = rig.surface.frames;
        const std::vector<std::uint8_t> good = jpegOf(evenPicture(Qt::white));
        QVERIFY(machine.kernel.deliver(good, V4L2_BUF_FLAG_ERROR));
        QVERIFY(QTest::qWaitFor([&] { return machine.kernel.deliver({}); }));
        const std::vector<std::uint8_t> cut(good.begin(), good.begin() + long(good.size() / 2));
        QVERIFY(QTest::qWaitFor([&] { return machine.kernel.deliver(cut); }));
        QVERIFY(QTest::qWaitFor([&] { return machine.kernel.queuedBuffers() == 6; }));
        QVERIFY(rig.showJpeg(evenPicture(Qt::black)));
        QCOMPARE(rig.surface.frames, before + 1);
        QVERIFY(isEven(rig.surface.picture(), 0));
        QVERIFY(rig.errors.isEmpty());
    }

    void stopClosesTheDevice()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        const int before = rig.surface.frames;
        machine.kernel.deliverEven(50);
        rig.control->setState(QCamera::LoadedState);
        QTRY_VERIFY(!machine.kernel.isOpen());
        QCOMPARE(rig.surface.frames, before);
    }

    void startsAgain()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        rig.control->setState(QCamera::LoadedState);
        QVERIFY(rig.startAndShow(235));
        QVERIFY(rig.errors.isEmpty());
    }

    void unpluggedAndBack()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        machine.unplug(0);
        QTRY_COMPARE(rig.errors.size(), 1);
        QVERIFY(rig.lastError().contains(QStringLiteral("débranchée")));
        QCOMPARE(rig.control->state(), QCamera::ActiveState);
        QCOMPARE(rig.control->status(), QCamera::StartingStatus);
        machine.plug(0, smallCamera());
        QVERIFY(rig.passTimeUntilItStreams());
        QVERIFY(rig.showEven(128));
        QCOMPARE(rig.control->status(), QCamera::ActiveStatus);
        QVERIFY(isEven(rig.surface.picture(), 130));
        QCOMPARE(rig.errors.size(), 1);
    }

    void backOnAnotherNode()
    {
        FakeMachine machine;
        machine.describeUsb(0, "Visualiseur", "A1", "1.2");
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        auto *const selector = rig.service->requestControl<QVideoDeviceSelectorControl *>();
        QVERIFY(rig.startAndShow(128));
        machine.unplug(0);
        QTRY_COMPARE(rig.errors.size(), 1);
        machine.describeUsb(3, "Visualiseur", "A1", "1.2");
        machine.plug(3, smallCamera());
        QVERIFY(rig.showEven(100));
        QCOMPARE(selector->deviceName(selector->selectedDevice()),
                 QString::fromStdString(machine.node(3)));
    }

    void aTwinIsNotTaken()
    {
        FakeMachine machine;
        machine.describeUsb(0, "Visualiseur", "0001", "1.2");
        machine.describeUsb(1, "Visualiseur", "0001", "1.3");
        machine.plug(0, smallCamera());
        machine.plug(1, smallCamera());
        ServiceRig rig(machine);
        QTRY_COMPARE(rig.catalogue->devices().size(), 2);
        // Two equal names would not tell which is which.
        QCOMPARE(rig.catalogue->devices().at(1).description,
                 QStringLiteral("Visualiseur (usb-1-1.3)"));
        QVERIFY(rig.startAndShow(128));
        machine.unplug(0);
        QTRY_COMPARE(rig.errors.size(), 1);
        QTRY_COMPARE(rig.catalogue->devices().size(), 1);
        machine.kernel.advance(2s);
        QTRY_VERIFY(!machine.kernel.isOpen());
        QCOMPARE(rig.control->status(), QCamera::StartingStatus);
        // A camera in another socket counts as the missing one.
        machine.describeUsb(2, "Visualiseur", "0001", "1.4");
        machine.plug(2, smallCamera());
        QVERIFY(rig.showEven(100));
    }

    void stopEndsTheWaiting()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        machine.unplug(0);
        QTRY_COMPARE(rig.errors.size(), 1);
        rig.control->setState(QCamera::LoadedState);
        const int opened = machine.kernel.opened();
        machine.plug(0, smallCamera());
        QTRY_COMPARE(rig.catalogue->devices().size(), 1);
        machine.kernel.advance(5s);
        QTRY_VERIFY(machine.kernel.somebodyWaits());
        // Only the list of cameras opens the node.
        QVERIFY(machine.kernel.opened() <= opened + 1);
        QVERIFY(!machine.kernel.isStreaming());
        QVERIFY(rig.startAndShow(100));
    }

    void unpluggedBeforeTheStart()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QTRY_COMPARE(rig.catalogue->devices().size(), 1);
        machine.unplug(0);
        rig.start();
        QTRY_COMPARE(rig.errors.size(), 1);
        QVERIFY(rig.lastError().contains(QStringLiteral("n'est pas branchée")));
        QCOMPARE(rig.control->state(), QCamera::ActiveState);
        machine.plug(0, smallCamera());
        QVERIFY(rig.passTimeUntilItStreams());
        QVERIFY(rig.showEven(100));
    }

    void noRightIsToldAndWaitedFor()
    {
        FakeMachine machine;
        FakeCamera camera = smallCamera();
        camera.openError = EACCES;
        machine.describeUsb(0, "Visualiseur", "A1", "1.2");
        machine.plug(0, camera);
        ServiceRig rig(machine);
        QCOMPARE(rig.catalogue->devices().size(), 1); // listed all the same
        rig.start();
        QTRY_COMPARE(rig.errors.size(), 1);
        QVERIFY(rig.lastError().contains(QStringLiteral("le droit")));
        machine.kernel.advance(1s);
        machine.kernel.advance(1s);
        machine.kernel.change(machine.node(0), [](FakeCamera &one) { one.openError = 0; });
        QVERIFY(rig.passTimeUntilItStreams());
        QVERIFY(rig.showEven(100));
        QCOMPARE(rig.errors.size(), 1);
    }

    void inUseIsToldAndWaitedFor()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        machine.kernel.refuse(VIDIOC_S_FMT, EBUSY);
        ServiceRig rig(machine);
        rig.start();
        QTRY_COMPARE(rig.errors.size(), 1);
        QVERIFY(rig.lastError().contains(QStringLiteral("autre programme")));
        QTRY_VERIFY(!machine.kernel.isOpen());
        machine.kernel.refuse(VIDIOC_S_FMT, 0);
        QVERIFY(rig.passTimeUntilItStreams());
        QVERIFY(rig.showEven(100));
        QCOMPARE(rig.errors.size(), 1);
    }

    void withoutBandwidthASmallerFormat()
    {
        FakeMachine machine;
        FakeCamera camera;
        camera.offers = {offer(yuyv, 128, 96, 30), offer(yuyv, 64, 48, 30),
                         offer(yuyv, 32, 24, 30)};
        camera.largestFrame = 64 * 48 * 2;
        machine.plug(0, camera);
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QCOMPARE(rig.surface.picture().size(), QSize(64, 48));
        QVERIFY(rig.errors.isEmpty());
    }

    void noBandwidthAtAll()
    {
        FakeMachine machine;
        FakeCamera camera = smallCamera();
        camera.largestFrame = 10;
        machine.plug(0, camera);
        ServiceRig rig(machine);
        rig.start();
        QTRY_COMPARE(rig.errors.size(), 1);
        QVERIFY(rig.lastError().contains(QStringLiteral("débit")));
    }

    void formatThatTheDriverListsAndRefuses()
    {
        FakeMachine machine;
        FakeCamera camera;
        camera.offers = {offer(yuyv, 128, 96, 30), offer(yuyv, 64, 48, 30)};
        machine.plug(0, camera);
        machine.kernel.answerBy(refusalOf128Columns);
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QCOMPARE(rig.surface.picture().size(), QSize(64, 48));
        QVERIFY(rig.errors.isEmpty());
    }

    // Each try may cost a slow camera a second.
    void twelfthTryIsTheLast_data()
    {
        QTest::addColumn<int>("tooLarge");
        QTest::addColumn<bool>("streams");
        QTest::newRow("the twelfth fits") << 11 << true;
        QTest::newRow("the thirteenth would fit") << 12 << false;
    }

    void twelfthTryIsTheLast()
    {
        QFETCH(int, tooLarge);
        QFETCH(bool, streams);
        FakeMachine machine;
        FakeCamera camera;
        for (int i = tooLarge; i >= 0; --i)
            camera.offers.push_back(offer(yuyv, 64, 48 + i, 30));
        camera.largestFrame = 64 * 48 * 2;
        machine.plug(0, camera);
        ServiceRig rig(machine);
        rig.start();
        QTRY_VERIFY(machine.kernel.isStreaming() || !rig.errors.isEmpty());
        QCOMPARE(machine.kernel.isStreaming(), streams);
        QCOMPARE(rig.errors.isEmpty(), streams);
    }

    void nothingReadable()
    {
        FakeMachine machine;
        FakeCamera camera;
        camera.offers = {offer(V4L2_PIX_FMT_H264, 64, 48, 30)};
        machine.plug(0, camera);
        ServiceRig rig(machine);
        rig.start();
        QTRY_COMPARE(rig.errors.size(), 1);
        QVERIFY(rig.lastError().contains(QStringLiteral("format")));
    }

    void noFramesForThreeSeconds()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        const int begun = machine.kernel.streamsBegun();
        QVERIFY(rig.passTimeUntil([&] { return rig.errors.size() == 1; }));
        QVERIFY(rig.lastError().contains(QStringLiteral("n'envoie plus d'image")));
        // The camera is opened anew, and its frames bring the picture back.
        QVERIFY(rig.passTimeUntil([&] { return machine.kernel.streamsBegun() > begun; }));
        QVERIFY(rig.showEven(100));
        QCOMPARE(rig.control->status(), QCamera::ActiveStatus);
        QCOMPARE(rig.errors.size(), 1);
    }

    void sleepDoesNotCount()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        machine.kernel.advance(2900ms);
        machine.kernel.suspend(3600s);
        machine.kernel.advance(2000ms);
        QTRY_VERIFY(machine.kernel.somebodyWaits());
        machine.kernel.advance(900ms);
        QVERIFY(rig.showEven(100));
        QVERIFY(rig.errors.isEmpty());
    }

    void impossibleAnswers()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        machine.kernel.answerBy([](unsigned long request, void *argument) -> std::optional<int> {
            if (request != VIDIOC_DQBUF)
                return std::nullopt;
            static_cast<v4l2_buffer *>(argument)->index = 1000;
            return 0;
        });
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(QTest::qWaitFor([&] { return machine.kernel.deliverEven(1); }));
        QTRY_COMPARE(rig.errors.size(), 1);
        QVERIFY(rig.lastError().contains(QStringLiteral("impossibles")));
    }

    void hiccupIsNotTold()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        const int begun = machine.kernel.streamsBegun();
        machine.kernel.refuse(VIDIOC_DQBUF, EIO);
        machine.kernel.deliverEven(1);
        QTRY_COMPARE(machine.kernel.streamsBegun(), begun + 1);
        machine.kernel.refuse(VIDIOC_DQBUF, 0);
        QVERIFY(rig.showEven(100));
        QVERIFY(rig.errors.isEmpty());
    }

    void stillOfTheStream()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        const int begun = machine.kernel.streamsBegun();
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        const int id = rig.stills->capture(stillPath("im.png"));
        QVERIFY(id >= 0); // a negative number would say that it failed
        QTRY_VERIFY((machine.kernel.deliverEven(128), saved.size() == 1));
        QCOMPARE(saved.constFirst().constFirst().toInt(), id);
        QVERIFY(isEven(QImage(stillPath("im.png")), 130));
        QCOMPARE(machine.kernel.streamsBegun(), begun);
    }

    void previewOfAStill_data()
    {
        QTest::addColumn<QSize>("picture");
        QTest::addColumn<QSize>("preview");
        QTest::newRow("small") << QSize(64, 48) << QSize(64, 48);
        QTest::newRow("wide") << QSize(1280, 320) << QSize(640, 160);
        QTest::newRow("high") << QSize(320, 960) << QSize(160, 480);
    }

    void previewOfAStill()
    {
        QFETCH(QSize, picture);
        QFETCH(QSize, preview);
        FakeMachine machine;
        FakeCamera camera;
        camera.offers = {offer(yuyv, picture.width(), picture.height(), 30)};
        machine.plug(0, camera);
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QSignalSpy captured(rig.stills, &QCameraImageCaptureControl::imageCaptured);
        rig.stills->capture(stillPath("im.png"));
        QTRY_VERIFY((machine.kernel.deliverEven(128), captured.size() == 1));
        QCOMPARE(captured.constFirst().at(1).value<QImage>().size(), preview);
    }

    void stillFailsIfNoFrameComes()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QVERIFY(rig.hasUsedAllFrames());
        QSignalSpy failed(rig.stills, &QCameraImageCaptureControl::error);
        rig.stills->capture(stillPath("im.png"));
        QVERIFY(rig.passTimeUntil([&] { return failed.size() == 1; }));
        QVERIFY(!QFile::exists(stillPath("im.png")));
    }

    void stillFailsWhenALostCameraIsStopped()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QVERIFY(rig.hasUsedAllFrames());
        QSignalSpy failed(rig.stills, &QCameraImageCaptureControl::error);
        rig.stills->capture(stillPath("im.png"));
        machine.unplug(0);
        QTRY_COMPARE(rig.errors.size(), 1);
        QCOMPARE(failed.size(), 0);
        rig.control->setState(QCamera::LoadedState);
        QTRY_COMPARE(failed.size(), 1);
    }

    void jpegIsStoredAsItCame()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        const QImage picture = evenPicture(Qt::gray);
        QVERIFY(rig.showJpeg(picture));
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        rig.stills->capture(stillPath("im.jpg"));
        const std::vector<std::uint8_t> bytes = jpegOf(picture);
        QTRY_VERIFY((machine.kernel.deliver(bytes), saved.size() == 1));
        QCOMPARE(contentOf(stillPath("im.jpg")), bytesOf(bytes));
    }

    void lowerQualityIsEncoded()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        const QImage picture = evenPicture(Qt::gray);
        QVERIFY(rig.showJpeg(picture));
        QImageEncoderSettings settings;
        settings.setQuality(QMultimedia::LowQuality);
        rig.service->requestControl<QImageEncoderControl *>()->setImageSettings(settings);
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        rig.stills->capture(stillPath("im.jpg"));
        const std::vector<std::uint8_t> bytes = jpegOf(picture);
        QTRY_VERIFY((machine.kernel.deliver(bytes), saved.size() == 1));
        QVERIFY(contentOf(stillPath("im.jpg")) != bytesOf(bytes));
        QCOMPARE(QImage(stillPath("im.jpg")).size(), QSize(64, 48));
    }

    void largerStillSwitchesTheFormat()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray)));
        auto *const encoder = rig.service->requestControl<QImageEncoderControl *>();
        QCOMPARE(encoder->supportedResolutions({}), (QList<QSize>{{64, 48}, {128, 96}}));
        rig.wishLargerStill();
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        rig.stills->capture(stillPath("im.png"));
        QTRY_COMPARE(machine.kernel.format().width, 128u);
        // The exposure starts over, so the first frames are dark.
        int level = 0;
        const auto deliver = [&] {
            const int grey = std::min(level, 100);
            if (machine.kernel.format().width == 128 && machine.kernel.queuedBuffers() == 6 &&
                machine.kernel.deliver(jpegOf(evenPicture(QColor(grey, grey, grey), {128, 96}))))
                level += 25;
            return saved.size() == 1;
        };
        QTRY_VERIFY(deliver());
        const QImage still(stillPath("im.png"));
        QCOMPARE(still.size(), QSize(128, 96));
        QVERIFY(isEven(still, 100));
        QTRY_VERIFY(machine.kernel.format().width == 64 && machine.kernel.isStreaming());
        QVERIFY(rig.showJpeg(evenPicture(Qt::black)));
        QVERIFY(rig.errors.isEmpty());
    }

    void largerJpegIsStoredAsItCame()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray)));
        rig.wishLargerStill();
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        rig.stills->capture(stillPath("im.jpg"));
        const std::vector<std::uint8_t> bytes = jpegOf(evenPicture(Qt::gray, {128, 96}));
        QVERIFY(rig.deliverUntilSaved(bytes, 128, saved));
        QCOMPARE(contentOf(stillPath("im.jpg")), bytesOf(bytes));
    }

    void largerStillThatTheDriverRefuses()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        machine.kernel.answerBy(refusalOf128Columns);
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray)));
        rig.wishLargerStill();
        QSignalSpy failed(rig.stills, &QCameraImageCaptureControl::error);
        rig.stills->capture(stillPath("im.png"));
        QTRY_COMPARE(failed.size(), 1);
        QVERIFY(!QFile::exists(stillPath("im.png")));
        QVERIFY(rig.showJpeg(evenPicture(Qt::black)));
        QVERIFY(rig.errors.isEmpty());
    }

    void lostDuringALargerStill()
    {
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray)));
        rig.wishLargerStill();
        QSignalSpy failed(rig.stills, &QCameraImageCaptureControl::error);
        rig.stills->capture(stillPath("im.png"));
        QTRY_COMPARE(machine.kernel.format().width, 128u);
        machine.unplug(0);
        QTRY_COMPARE(failed.size(), 1);
        QTRY_COMPARE(rig.errors.size(), 1);
    }

    // The still is the next frame that is whole.
    void faultyFrameIsNoStill_data()
    {
        QTest::addColumn<bool>("isLarger");
        QTest::newRow("of the stream") << false;
        QTest::newRow("larger") << true;
    }

    void faultyFrameIsNoStill()
    {
        QFETCH(bool, isLarger);
        FakeMachine machine;
        machine.plug(0, jpegCamera());
        ServiceRig rig(machine);
        rig.start();
        QVERIFY(rig.showJpeg(evenPicture(Qt::gray)));
        if (isLarger)
            rig.wishLargerStill();
        const QSize size = isLarger ? QSize(128, 96) : QSize(64, 48);
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        rig.stills->capture(stillPath("im.jpg"));
        QTRY_COMPARE(int(machine.kernel.format().width), size.width());
        QTRY_COMPARE(machine.kernel.queuedBuffers(), 6);
        const std::vector<std::uint8_t> bytes = jpegOf(evenPicture(Qt::gray, size));
        std::vector<std::uint8_t> corrupt = bytes;
        std::fill(corrupt.end() - 20, corrupt.end() - 2, 0xfe); // no such code
        QVERIFY(machine.kernel.deliver(corrupt));
        QTRY_COMPARE(machine.kernel.queuedBuffers(), 6);
        QCOMPARE(saved.size(), 0);
        QVERIFY(rig.deliverUntilSaved(bytes, size.width(), saved));
        QCOMPARE(contentOf(stillPath("im.jpg")), bytesOf(bytes));
    }

    void stillThatIsTakenBack()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QVERIFY(rig.hasUsedAllFrames());
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        rig.stills->capture(stillPath("a.png"));
        QCoreApplication::processEvents();
        rig.stills->cancelCapture();
        rig.stills->capture(stillPath("b.png"));
        QTRY_VERIFY((machine.kernel.deliverEven(128), saved.size() == 1));
        QCOMPARE(saved.constFirst().at(1).toString(), stillPath("b.png"));
        QVERIFY(!QFile::exists(stillPath("a.png")));
    }

    // A camera that is stopped stays open for a still that is wanted, and only for that.
    void nothingIsAwaitedForAStillTakenBack()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QVERIFY(rig.hasUsedAllFrames());
        rig.stills->capture(stillPath("a.png"));
        QCoreApplication::processEvents();
        rig.stills->cancelCapture();
        rig.control->setState(QCamera::LoadedState);
        QTRY_VERIFY(!machine.kernel.isOpen());
    }

    // As when a window opens while another one of the same program closes.
    void twoSourcesOfOneCamera()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        FrameRecorder surface;
        CameraService second(*rig.catalogue);
        second.requestControl<QVideoRendererControl *>()->setSurface(&surface);
        auto *const control = second.requestControl<QCameraControl *>();
        QSignalSpy errors(control, &QCameraControl::error);
        control->setState(QCamera::ActiveState);
        for (std::uint8_t value = 50; value < 150; value += 10)
            QVERIFY(rig.showEven(value));
        QCOMPARE(machine.kernel.streamsBegun(), 1);
        QCOMPARE(surface.frames, 0);
        rig.control->setState(QCamera::LoadedState);
        QTRY_VERIFY((machine.kernel.deliverEven(128), surface.frames > 0));
        QVERIFY(isEven(surface.picture(), 130));
        QVERIFY(errors.isEmpty());
    }

    void cameraThatIsNotListed()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        const ServiceRig rig(machine);
        QVERIFY(rig.catalogue->open(QByteArray::fromStdString(machine.node(0))));
        QVERIFY(!rig.catalogue->open(QByteArray::fromStdString(machine.node(1))));
    }

    void exposureIsLocked()
    {
        FakeMachine machine;
        FakeCamera camera = smallCamera();
        camera.controls[V4L2_CID_EXPOSURE_AUTO] = {0, 3, V4L2_EXPOSURE_APERTURE_PRIORITY, 0, {}};
        machine.plug(0, camera);
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        auto *const locks = rig.service->requestControl<QCameraLocksControl *>();
        QCOMPARE(locks->supportedLocks(), QCamera::LockTypes(QCamera::LockExposure));
        locks->searchAndLock(QCamera::LockExposure);
        QTRY_COMPARE(locks->lockStatus(QCamera::LockExposure), QCamera::Locked);
        QCOMPARE(machine.kernel.control(machine.node(0), V4L2_CID_EXPOSURE_AUTO),
                 std::int32_t(V4L2_EXPOSURE_MANUAL));
    }

    void stillSurvivesStop()
    {
        FakeMachine machine;
        machine.plug(0, smallCamera());
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        QSignalSpy readiness(rig.stills, &QCameraImageCaptureControl::readyForCaptureChanged);
        rig.stills->capture(stillPath("im.png"));
        QCoreApplication::processEvents();
        rig.control->setState(QCamera::LoadedState);
        QTRY_VERIFY((machine.kernel.deliverEven(128), saved.size() == 1));
        QTRY_VERIFY(!machine.kernel.isOpen());
    }

    void slowControlsDoNotDelayTheStill()
    {
        FakeMachine machine;
        FakeCamera camera = smallCamera();
        camera.controls[V4L2_CID_FOCUS_AUTO] = {0, 1, 1, 0, {}};
        machine.plug(0, camera);
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        auto *const locks = rig.service->requestControl<QCameraLocksControl *>();
        machine.kernel.holdControls(true);
        locks->searchAndLock(QCamera::LockFocus);
        QTRY_COMPARE(machine.kernel.controlsSet(), 1);
        QSignalSpy saved(rig.stills, &QCameraImageCaptureControl::imageSaved);
        rig.stills->capture(stillPath("im.png"));
        QTRY_VERIFY((machine.kernel.deliverEven(128), saved.size() == 1));
        machine.kernel.holdControls(false);
        QTRY_COMPARE(locks->lockStatus(QCamera::LockFocus), QCamera::Locked);
        rig.control->setState(QCamera::LoadedState);
        // The focus is left as it was found.
        QTRY_VERIFY(!machine.kernel.isOpen());
        QCOMPARE(machine.kernel.control(machine.node(0), V4L2_CID_FOCUS_AUTO), 1);
    }

    void missingControlsAreNotSupported()
    {
        FakeMachine machine;
        FakeCamera camera = smallCamera();
        camera.controls[V4L2_CID_AUTO_WHITE_BALANCE] = {0, 1, 1, 0, {}};
        machine.plug(0, camera);
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        auto *const locks = rig.service->requestControl<QCameraLocksControl *>();
        QCOMPARE(locks->supportedLocks(), QCamera::LockTypes(QCamera::LockWhiteBalance));
        locks->searchAndLock(QCamera::LockFocus | QCamera::LockWhiteBalance);
        QTRY_COMPARE(locks->lockStatus(QCamera::LockWhiteBalance), QCamera::Locked);
        QTRY_COMPARE(locks->lockStatus(QCamera::LockFocus), QCamera::Unlocked);
        auto *const exposure = rig.service->requestControl<QCameraExposureControl *>();
        QVERIFY(!exposure->isParameterSupported(QCameraExposureControl::ExposureCompensation));
        machine.unplug(0);
        QTRY_COMPARE(locks->lockStatus(QCamera::LockWhiteBalance), QCamera::Unlocked);
    }

    void compensationSurvivesALoss()
    {
        FakeMachine machine;
        FakeCamera camera = smallCamera();
        camera.controls[V4L2_CID_EXPOSURE_ABSOLUTE] = {1, 1000, 100, 0, {}};
        machine.plug(0, camera);
        ServiceRig rig(machine);
        QVERIFY(rig.startAndShow(128));
        auto *const exposure = rig.service->requestControl<QCameraExposureControl *>();
        QVERIFY(exposure->setValue(QCameraExposureControl::ExposureCompensation, 1.0));
        const auto time = [&] {
            return machine.kernel.control(machine.node(0), V4L2_CID_EXPOSURE_ABSOLUTE);
        };
        QTRY_COMPARE(time(), 200);
        machine.unplug(0);
        QTRY_COMPARE(rig.errors.size(), 1);
        machine.plug(0, camera);
        QVERIFY(rig.passTimeUntilItStreams());
        QTRY_COMPARE(time(), 200);
        QVERIFY(rig.showEven(100));
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::VideoCameraTest)

#include "test_videocamera.moc"
