// What the controls of a camera service answer to callers that ask for more than Qt's own camera
// classes do.

#include "cameras/demo/picturepool.h"
#include "cameras/service/cameraservice.h"
#include "tests/cameras/framerecorder.h"
#include "tests/support/sandbox.h"
#include "tests/support/testcamera.h"
#include "tests/support/testmain.h"

#include <QSignalSpy>

using kivra::cameras::CameraService;
using kivra::cameras::PictureBuffer;
using kivra::cameras::StillRequest;
using kivra::cameras::StillWriter;
using kivra::test::FrameRecorder;
using kivra::test::Sandbox;
using kivra::test::TestCamera;

class TestControls : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Sandbox::instance().reset();
        TestCamera::instance().reset();
        TestCamera::instance().setDevices(
            {{"un", QStringLiteral("Un")}, {"deux", QStringLiteral("Deux")}});
        service = std::make_unique<CameraService>(TestCamera::instance());
    }

    void captureModes()
    {
        auto *const camera = control<QCameraControl *>();
        QSignalSpy changed(camera, &QCameraControl::captureModeChanged);
        const QCamera::CaptureModes before = camera->captureMode();
        camera->setCaptureMode(before);
        camera->setCaptureMode(QCamera::CaptureVideo);
        QCOMPARE(camera->captureMode(), before);
        QCOMPARE(changed.count(), 0);
        const QCamera::CaptureModes other = before == QCamera::CaptureStillImage
                                                ? QCamera::CaptureViewfinder
                                                : QCamera::CaptureStillImage;
        camera->setCaptureMode(other);
        QCOMPARE(camera->captureMode(), other);
        QCOMPARE(changed.count(), 1);
    }

    void onePictureARequest()
    {
        auto *const stills = control<QCameraImageCaptureControl *>();
        stills->setDriveMode(QCameraImageCapture::SingleImageCapture);
        QCOMPARE(stills->driveMode(), QCameraImageCapture::SingleImageCapture);
    }

    void devices()
    {
        auto *const selector = control<QVideoDeviceSelectorControl *>();
        QCOMPARE(selector->deviceCount(), 2);
        QCOMPARE(selector->deviceName(1), QStringLiteral("deux"));
        QCOMPARE(selector->deviceDescription(1), QStringLiteral("Deux"));
        QCOMPARE(selector->deviceDescription(2), QString());
        QCOMPARE(selector->defaultDevice(), 0);
        QCOMPARE(selector->selectedDevice(), 0);
        selector->setSelectedDevice(1);
        QCOMPARE(selector->selectedDevice(), 1);
        selector->setSelectedDevice(2);
        QCOMPARE(selector->selectedDevice(), 1);
        TestCamera::instance().setDevices({{"un", QStringLiteral("Un")}});
        QCOMPARE(selector->selectedDevice(), -1);
        QCOMPARE(selector->deviceName(-1), QString());
    }

    void anotherDeviceGoesOnAsTheOneBefore()
    {
        auto *const camera = control<QCameraControl *>();
        auto *const selector = control<QVideoDeviceSelectorControl *>();
        for (const QCamera::State state :
             {QCamera::UnloadedState, QCamera::LoadedState, QCamera::ActiveState}) {
            camera->setState(state);
            selector->setSelectedDevice(1 - selector->selectedDevice());
            QCOMPARE(camera->state(), state);
        }
    }

    void surface()
    {
        auto *const renderer = control<QVideoRendererControl *>();
        QCOMPARE(renderer->surface(), nullptr);
        FrameRecorder recorder;
        renderer->setSurface(&recorder);
        renderer->setSurface(&recorder);
        QCOMPARE(renderer->surface(), &recorder);
        renderer->setSurface(nullptr);
        QCOMPARE(renderer->surface(), nullptr);
    }

    void surfaceChangesInMidStream()
    {
        auto *const renderer = control<QVideoRendererControl *>();
        control<QCameraControl *>()->setState(QCamera::ActiveState);
        QTRY_COMPARE(control<QCameraControl *>()->status(), QCamera::ActiveStatus);
        QVERIFY(push()); // nobody looks
        FrameRecorder first;
        FrameRecorder second;
        renderer->setSurface(&first);
        QVERIFY(first.isActive());
        QVERIFY(push());
        renderer->setSurface(&second);
        QVERIFY(!first.isActive());
        QVERIFY(push());
        QVERIFY(push());
        second.stop();
        QVERIFY(push());
        renderer->setSurface(nullptr);
        TestCamera::instance().changeFormat(
            QVideoSurfaceFormat(QSize(80, 60), QVideoFrame::Format_RGB32));
        QVERIFY(push());
        QCOMPARE(first.frames, 1);
        QCOMPARE(second.frames, 2);
    }

    void slotsMayEndTheService_data()
    {
        QTest::addColumn<int>("moment");
        QTest::newRow("another camera is selected") << int(OnSelecting);
        QTest::newRow("the display starts") << int(OnStarting);
        QTest::newRow("another display is set") << int(OnSurface);
        QTest::newRow("the format changes") << int(OnFormat);
        QTest::newRow("the camera is lost") << int(OnLoss);
    }

    void slotsMayEndTheService()
    {
        QFETCH(int, moment);
        FrameRecorder recorder;
        auto *const renderer = control<QVideoRendererControl *>();
        renderer->setSurface(&recorder);
        auto *const camera = control<QCameraControl *>();
        auto *const selector = control<QVideoDeviceSelectorControl *>();
        const auto end = [this] { service.reset(); };
        if (moment == OnStarting)
            connect(&recorder, &FrameRecorder::activeChanged, this, end);
        camera->setState(QCamera::ActiveState);
        if (moment != OnStarting) {
            QTRY_COMPARE(camera->status(), QCamera::ActiveStatus);
            connect(&recorder, &FrameRecorder::activeChanged, this, end);
        }
        if (moment == OnSelecting)
            selector->setSelectedDevice(1);
        else if (moment == OnSurface)
            renderer->setSurface(nullptr);
        else if (moment == OnFormat)
            TestCamera::instance().changeFormat(
                QVideoSurfaceFormat(QSize(80, 60), QVideoFrame::Format_RGB32));
        else if (moment == OnLoss)
            TestCamera::instance().raiseError(QCamera::CameraError, QStringLiteral("Panne."),
                                              QCamera::ActiveState);
        QTRY_VERIFY(!service);
        QVERIFY(!TestCamera::instance().isOpen());
    }

    void exposure()
    {
        constexpr auto compensation = QCameraExposureControl::ExposureCompensation;
        auto *const light = control<QCameraExposureControl *>();
        bool continuous = true;
        const QVariantList steps = light->supportedParameterRange(compensation, &continuous);
        QCOMPARE(steps, (QVariantList{-2.0, -1.5, -1.0, -0.5, 0.0, 0.5, 1.0, 1.5, 2.0}));
        QVERIFY(!continuous);
        QVERIFY(light->setValue(compensation, 0.5));
        QCOMPARE(light->requestedValue(compensation), QVariant(0.5));
        QVERIFY(light->supportedParameterRange(QCameraExposureControl::ISO, nullptr).isEmpty());
        QCOMPARE(light->requestedValue(QCameraExposureControl::ISO), QVariant());
        QVERIFY(!light->setValue(QCameraExposureControl::ISO, 100));
        QVERIFY(!light->setValue(compensation, QStringLiteral("clair")));
        QCOMPARE(light->requestedValue(compensation), QVariant(0.5));
    }

    void buffersAreMappedOnceForReading()
    {
        auto picture = std::make_shared<QImage>(4, 3, QImage::Format_RGB32);
        PictureBuffer buffer(picture);
        QCOMPARE(buffer.mapMode(), QAbstractVideoBuffer::NotMapped);
        QVERIFY(!buffer.map(QAbstractVideoBuffer::WriteOnly, nullptr, nullptr));
        QVERIFY(buffer.map(QAbstractVideoBuffer::ReadOnly, nullptr, nullptr));
        QCOMPARE(buffer.mapMode(), QAbstractVideoBuffer::ReadOnly);
        QVERIFY(!buffer.map(QAbstractVideoBuffer::ReadOnly, nullptr, nullptr));
        buffer.unmap();
        QCOMPARE(buffer.mapMode(), QAbstractVideoBuffer::NotMapped);
    }

    void stillsOfAnUnknownCodec()
    {
        StillWriter writer;
        QSignalSpy failed(&writer, &StillWriter::failed);
        StillRequest request;
        request.path = Sandbox::instance().documents() + QStringLiteral("/a");
        request.codec = QStringLiteral("inconnu");
        writer.write(request, QImage(4, 3, QImage::Format_RGB32));
        QTRY_COMPARE(failed.count(), 1);
        QCOMPARE(failed.constFirst().at(1).value<QCameraImageCapture::Error>(),
                 QCameraImageCapture::FormatError);
        QVERIFY(!QFile::exists(request.path));
    }

private:
    enum Moment {
        OnSelecting,
        OnStarting,
        OnSurface,
        OnFormat,
        OnLoss,
    };

    static bool push()
    {
        return TestCamera::instance().pushPicture(QImage(64, 48, QImage::Format_RGB32));
    }

    template<typename Control>
    Control control() const
    {
        return service->requestControl<Control>();
    }

    std::unique_ptr<CameraService> service;
};

KIVRA_TEST(TestControls)
#include "test_controls.moc"
