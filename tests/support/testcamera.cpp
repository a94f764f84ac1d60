#include "tests/support/testcamera.h"

#include "cameras/service/cameraplugin.h"
#include "cameras/service/cameraservice.h"

#include <QCameraControl>
#include <QCoreApplication>
#include <QPointer>
#include <QtPlugin>
#include <utility>

namespace kivra::test {

namespace {

/// Hides the demonstration camera, which Qt would find beside the test program: a test that brings
/// its own cameras must have no others.
void hideOtherCameras()
{
    QCoreApplication::removeLibraryPath(QCoreApplication::applicationDirPath());
}
Q_COREAPP_STARTUP_FUNCTION(hideOtherCameras)

} // namespace

using cameras::Device;
using cameras::FrameSource;
using cameras::StillRequest;

/// The camera that is open; does what TestCamera says.
class TestCamera::Source : public FrameSource
{
public:
    Source(TestCamera &owner, const QByteArray &name)
        : camera(owner)
    {
        camera.source = this;
        ++camera.told.opened;
        camera.told.device = name;
    }

    ~Source() override
    {
        // Another camera may have been opened before this one was closed.
        if (camera.source == this)
            camera.source = nullptr;
        ++camera.told.closed;
    }

    QVideoSurfaceFormat format() const override { return camera.format; }
    QStringList stillCodecs() const override { return camera.stillCodecs; }
    QList<QSize> stillResolutions() const override { return camera.stillResolutions; }

    void start() override
    {
        ++camera.told.started;
        running = false;
        if (camera.startAnswer == Answer::Refuse) {
            later([this] {
                emit failed(QCamera::CameraError, camera.errorText, QCamera::UnloadedState);
            });
        } else if (camera.startAnswer != Answer::OnCall) {
            later([this] { answerStart(); });
        }
    }

    void answerStart()
    {
        running = true;
        emit started();
    }

    void stop() override
    {
        ++camera.told.stopped;
        running = false;
        lost = false;
    }

    void lose()
    {
        lost = std::exchange(running, false);
        emit failed(QCamera::CameraError, QStringLiteral("La caméra a été débranchée."),
                    QCamera::ActiveState);
    }

    void comeBack(const QByteArray &name)
    {
        camera.told.device = name;
        const QPointer<Source> alive(this);
        emit renamed(name);
        if (alive && std::exchange(lost, false))
            answerStart();
    }

    void takeStill(const StillRequest &request) override
    {
        camera.told.stills.append(request);
        switch (camera.stillAnswer) {
        case Answer::OnCall:
            break;
        case Answer::Refuse:
            later([this, request] {
                emit stillFailed(request.id, QCameraImageCapture::ResourceError, camera.errorText);
            });
            break;
        case Answer::Twice:
            later([this, request] { answerStill(request); });
            later([this, request] { answerStill(request); });
            break;
        case Answer::AtOnce:
            later([this, request] { answerStill(request); });
            break;
        }
    }

    void answerStill(const StillRequest &request)
    {
        QImage picture = camera.stillPicture;
        if (!request.resolution.isEmpty())
            picture = picture.scaled(request.resolution);
        const QPointer<Source> alive(this);
        emit stillExposed(request.id);
        if (alive)
            emit stillTaken(request.id, picture, picture);
    }

    void cancelStill() override { ++camera.told.cancelled; }
    void setExposureCompensation(double ev) override { camera.told.exposure = ev; }

    void searchLocks(QCamera::LockTypes locks) override
    {
        camera.told.locks |= locks;
        camera.told.everSearched |= locks;
        if (camera.lockAnswer != Answer::OnCall) {
            const bool found = camera.lockAnswer != Answer::Refuse;
            later([this, locks, found] { answerLocks(locks, found); });
        }
    }

    void answerLocks(QCamera::LockTypes locks, bool found)
    {
        if (!found)
            camera.told.locks &= ~locks;
        emit locksFound(locks, found);
    }

    void releaseLocks(QCamera::LockTypes locks) override { camera.told.locks &= ~locks; }

    bool running = false;
    bool lost = false; ///< while it ran, and not yet back

private:
    template<typename Function>
    void later(Function function)
    {
        QMetaObject::invokeMethod(this, function, Qt::QueuedConnection);
    }

