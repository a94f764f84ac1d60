#include "cameras/service/cameraservice.h"
#include "tests/cameras/framerecorder.h"
#include "tests/support/sandbox.h"
#include "tests/support/testcamera.h"
#include "tests/support/testmain.h"

#include <QAbstractVideoBuffer>
#include <QCameraExposure>
#include <QCameraImageCapture>
#include <QCameraInfo>
#include <QSignalSpy>
#include <memory>

namespace kivra::test {

namespace {

using Answer = TestCamera::Answer;

TestCamera &device()
{
    return TestCamera::instance();
}

QString inDocuments(const char *name)
{
    return Sandbox::instance().documents() + QLatin1Char('/') + QLatin1String(name);
}

QImage evenPicture(const QColor &colour, QSize size = {64, 48})
{
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(colour);
    return picture;
}

/// A frame that cannot be mapped.
class LockedBuffer : public QAbstractVideoBuffer
{
public:
    LockedBuffer()
        : QAbstractVideoBuffer(NoHandle)
    {
    }
    MapMode mapMode() const override { return NotMapped; }
    uchar *map(MapMode, int *, int *) override { return nullptr; }
    void unmap() override {}
};

/// A camera with its capture and a surface, as a window has it.
struct Rig
{
    explicit Rig(const char *name = "essai")
        : camera(std::make_unique<QCamera>(QByteArray(name)))
        , capture(std::make_unique<QCameraImageCapture>(camera.get()))
    {
        camera->setViewfinder(&surface);
    }
    ~Rig() { close(); }

    void close()
    {
        capture.reset();
        camera.reset();
    }

    bool start()
    {
        camera->start();
        return QTest::qWaitFor([this] { return camera->status() == QCamera::ActiveStatus; });
    }