    TestCamera &camera;
};

TestCamera::TestCamera()
{
    reset();
}

TestCamera &TestCamera::instance()
{
    static TestCamera camera;
    return camera;
}

void TestCamera::reset()
{
    const QSize size(64, 48);
    format = QVideoSurfaceFormat(size, QVideoFrame::Format_RGB32);
    stillCodecs = QStringList{QStringLiteral("jpeg"), QStringLiteral("png")};
    stillResolutions = QList<QSize>{size, size / 2};
    stillPicture = QImage(size, QImage::Format_RGB32);
    stillPicture.fill(Qt::gray);
    errorText = QStringLiteral("La caméra d'essai refuse.");
    startAnswer = stillAnswer = lockAnswer = Answer::AtOnce;
    offeredService = Service::Whole;
    told = {};
    setDevices({{"essai", QStringLiteral("Caméra d'essai")}});
}

void TestCamera::setDevices(const QList<Device> &devices)
{
    offered = devices;
    emit devicesChanged();
}

void TestCamera::setService(Service next)
{
    offeredService = next;
}

void TestCamera::setFormat(const QVideoSurfaceFormat &next)
{
    format = next;
}

void TestCamera::setStillCodecs(const QStringList &codecs)
{
    stillCodecs = codecs;
}

void TestCamera::setStillResolutions(const QList<QSize> &sizes)
{
    stillResolutions = sizes;
}

void TestCamera::setStillPicture(const QImage &picture)
{
    stillPicture = picture;
}

void TestCamera::setStartAnswer(Answer answer)
{
    startAnswer = answer;
}

void TestCamera::setStillAnswer(Answer answer)
{
    stillAnswer = answer;
}

void TestCamera::setLockAnswer(Answer answer)
{
    lockAnswer = answer;
}

void TestCamera::setErrorText(const QString &text)
{
    errorText = text;
}

bool TestCamera::pushFrame(const QVideoFrame &frame)
{
    if (!isRunning())
        return false;
    emit source->frameReady(frame);
    return true;
}

bool TestCamera::pushPicture(const QImage &picture)
{
    return pushFrame(QVideoFrame(picture));
}

void TestCamera::changeFormat(const QVideoSurfaceFormat &next)
{
    format = next;
    if (source)
        emit source->formatChanged();
}

void TestCamera::answerStart()
{
    if (source)
        source->answerStart();
}

void TestCamera::answerStill()
{
    if (source && !told.stills.isEmpty())
        source->answerStill(told.stills.last());
}

void TestCamera::exposeStill()
{
    if (source && !told.stills.isEmpty())
        emit source->stillExposed(told.stills.last().id);
}

void TestCamera::raiseSaved(int id, const QString &path)
{
    if (source)
        emit source->stillSaved(id, path);
}

void TestCamera::raiseStillError(int id, QCameraImageCapture::Error error, const QString &text)
{
    if (source)
        emit source->stillFailed(id, error, text);
}

void TestCamera::answerLocks(bool found)
{
    if (source)
        source->answerLocks(told.locks, found);
}

void TestCamera::raiseError(QCamera::Error error, const QString &text, QCamera::State state)
{
    if (source)
        emit source->failed(error, text, state);
}

void TestCamera::remove(const QByteArray &name)
{
    QList<Device> rest;
    for (const Device &device : qAsConst(offered)) {
        if (device.name != name)
            rest.append(device);
    }
    setDevices(rest);
}

void TestCamera::unplug(const QByteArray &name)
{
    remove(name);
    if (source && told.device == name)
        raiseError(QCamera::CameraError, QStringLiteral("La caméra a été débranchée."),
                   QCamera::UnloadedState);
}

void TestCamera::lose(const QByteArray &name)
{
    remove(name);
    if (source && told.device == name)
        source->lose();
}

void TestCamera::bringBack(const Device &device)
{
    setDevices(offered + QList<Device>{device});
    if (source)
        source->comeBack(device.name);
}

const TestCamera::Record &TestCamera::record() const
{
    return told;
}

bool TestCamera::isOpen() const
{
    return source != nullptr;
}

bool TestCamera::isRunning() const
{
    return source && source->running;
}

QList<Device> TestCamera::devices() const
{
    return offered;
}

std::unique_ptr<FrameSource> TestCamera::open(const QByteArray &name)
{
    for (const Device &device : qAsConst(offered)) {
        if (device.name == name)
            return std::make_unique<Source>(*this, name);
    }
    return nullptr;
}

/// A camera that shows a live picture but takes no stills.
class Viewfinder : public cameras::CameraService
{
public:
    using CameraService::CameraService;

    QMediaControl *requestControl(const char *name) override
    {
        const bool still = qstrcmp(name, QCameraImageCaptureControl_iid) == 0;
        return still ? nullptr : CameraService::requestControl(name);
    }
};

/// A camera whose device fails while it is let go.
class LateComplainer : public cameras::CameraService
{
public:
    using CameraService::CameraService;

    void releaseControl(QMediaControl *control) override
    {
        if (qobject_cast<QCameraControl *>(control))
            TestCamera::instance().raiseError(QCamera::CameraError, QStringLiteral("Trop tard."));
        CameraService::releaseControl(control);
    }
};

/// The plug-in by which Qt finds the test's cameras.
class TestCameraPlugin : public cameras::CameraPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QMediaServiceProviderFactoryInterface_iid FILE "testcamera.json")

public:
    TestCameraPlugin()
        : CameraPlugin(TestCamera::instance())
    {
    }

    QMediaService *create(const QString &key) override
    {
        TestCamera &camera = TestCamera::instance();
        switch (camera.service()) {
        case TestCamera::Service::WithoutStills:
            return new Viewfinder(camera);
        case TestCamera::Service::None:
            return nullptr;
        case TestCamera::Service::FailsAtTheEnd:
            return new LateComplainer(camera);
        case TestCamera::Service::Whole:
            break;
        }
        return CameraPlugin::create(key);
    }
};

} // namespace kivra::test

#include "testcamera.moc"

Q_IMPORT_PLUGIN(TestCameraPlugin)