    FrameRecorder surface;
    std::unique_ptr<QCamera> camera;
    std::unique_ptr<QCameraImageCapture> capture;
};

struct CaptureErrors : QSignalSpy
{
    explicit CaptureErrors(const Rig &rig)
        : QSignalSpy(rig.capture.get(),
                     QOverload<int, QCameraImageCapture::Error, const QString &>::of(
                         &QCameraImageCapture::error))
    {
    }
};

} // namespace

class TestCameraTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Sandbox::instance().reset();
        device().reset();
    }

    void cleanup()
    {
        QVERIFY(!device().isOpen());
        QCOMPARE(device().record().opened, device().record().closed);
    }

    void devicesAreTheTestsAlone()
    {
        const QList<QCameraInfo> found = QCameraInfo::availableCameras();
        QCOMPARE(found.size(), 1);
        QCOMPARE(found.first().deviceName(), QStringLiteral("essai"));
        QCOMPARE(found.first().description(), QStringLiteral("Caméra d'essai"));
        device().setDevices({{"b", QStringLiteral("Bé")}, {"a", QStringLiteral("À")}});
        QCOMPARE(QCameraInfo::availableCameras().size(), 2);
        QCOMPARE(QCameraInfo::defaultCamera().deviceName(), QStringLiteral("b"));
        device().setDevices({});
        QVERIFY(QCameraInfo::availableCameras().isEmpty());
    }

    void withoutADeviceAnErrorIsReported()
    {
        device().setDevices({});
        Rig rig;
        rig.camera->start();
        QCOMPARE(rig.camera->error(), QCamera::ServiceMissingError);

        // Qt itself stops there; the service must hold without a device all the same.
        cameras::CameraService service(device());
        auto *control = service.requestControl<QCameraControl *>();
        QSignalSpy errors(control, &QCameraControl::error);
        control->setState(QCamera::ActiveState);
        QTRY_COMPARE(errors.size(), 1);
        QCOMPARE(errors.first().first().toInt(), int(QCamera::ServiceMissingError));
        QVERIFY(errors.first().last().toString().startsWith(
            QStringLiteral("Aucune caméra n'est branchée.")));
        QCOMPARE(control->state(), QCamera::ActiveState);
        QCOMPARE(control->status(), QCamera::StartingStatus); // until the first device comes

        auto *settings = service.requestControl<QImageEncoderControl *>();
        QVERIFY(settings->supportedImageCodecs().isEmpty());
        QVERIFY(settings->supportedResolutions({}, nullptr).isEmpty());
        auto *stills = service.requestControl<QCameraImageCaptureControl *>();
        QSignalSpy stillErrors(stills, &QCameraImageCaptureControl::error);
        stills->capture(inDocuments("im.jpg"));
        QVERIFY(stillErrors.wait());
        stills->cancelCapture();
        auto *locks = service.requestControl<QCameraLocksControl *>();
        locks->searchAndLock(QCamera::LockFocus);
        locks->unlock(QCamera::LockFocus);
        auto *selector = service.requestControl<QVideoDeviceSelectorControl *>();
        QCOMPARE(selector->deviceCount(), 0);
        QCOMPARE(selector->deviceName(0), QString());
        selector->setSelectedDevice(0);

        device().setDevices({{"neuve", QStringLiteral("Neuve")}});
        selector->setSelectedDevice(0);
        control->setState(QCamera::ActiveState);
        QTRY_COMPARE(control->status(), QCamera::ActiveStatus);
    }

    void devicesComeAndGo()
    {
        Rig rig;
        QVERIFY(rig.start());
        device().setDevices({{"autre", QStringLiteral("Autre")}});
        // The open device goes on, although the list no longer names it.
        QVERIFY(device().pushPicture(evenPicture(Qt::red)));
        QCOMPARE(rig.surface.frames, 1);
    }

    void choosesTheDeviceByName()
    {
        device().setDevices({{"a", QStringLiteral("A")}, {"b", QStringLiteral("B")}});
        {
            const Rig second("b");
            QCOMPARE(device().record().device, QByteArray("b"));
        }
        const Rig unknown("c");
        QCOMPARE(device().record().device, QByteArray("a"));
    }

    void pushedFrameArrivesAsItIs()
    {
        Rig rig;
        QVERIFY(rig.start());
        QVERIFY(rig.surface.isActive());
        QCOMPARE(rig.surface.surfaceFormat().frameSize(), QSize(64, 48));
        const QImage picture = evenPicture(Qt::red);
        QVERIFY(device().pushPicture(picture));
        QCOMPARE(rig.surface.picture(), picture);

        // A driver may deliver another size than it announced.
        const QImage larger = evenPicture(Qt::blue, {80, 60});
        QVERIFY(device().pushPicture(larger));
        QCOMPARE(rig.surface.picture(), larger);
        QCOMPARE(rig.surface.starts, 1);

        rig.camera->stop();
        QVERIFY(!rig.surface.isActive());
        QCOMPARE(device().record().stopped, 1);
    }

    void framesNeedARunningCamera()
    {
        QVERIFY(!device().pushPicture(evenPicture(Qt::red)));
        Rig rig;
        QVERIFY(!device().pushPicture(evenPicture(Qt::red)));
        rig.camera->load();
        QCOMPARE(rig.camera->status(), QCamera::LoadedStatus);
        QVERIFY(!device().pushPicture(evenPicture(Qt::red)));
        QVERIFY(rig.start());
        rig.camera->stop();
        QVERIFY(!device().pushPicture(evenPicture(Qt::red)));
        QCOMPARE(rig.surface.frames, 0);
    }

    void unmappableAndEmptyFramesPassThrough()
    {
        Rig rig;
        QVERIFY(rig.start());
        QVERIFY(device().pushFrame(
            QVideoFrame(new LockedBuffer, QSize(64, 48), QVideoFrame::Format_RGB32)));
        QVERIFY(!rig.surface.lastFrame.map(QAbstractVideoBuffer::ReadOnly));
        QVERIFY(device().pushFrame(QVideoFrame()));
        QVERIFY(!rig.surface.lastFrame.isValid());
        QVERIFY(device().pushFrame(QVideoFrame(0, QSize(0, 0), 0, QVideoFrame::Format_RGB32)));
        // None of them stopped the camera.
        QVERIFY(device().pushPicture(evenPicture(Qt::green)));
        QCOMPARE(rig.surface.frames, 4);
        QCOMPARE(rig.camera->status(), QCamera::ActiveStatus);
    }

    void changedFormatRestartsTheSurface()
    {
        Rig rig;
        QVERIFY(rig.start());
        device().changeFormat(QVideoSurfaceFormat(QSize(80, 60), QVideoFrame::Format_ARGB32));
        QVERIFY(rig.surface.isActive());
        QCOMPARE(rig.surface.starts, 2);
        QCOMPARE(rig.surface.stops, 1);
        QCOMPARE(rig.surface.surfaceFormat().frameSize(), QSize(80, 60));
        QCOMPARE(rig.surface.surfaceFormat().pixelFormat(), QVideoFrame::Format_ARGB32);
    }

    void surfaceThatRefusesTheFormatIsAnError()
    {
        Rig rig;
        rig.surface.refuseStart = true;
        QSignalSpy errors(rig.camera.get(), &QCamera::errorOccurred);
        rig.camera->start();
        QVERIFY(errors.wait());
        QCOMPARE(rig.camera->errorString(),
                 QStringLiteral("L'affichage refuse le format d'image de la caméra."));
        QCOMPARE(rig.camera->status(), QCamera::LoadedStatus);

        rig.surface.refuseStart = false;
        QVERIFY(rig.start());
        rig.surface.refuseStart = true;
        device().changeFormat(QVideoSurfaceFormat(QSize(80, 60), QVideoFrame::Format_RGB32));
        QCOMPARE(errors.size(), 2);
        QCOMPARE(rig.camera->status(), QCamera::LoadedStatus);
    }

    void startIsAnsweredOnCall()
    {
        device().setStartAnswer(Answer::OnCall);
        Rig rig;
        rig.camera->start();
        QCoreApplication::processEvents();
        QCOMPARE(rig.camera->state(), QCamera::ActiveState);
        QCOMPARE(rig.camera->status(), QCamera::StartingStatus);
        QVERIFY(!device().isRunning());
        device().answerStart();
        QCOMPARE(rig.camera->status(), QCamera::ActiveStatus);
        QVERIFY(device().isRunning());
    }

    void stopBeforeTheAnswer()
    {
        Rig rig;
        rig.camera->start();
        rig.camera->stop();
        QCoreApplication::processEvents();
        QCOMPARE(rig.camera->status(), QCamera::LoadedStatus);
        QCOMPARE(device().record().stopped, 1);
        QCOMPARE(rig.surface.starts, 0);
    }

    void refusedStartUnloadsAndTells()
    {
        device().setStartAnswer(Answer::Refuse);
        device().setErrorText(QStringLiteral("La caméra est occupée."));
        Rig rig;
        QSignalSpy errors(rig.camera.get(), &QCamera::errorOccurred);
        rig.camera->start();
        QVERIFY(errors.isEmpty());
        QVERIFY(errors.wait());
        QCOMPARE(rig.camera->error(), QCamera::CameraError);
        QCOMPARE(rig.camera->errorString(), QStringLiteral("La caméra est occupée."));
        QCOMPARE(rig.camera->state(), QCamera::UnloadedState);
        QCOMPARE(rig.camera->status(), QCamera::UnloadedStatus);

        device().setStartAnswer(Answer::AtOnce);
        QVERIFY(rig.start());
    }

    void errorInMidStreamStops()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy errors(rig.camera.get(), &QCamera::errorOccurred);
        device().raiseError(QCamera::InvalidRequestError, QStringLiteral("Flux interrompu."));
        QCOMPARE(errors.size(), 1);
        QCOMPARE(rig.camera->error(), QCamera::InvalidRequestError);
        QCOMPARE(rig.camera->state(), QCamera::LoadedState);
        QVERIFY(!rig.surface.isActive());
        QVERIFY(!device().isRunning());
    }

    void unpluggedCameraIsUnloaded()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy errors(rig.camera.get(), &QCamera::errorOccurred);
        device().unplug("essai");
        QCOMPARE(errors.size(), 1);
        QCOMPARE(rig.camera->errorString(), QStringLiteral("La caméra a été débranchée."));
        QCOMPARE(rig.camera->status(), QCamera::UnloadedStatus);
        QVERIFY(QCameraInfo::availableCameras().isEmpty());
    }

    void errorComesWhenStatesAgree()
    {
        Rig rig;
        QVERIFY(rig.start());
        QCamera::State state = QCamera::ActiveState;
        QCamera::Status status = QCamera::ActiveStatus;
        connect(rig.camera.get(), &QCamera::errorOccurred, this, [&] {
            state = rig.camera->state();
            status = rig.camera->status();
        });
        device().raiseError(QCamera::CameraError, QStringLiteral("Panne."), QCamera::UnloadedState);
        QCOMPARE(state, QCamera::UnloadedState);
        QCOMPARE(status, QCamera::UnloadedStatus);
    }

    void slotsMayEndTheCamera()
    {
        {
            Rig rig;
            QVERIFY(rig.start());
            connect(&rig.surface, &FrameRecorder::presented, this, [&] { rig.close(); });
            device().pushPicture(evenPicture(Qt::red));
            QVERIFY(!device().isOpen());
        }
        {
            Rig rig;
            QVERIFY(rig.start());
            connect(
                rig.camera.get(), &QCamera::stateChanged, this, [&] { rig.close(); },
                Qt::QueuedConnection);
            device().raiseError(QCamera::CameraError, QStringLiteral("Panne."));
            QTRY_VERIFY(!device().isOpen());
        }
        {
            Rig rig;
            QVERIFY(rig.start());
            connect(
                rig.capture.get(), &QCameraImageCapture::imageSaved, this, [&] { rig.close(); },
                Qt::QueuedConnection);
            rig.capture->capture(inDocuments("im.jpg"));
            QTRY_VERIFY(!device().isOpen());
        }
    }

    void slotsMayChangeTheState()
    {
        Rig rig;
        QVERIFY(rig.start());
        // A stop during a frame ends the frames at once.
        const auto stopAtOnce =
            connect(&rig.surface, &FrameRecorder::presented, this, [&] { rig.camera->stop(); });
        device().pushPicture(evenPicture(Qt::red));
        QVERIFY(!device().pushPicture(evenPicture(Qt::red)));
        QCOMPARE(rig.camera->status(), QCamera::LoadedStatus);
        disconnect(stopAtOnce);

        // A start during a stop wins.
        QVERIFY(rig.start());
        const auto startAgain =
            connect(rig.camera.get(), &QCamera::statusChanged, this, [&](QCamera::Status status) {
                if (status == QCamera::StoppingStatus)
                    rig.camera->start();
            });
        rig.camera->stop();
        QTRY_COMPARE(rig.camera->status(), QCamera::ActiveStatus);
        QVERIFY(device().isRunning());
        disconnect(startAgain);
    }

    void stillRequestTellsEverything()
    {
        Rig rig;
        QVERIFY(rig.start());
        QImageEncoderSettings settings;
        settings.setCodec(QStringLiteral("PNG"));
        settings.setResolution(32, 24);
        settings.setQuality(QMultimedia::VeryHighQuality);
        rig.capture->setEncodingSettings(settings);
        QSignalSpy saved(rig.capture.get(), &QCameraImageCapture::imageSaved);
        const QString path = inDocuments("im.jpg");
        const int id = rig.capture->capture(path);
        // Later settings apply only to later pictures.
        rig.capture->setEncodingSettings({});
        QVERIFY(saved.wait());
        QCOMPARE(saved.first(), (QVariantList{id, path}));
        QCOMPARE(device().record().stills.size(), 1);
        const cameras::StillRequest request = device().record().stills.first();
        QCOMPARE(request.id, id);
        QCOMPARE(request.path, path);
        QCOMPARE(request.codec, QStringLiteral("png"));
        QCOMPARE(request.resolution, QSize(32, 24));
        QCOMPARE(request.quality, QMultimedia::VeryHighQuality);
        QCOMPARE(QImage(path, "png").size(), QSize(32, 24));
    }

    void stillsWaitTheirTurn()
    {
        device().setStillAnswer(Answer::OnCall);
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(rig.capture.get(), &QCameraImageCapture::imageSaved);
        rig.capture->capture(inDocuments("1.jpg"));
        rig.capture->capture(inDocuments("2.jpg"));
        QTRY_COMPARE(device().record().stills.size(), 1);
        device().answerStill();
        // The second is taken only when the first is on the disk.
        QCOMPARE(device().record().stills.size(), 1);
        QVERIFY(saved.wait());
        QTRY_COMPARE(device().record().stills.size(), 2);
        device().answerStill();
        QVERIFY(saved.wait());
    }

    void tooManyStillsAreRefused()
    {
        device().setStillAnswer(Answer::OnCall);
        Rig rig;
        QVERIFY(rig.start());
        CaptureErrors errors(rig);
        for (int i = 0; i < 4; ++i)
            rig.capture->capture(inDocuments("im.jpg"));
        const int fifth = rig.capture->capture(inDocuments("im.jpg"));
        QVERIFY(errors.wait());
        QCOMPARE(errors.size(), 1);
        QCOMPARE(errors.first().first().toInt(), fifth);
        QCOMPARE(rig.capture->error(), QCameraImageCapture::NotReadyError);
    }

    void refusedStillIsAnError()
    {
        device().setStillAnswer(Answer::Refuse);
        device().setErrorText(QStringLiteral("Pas de lumière."));
        Rig rig;
        QVERIFY(rig.start());
        CaptureErrors errors(rig);
        const int id = rig.capture->capture(inDocuments("im.jpg"));
        QVERIFY(errors.wait());
        QCOMPARE(errors.first().first().toInt(), id);
        QCOMPARE(rig.capture->errorString(), QStringLiteral("Pas de lumière."));
        QVERIFY(rig.capture->isReadyForCapture());
    }

    void stillAnsweredOnCall()
    {
        device().setStillAnswer(Answer::OnCall);
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy exposed(rig.capture.get(), &QCameraImageCapture::imageExposed);
        QSignalSpy captured(rig.capture.get(), &QCameraImageCapture::imageCaptured);
        QSignalSpy saved(rig.capture.get(), &QCameraImageCapture::imageSaved);
        rig.capture->capture(inDocuments("im.jpg"));
        QTRY_COMPARE(device().record().stills.size(), 1);
        device().exposeStill();
        QCOMPARE(exposed.size(), 1);
        QCOMPARE(captured.size(), 0);
        QVERIFY(!rig.capture->isReadyForCapture());
        device().answerStill();
        QCOMPARE(captured.size(), 1);
        QVERIFY(saved.wait());
        QVERIFY(rig.capture->isReadyForCapture());
    }

    void stillAnsweredTwice()
    {
        device().setStillAnswer(Answer::Twice);
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(rig.capture.get(), &QCameraImageCapture::imageSaved);
        const int id = rig.capture->capture(inDocuments("im.jpg"));
        QTRY_COMPARE(saved.size(), 2);
        QCOMPARE(saved.at(0).first().toInt(), id);
        QCOMPARE(saved.at(1).first().toInt(), id);
        QVERIFY(rig.capture->isReadyForCapture());
    }

    void deviceMaySaveByItself()
    {
        device().setStillAnswer(Answer::OnCall);
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(rig.capture.get(), &QCameraImageCapture::imageSaved);
        const int id = rig.capture->capture(inDocuments("im.jpg"));
        QTRY_COMPARE(device().record().stills.size(), 1);
        device().raiseSaved(77, inDocuments("autre.jpg"));
        QCOMPARE(saved.size(), 1);
        QVERIFY(!rig.capture->isReadyForCapture());
        device().raiseSaved(id, inDocuments("im.jpg"));
        QCOMPARE(saved.size(), 2);
        QVERIFY(rig.capture->isReadyForCapture());
    }

    void raisedStillErrorReachesTheCapture()
    {
        Rig rig;
        QVERIFY(rig.start());
        CaptureErrors errors(rig);
        device().raiseStillError(5, QCameraImageCapture::OutOfSpaceError,
                                 QStringLiteral("Disque plein."));
        QCOMPARE(errors.size(), 1);
        QCOMPARE(rig.capture->error(), QCameraImageCapture::OutOfSpaceError);
        QCOMPARE(rig.capture->errorString(), QStringLiteral("Disque plein."));
    }

    void cancelReachesTheDevice()
    {
        device().setStillAnswer(Answer::OnCall);
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy captured(rig.capture.get(), &QCameraImageCapture::imageCaptured);
        rig.capture->capture(inDocuments("im.jpg"));
        QTRY_COMPARE(device().record().stills.size(), 1);
        rig.capture->cancelCapture();
        QCOMPARE(device().record().cancelled, 1);
        QVERIFY(rig.capture->isReadyForCapture());
        // The late answer belongs to no request.
        device().answerStill();
        QCOMPARE(captured.size(), 0);
    }

    void cancelDuringTheWriting()
    {
        device().setStillAnswer(Answer::OnCall);
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(rig.capture.get(), &QCameraImageCapture::imageSaved);
        rig.capture->capture(inDocuments("1.jpg"));
        QTRY_COMPARE(device().record().stills.size(), 1);
        device().answerStill();
        rig.capture->cancelCapture();
        // The writer takes one after the other: once the second is saved, the first is over.
        const int second = rig.capture->capture(inDocuments("2.jpg"));
        QTRY_COMPARE(device().record().stills.size(), 2);
        device().answerStill();
        QVERIFY(saved.wait());
        QCOMPARE(saved.size(), 1);
        QCOMPARE(saved.first().first().toInt(), second);
    }

    void cameraWithoutCodecsOrSizes()
    {
        device().setStillCodecs({});
        device().setStillResolutions({});
        Rig rig;
        QVERIFY(rig.start());
        QVERIFY(rig.capture->supportedImageCodecs().isEmpty());
        QVERIFY(rig.capture->supportedResolutions().isEmpty());
        CaptureErrors errors(rig);
        rig.capture->capture(inDocuments("im.jpg"));
        QVERIFY(errors.wait());
        QCOMPARE(rig.capture->error(), QCameraImageCapture::FormatError);

        // A device that names no sizes takes pictures in the one that it has.
        device().setStillCodecs({QStringLiteral("jpeg")});
        QSignalSpy saved(rig.capture.get(), &QCameraImageCapture::imageSaved);
        rig.capture->capture(inDocuments("im.jpg"));
        QVERIFY(saved.wait());
        QCOMPARE(QImage(inDocuments("im.jpg")).size(), QSize(64, 48));
    }

    void endDuringAStill()
    {
        device().setStillAnswer(Answer::OnCall);
        Rig rig;
        QVERIFY(rig.start());
        rig.capture->capture(inDocuments("im.jpg"));
        QTRY_COMPARE(device().record().stills.size(), 1);
        rig.camera.reset();
        QVERIFY(!device().isOpen());
        device().answerStill();
        rig.close();
        QVERIFY(!QFile::exists(inDocuments("im.jpg")));
    }

    void locksByAnswer()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy failed(rig.camera.get(), &QCamera::lockFailed);
        device().setLockAnswer(Answer::Refuse);
        rig.camera->searchAndLock();
        QVERIFY(failed.wait());
        QCOMPARE(rig.camera->lockStatus(), QCamera::Unlocked);

        device().setLockAnswer(Answer::OnCall);
        rig.camera->searchAndLock(QCamera::LockFocus);
        QCOMPARE(device().record().locks, QCamera::LockTypes(QCamera::LockFocus));
        QCOMPARE(rig.camera->lockStatus(QCamera::LockFocus), QCamera::Searching);
        device().answerLocks();
        QCOMPARE(rig.camera->lockStatus(QCamera::LockFocus), QCamera::Locked);
        QCOMPARE(rig.camera->lockStatus(QCamera::LockExposure), QCamera::Unlocked);
        rig.camera->unlock();
        QCOMPARE(device().record().locks, QCamera::LockTypes(QCamera::NoLock));
        QCOMPARE(rig.camera->lockStatus(), QCamera::Unlocked);
    }

    void exposureReachesTheDevice()
    {
        Rig rig;
        rig.camera->exposure()->setExposureCompensation(-1.5);
        QCOMPARE(device().record().exposure, -1.5);
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::TestCameraTest)

#include "test_testcamera.moc"
