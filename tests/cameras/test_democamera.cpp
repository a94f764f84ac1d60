#include "tests/cameras/framerecorder.h"
#include "tests/support/patience.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <QCamera>
#include <QCameraExposure>
#include <QCameraImageCapture>
#include <QCameraInfo>
#include <QDir>
#include <QImageReader>
#include <QMediaService>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <algorithm>
#include <memory>

namespace kivra::test {

namespace {

/// A demonstration device with a surface, as a window has it.
struct Rig
{
    explicit Rig(const char *device = "demo:texte")
        : camera(QByteArray(device))
        , capture(&camera)
    {
        camera.setViewfinder(&surface);
    }

    bool start()
    {
        QSignalSpy presented(&surface, &FrameRecorder::presented);
        camera.start();
        return presented.wait(patienceMs) && camera.status() == QCamera::ActiveStatus;
    }

    bool waitForFrames(int count)
    {
        const int wanted = surface.frames + count;
        return QTest::qWaitFor([&] { return surface.frames >= wanted; }, patienceMs);
    }

    FrameRecorder surface;
    QCamera camera;
    QCameraImageCapture capture;
};

bool isOpaque(const QImage &picture)
{
    const auto *const words = reinterpret_cast<const QRgb *>(picture.constBits());
    return std::all_of(words, words + picture.sizeInBytes() / 4,
                       [](QRgb word) { return qAlpha(word) == 255; });
}

double meanBrightness(const QImage &picture)
{
    double sum = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            sum += qGray(picture.pixel(x, y));
    }
    return sum / picture.width() / picture.height();
}

QString inDocuments(const char *name)
{
    return Sandbox::instance().documents() + QLatin1Char('/') + QLatin1String(name);
}

template<typename Status>
QList<Status> firstArguments(const QSignalSpy &spy)
{
    QList<Status> values;
    for (const QVariantList &arguments : spy)
        values.append(arguments.first().value<Status>());
    return values;
}

} // namespace

class DemoCameraTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qRegisterMetaType<QCamera::LockType>();
        QCoreApplication::addLibraryPath(kivra::test::besideTheProgram());
    }

    void init()
    {
        Sandbox::instance().reset();
        qputenv("KIVRA_DEMO_SIZE", "320x180");
        qunsetenv("KIVRA_DEMO_RATE");
        qunsetenv("KIVRA_DEMO_FOLDER");
    }

    void listsFourDevicesInOrder()
    {
        QStringList names;
        QStringList descriptions;
        for (const QCameraInfo &info : QCameraInfo::availableCameras()) {
            names.append(info.deviceName());
            descriptions.append(info.description());
        }
        QCOMPARE(names,
                 (QStringList{"demo:texte", "demo:manuscrit", "demo:tableau", "demo:eclairage"}));
        QCOMPARE(descriptions,
                 (QStringList{QStringLiteral("Démonstration : page imprimée"),
                              QStringLiteral("Démonstration : page manuscrite"),
                              QStringLiteral("Démonstration : tableau vert"),
                              QStringLiteral("Démonstration : éclairage difficile")}));
        QCOMPARE(QCameraInfo::defaultCamera().deviceName(), QStringLiteral("demo:texte"));
    }

    void statesAndStatusesComeInOrder()
    {
        Rig rig;
        QSignalSpy states(&rig.camera, &QCamera::stateChanged);
        QSignalSpy statuses(&rig.camera, &QCamera::statusChanged);
        QCOMPARE(rig.camera.state(), QCamera::UnloadedState);
        QCOMPARE(rig.camera.status(), QCamera::UnloadedStatus);

        rig.camera.start();
        // The device has not answered yet: the state is already the requested one, the status is
        // not.
        QCOMPARE(rig.camera.state(), QCamera::ActiveState);
        QCOMPARE(rig.camera.status(), QCamera::StartingStatus);
        QVERIFY(!rig.surface.isActive());
        QTRY_COMPARE(rig.camera.status(), QCamera::ActiveStatus);
        QVERIFY(rig.surface.isActive());
        rig.camera.stop();
        QVERIFY(!rig.surface.isActive());
        rig.camera.unload();

        QCOMPARE(firstArguments<QCamera::State>(states),
                 (QList<QCamera::State>{QCamera::ActiveState, QCamera::LoadedState,
                                        QCamera::UnloadedState}));
        QCOMPARE(firstArguments<QCamera::Status>(statuses),
                 (QList<QCamera::Status>{QCamera::LoadingStatus, QCamera::LoadedStatus,
                                         QCamera::StartingStatus, QCamera::ActiveStatus,
                                         QCamera::StoppingStatus, QCamera::LoadedStatus,
                                         QCamera::UnloadingStatus, QCamera::UnloadedStatus}));
    }

    void framesArriveAndChange_data()
    {
        QTest::addColumn<QByteArray>("device");
        for (const char *name : {"demo:texte", "demo:manuscrit", "demo:tableau", "demo:eclairage"})
            QTest::newRow(name) << QByteArray(name);
    }

    void framesArriveAndChange()
    {
        QFETCH(QByteArray, device);
        qunsetenv("KIVRA_DEMO_SIZE");
        Rig rig(device.constData());
        QVERIFY(rig.start());
        const QImage first = rig.surface.picture();
        QVERIFY(rig.waitForFrames(3));
        const QImage later = rig.surface.picture();
        QCOMPARE(first.size(), QSize(1280, 720));
        QCOMPARE(rig.surface.surfaceFormat().frameSize(), QSize(1280, 720));
        QCOMPARE(rig.surface.surfaceFormat().pixelFormat(), QVideoFrame::Format_RGB32);
        QCOMPARE(rig.surface.surfaceFormat().frameRate(), 30.0);
        QVERIFY(first != later);
        QVERIFY(rig.surface.onOwnThread);
        QCOMPARE(rig.surface.starts, 1);
        QVERIFY(isOpaque(first));
        // A camera never sees one even colour.
        QVERIFY(first.copy(0, 0, 640, 360) != first.copy(640, 360, 640, 360));
    }

    void stoppedCameraDeliversNothing()
    {
        Rig rig;
        QVERIFY(rig.start());
        rig.camera.stop();
        const int frames = rig.surface.frames;
        Rig running;
        QVERIFY(running.start());
        QVERIFY(running.waitForFrames(5)); // enough time for a frame of the first one
        QCOMPARE(rig.surface.frames, frames);
    }

    void startsAgainAfterStop()
    {
        Rig rig;
        QVERIFY(rig.start());
        rig.camera.stop();
        QVERIFY(rig.start());
        QCOMPARE(rig.surface.starts, 2);
    }

    void anotherDeviceShowsAnotherPicture()
    {
        Rig page("demo:texte");
        Rig board("demo:tableau");
        QVERIFY(page.start());
        QVERIFY(board.start());
        const QColor paper = page.surface.picture().pixelColor(160, 170);
        const QColor chalkboard = board.surface.picture().pixelColor(200, 60);
        QVERIFY(paper.lightness() > 180);
        QVERIFY(chalkboard.green() > chalkboard.red() + 20);
    }

    void surfaceCanBeChangedWhileRunning()
    {
        FrameRecorder other;
        Rig rig;
        QVERIFY(rig.start());
        rig.camera.setViewfinder(&other);
        QVERIFY(!rig.surface.isActive());
        QTRY_VERIFY(other.frames > 0);
        QCOMPARE(rig.camera.state(), QCamera::ActiveState);
    }

    void twoHundredStartsAndStops()
    {
        qputenv("KIVRA_DEMO_SIZE", "160x120");
        Rig rig;
        for (int i = 0; i < 100; ++i) {
            rig.camera.start();
            rig.camera.stop();
            QVERIFY(rig.start());
            rig.camera.stop();
        }
        QCOMPARE(rig.camera.status(), QCamera::LoadedStatus);
        QCOMPARE(rig.surface.starts, rig.surface.stops);
    }

    void environmentSetsTheSize_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("good");
        QTest::newRow("full HD") << QByteArray("1920x1080") << QSize(1920, 1080) << true;
        QTest::newRow("largest") << QByteArray("3840x2160") << QSize(3840, 2160) << true;
        QTest::newRow("smallest") << QByteArray("160x120") << QSize(160, 120) << true;
        QTest::newRow("odd") << QByteArray("641x363") << QSize(641, 363) << true;
        const QSize fallback(1280, 720);
        QTest::newRow("not set") << QByteArray("") << fallback << true;
        QTest::newRow("too wide") << QByteArray("3841x2160") << fallback << false;
        QTest::newRow("too small") << QByteArray("160x119") << fallback << false;
        QTest::newRow("no size") << QByteArray("grand") << fallback << false;
        QTest::newRow("half a size") << QByteArray("1920x") << fallback << false;
        QTest::newRow("more than a size") << QByteArray("1920x1080x3") << fallback << false;
        QTest::newRow("beyond int") << QByteArray("99999999999x720") << fallback << false;
    }

    void environmentSetsTheSize()
    {
        QFETCH(QByteArray, value);
        QFETCH(QSize, size);
        QFETCH(bool, good);
        qputenv("KIVRA_DEMO_SIZE", value);
        if (!good) {
            const QByteArray line = "KIVRA_DEMO_SIZE: \"" + value +
                                    "\" is no size from 160x120 to 3840x2160; using 1280x720";
            QTest::ignoreMessage(QtWarningMsg, line.constData());
        }
        Rig rig;
        QVERIFY(rig.start());
        QCOMPARE(rig.surface.picture().size(), size);
        QCOMPARE(rig.surface.surfaceFormat().frameSize(), size);
    }

    void environmentSetsTheRate_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<double>("rate");
        QTest::addColumn<bool>("good");
        QTest::newRow("slow") << QByteArray("1") << 1.0 << true;
        QTest::newRow("usual") << QByteArray("15") << 15.0 << true;
        QTest::newRow("fast") << QByteArray("60") << 60.0 << true;
        QTest::newRow("none") << QByteArray("0") << 30.0 << false;
        QTest::newRow("too fast") << QByteArray("61") << 30.0 << false;
        QTest::newRow("negative") << QByteArray("-5") << 30.0 << false;
        QTest::newRow("no number") << QByteArray("vite") << 30.0 << false;
    }

    void environmentSetsTheRate()
    {
        QFETCH(QByteArray, value);
        QFETCH(double, rate);
        QFETCH(bool, good);
        qputenv("KIVRA_DEMO_RATE", value);
        if (!good) {
            const QByteArray line = "KIVRA_DEMO_RATE: \"" + value +
                                    "\" is no number of frames a second from 1 to 60; using 30";
            QTest::ignoreMessage(QtWarningMsg, line.constData());
        }
        Rig rig;
        QVERIFY(rig.start());
        QCOMPARE(rig.surface.surfaceFormat().frameRate(), rate);
    }

    void badValueIsToldOnce()
    {
        static int warnings;
        warnings = 0;
        const auto count = [](QtMsgType, const QMessageLogContext &, const QString &) {
            ++warnings;
        };
        const QtMessageHandler before = qInstallMessageHandler(count);
        const auto restore = qScopeGuard([&] { qInstallMessageHandler(before); });
        qputenv("KIVRA_DEMO_SIZE", "mauvais");
        QCameraInfo::availableCameras();
        {
            const Rig first;
            const Rig second;
        }
        QCOMPARE(warnings, 1);
    }

    void environmentAddsAFolder()
    {
        QImage wide(64, 16, QImage::Format_RGB32);
        wide.fill(Qt::blue);
        QVERIFY(wide.save(inDocuments("b.png")));
        QImage red(32, 18, QImage::Format_RGB32);
        red.fill(Qt::red);
        QVERIFY(red.save(inDocuments("a.png")));
        QFile broken(inDocuments("c.jpg"));
        QVERIFY(broken.open(QIODevice::WriteOnly) && broken.write("no picture") > 0);
        broken.close();
        qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(Sandbox::instance().documents()));

        const QList<QCameraInfo> found = QCameraInfo::availableCameras();
        QCOMPARE(found.size(), 5);
        QCOMPARE(found.first().deviceName(), QStringLiteral("demo:dossier"));
        QCOMPARE(found.first().description(),
                 QStringLiteral("Démonstration : dossier « Documents »"));

        Rig rig("demo:dossier");
        QList<QRgb> middles;
        QList<QRgb> edges;
        connect(&rig.surface, &FrameRecorder::presented, this, [&] {
            middles.append(rig.surface.picture().pixel(160, 90));
            edges.append(rig.surface.picture().pixel(160, 2));
        });
        QVERIFY(rig.start());
        QTRY_VERIFY(middles.size() >= 3);
        // In the order of names, over and over, without the unreadable one; the wide one has black
        // above it.
        QCOMPARE(middles.mid(0, 3), (QList<QRgb>{0xFFFF0000, 0xFF0000FF, 0xFFFF0000}));
        QCOMPARE(edges.mid(0, 3), (QList<QRgb>{0xFFFF0000, 0xFF000000, 0xFFFF0000}));
    }

    void folderWithoutPicturesIsLeftOut()
    {
        const QByteArray folder = QFile::encodeName(Sandbox::instance().documents());
        qputenv("KIVRA_DEMO_FOLDER", folder);
        const QByteArray line =
            "KIVRA_DEMO_FOLDER: \"" + folder + "\" is no folder with pictures; leaving it out";
        QTest::ignoreMessage(QtWarningMsg, line.constData());
        QCOMPARE(QCameraInfo::availableCameras().size(), 4);
    }

    void folderThatLosesItsPicturesFails()
    {
        QImage picture(32, 18, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(picture.save(inDocuments("seule.png")));
        qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(Sandbox::instance().documents()));
        Rig rig("demo:dossier");
        QSignalSpy errors(&rig.camera, &QCamera::errorOccurred);
        QVERIFY(rig.start());
        QVERIFY(QFile::remove(inDocuments("seule.png")));
        QVERIFY(errors.wait(patienceMs));
        QCOMPARE(rig.camera.errorString(),
                 QStringLiteral("Le dossier ne contient plus d'image lisible."));
        QCOMPARE(rig.camera.status(), QCamera::LoadedStatus);
    }

    void captureWritesTheFileLater()
    {
        Rig rig;
        QVERIFY(rig.start());
        QStringList events;
        connect(&rig.capture, &QCameraImageCapture::imageExposed, this,
                [&] { events.append(QStringLiteral("exposed")); });
        QImage preview;
        connect(&rig.capture, &QCameraImageCapture::imageCaptured, this,
                [&](int, const QImage &image) {
                    events.append(QStringLiteral("captured"));
                    preview = image;
                });
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        connect(&rig.capture, &QCameraImageCapture::imageSaved, this,
                [&] { events.append(QStringLiteral("saved")); });

        const QString path = inDocuments("im.jpg");
        const int id = rig.capture.capture(path);
        QVERIFY(events.isEmpty());
        QVERIFY(!QFile::exists(path));
        QVERIFY(saved.wait(patienceMs));
        QCOMPARE(saved.first(), (QVariantList{id, path}));
        QCOMPARE(events, (QStringList{"exposed", "captured", "saved"}));
        QVERIFY(!preview.isNull());
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        QCOMPARE(reader.format(), QByteArray("jpeg"));
        QCOMPARE(reader.read().size(), QSize(320, 180));
    }

    void captureHonoursCodecAndResolution_data()
    {
        QTest::addColumn<QString>("codec");
        QTest::addColumn<QSize>("size");
        QTest::newRow("JPEG") << QStringLiteral("jpeg") << QSize(1280, 720);
        QTest::newRow("PNG") << QStringLiteral("png") << QSize(640, 360);
        QTest::newRow("JPEG large") << QStringLiteral("jpeg") << QSize(3840, 2160);
    }

    void captureHonoursCodecAndResolution()
    {
        QFETCH(QString, codec);
        QFETCH(QSize, size);
        Rig rig;
        QVERIFY(rig.start());
        QImageEncoderSettings settings;
        settings.setCodec(codec);
        settings.setResolution(size);
        rig.capture.setEncodingSettings(settings);
        QCOMPARE(rig.capture.encodingSettings(), settings);
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        // The codec decides the format, whatever the name says.
        rig.capture.capture(inDocuments("im.jpg"));
        QVERIFY(saved.wait(patienceMs));
        QImageReader reader(inDocuments("im.jpg"));
        reader.setAutoDetectImageFormat(true);
        reader.setDecideFormatFromContent(true);
        QCOMPARE(reader.format(), codec.toLatin1());
        QCOMPARE(reader.size(), size);
    }

    void qualityChangesTheFileSize()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        qint64 smaller = 0;
        for (int quality = QMultimedia::VeryLowQuality; quality <= QMultimedia::VeryHighQuality;
             ++quality) {
            QImageEncoderSettings settings;
            settings.setQuality(static_cast<QMultimedia::EncodingQuality>(quality));
            rig.capture.setEncodingSettings(settings);
            rig.capture.capture(inDocuments("im.jpg"));
            QVERIFY(saved.wait(patienceMs));
            const qint64 size = QFileInfo(inDocuments("im.jpg")).size();
            QVERIFY2(size > smaller, qPrintable(QString::number(quality)));
            smaller = size;
        }
    }

    void suffixDecidesWithoutACodec()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        rig.capture.capture(inDocuments("im.png"));
        QVERIFY(saved.wait(patienceMs));
        QImageReader reader(inDocuments("im.png"));
        reader.setDecideFormatFromContent(true);
        QCOMPARE(reader.format(), QByteArray("png"));
    }

    void captureWithoutANameGoesToThePictures()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        const QString folder = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
        QVERIFY(folder.startsWith(Sandbox::instance().home()));
        for (const char *name : {"IMG_0001.jpg", "IMG_0002.jpg"}) {
            rig.capture.capture();
            QVERIFY(saved.wait(patienceMs));
            const QString path = folder + QLatin1Char('/') + QLatin1String(name);
            QCOMPARE(saved.last().last().toString(), path);
            QVERIFY(QFile::exists(path));
        }
    }

    void capturesInARowAllArrive()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        QList<int> ids;
        for (const char *name : {"1.jpg", "2.jpg", "3.jpg"})
            ids.append(rig.capture.capture(inDocuments(name)));
        QTRY_COMPARE(saved.size(), 3);
        QCOMPARE(firstArguments<int>(saved), ids);
        for (const char *name : {"1.jpg", "2.jpg", "3.jpg"})
            QCOMPARE(QImage(inDocuments(name)).size(), QSize(320, 180));
    }

    void readinessFollowsTheCaptures()
    {
        Rig rig;
        QSignalSpy ready(&rig.capture, &QCameraImageCapture::readyForCaptureChanged);
        QVERIFY(!rig.capture.isReadyForCapture());
        QVERIFY(rig.start());
        QVERIFY(rig.capture.isReadyForCapture());
        rig.capture.capture(inDocuments("im.jpg"));
        QVERIFY(!rig.capture.isReadyForCapture());
        QTRY_VERIFY(rig.capture.isReadyForCapture());
        rig.camera.stop();
        QCOMPARE(firstArguments<bool>(ready), (QList<bool>{true, false, true, false}));
    }

    void captureBeforeTheStartIsRefused()
    {
        Rig rig;
        QSignalSpy errors(&rig.capture,
                          QOverload<int, QCameraImageCapture::Error, const QString &>::of(
                              &QCameraImageCapture::error));
        const int id = rig.capture.capture(inDocuments("im.jpg"));
        QVERIFY(errors.isEmpty());
        QVERIFY(errors.wait(patienceMs));
        QCOMPARE(errors.first().at(0).toInt(), id);
        QCOMPARE(rig.capture.error(), QCameraImageCapture::NotReadyError);
        QCOMPARE(rig.capture.errorString(),
                 QStringLiteral("La caméra n'est pas prête à prendre une image."));
    }

    void captureToAnUnwritablePathFails()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy errors(&rig.capture,
                          QOverload<int, QCameraImageCapture::Error, const QString &>::of(
                              &QCameraImageCapture::error));
        const QString path = inDocuments("absent/im.jpg");
        const int id = rig.capture.capture(path);
        QVERIFY(errors.wait(patienceMs));
        QCOMPARE(errors.first().at(0).toInt(), id);
        QCOMPARE(rig.capture.error(), QCameraImageCapture::ResourceError);
        QVERIFY2(rig.capture.errorString().startsWith(
                     QStringLiteral("Impossible d'écrire l'image « %1 » : ").arg(path)),
                 qPrintable(rig.capture.errorString()));
        QTRY_VERIFY(rig.capture.isReadyForCapture());
    }

    void unknownResolutionAndCodecFail()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy errors(&rig.capture,
                          QOverload<int, QCameraImageCapture::Error, const QString &>::of(
                              &QCameraImageCapture::error));
        QImageEncoderSettings settings;
        settings.setResolution(123, 45);
        rig.capture.setEncodingSettings(settings);
        rig.capture.capture(inDocuments("im.jpg"));
        QVERIFY(errors.wait(patienceMs));
        QCOMPARE(rig.capture.error(), QCameraImageCapture::NotSupportedFeatureError);

        settings = {};
        settings.setCodec(QStringLiteral("huile"));
        rig.capture.setEncodingSettings(settings);
        rig.capture.capture(inDocuments("im.jpg"));
        QVERIFY(errors.wait(patienceMs));
        QCOMPARE(rig.capture.error(), QCameraImageCapture::FormatError);
        QVERIFY(!QFile::exists(inDocuments("im.jpg")));
    }

    void cancelledCaptureWritesNothing()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        rig.capture.capture(inDocuments("1.jpg"));
        rig.capture.capture(inDocuments("2.jpg"));
        rig.capture.cancelCapture();
        QVERIFY(rig.capture.isReadyForCapture());
        const int id = rig.capture.capture(inDocuments("3.jpg"));
        QVERIFY(saved.wait(patienceMs));
        QCOMPARE(saved.first().first().toInt(), id);
        QCOMPARE(QDir(Sandbox::instance().documents()).entryList(QDir::Files),
                 QStringList{"3.jpg"});
    }

    void captureOutlivesStop()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        rig.capture.capture(inDocuments("im.jpg"));
        rig.camera.stop();
        QVERIFY(saved.wait(patienceMs));
        QVERIFY(QFile::exists(inDocuments("im.jpg")));
    }

    void unloadingDropsTheCapture()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        QSignalSpy errors(&rig.capture,
                          QOverload<int, QCameraImageCapture::Error, const QString &>::of(
                              &QCameraImageCapture::error));
        const int id = rig.capture.capture(inDocuments("im.jpg"));
        rig.camera.unload();
        QVERIFY(errors.wait(patienceMs));
        QCOMPARE(errors.first().first().toInt(), id);
        QCOMPARE(rig.capture.error(), QCameraImageCapture::ResourceError);
        QVERIFY(saved.isEmpty());
    }

    void destructionDuringACapture()
    {
        // At every stage (asked for, exposed, taken), and with either object destroyed first.
        for (int stage = 0; stage < 3; ++stage) {
            for (const bool cameraFirst : {true, false}) {
                FrameRecorder surface;
                auto camera = std::make_unique<QCamera>(QByteArray("demo:texte"));
                auto capture = std::make_unique<QCameraImageCapture>(camera.get());
                camera->setViewfinder(&surface);
                camera->start();
                QTRY_COMPARE(camera->status(), QCamera::ActiveStatus);
                QSignalSpy exposed(capture.get(), &QCameraImageCapture::imageExposed);
                QSignalSpy captured(capture.get(), &QCameraImageCapture::imageCaptured);
                capture->capture(inDocuments("im.jpg"));
                if (stage == 1)
                    QTRY_COMPARE(exposed.size(), 1);
                if (stage == 2)
                    QTRY_COMPARE(captured.size(), 1);
                if (cameraFirst)
                    camera.reset();
                capture.reset();
                camera.reset();
                QVERIFY(!surface.isActive());
                QCoreApplication::processEvents();
            }
        }
    }

    void stillShowsWhatTheViewfinderShows()
    {
        Rig rig("demo:tableau");
        QVERIFY(rig.start());
        QSignalSpy saved(&rig.capture, &QCameraImageCapture::imageSaved);
        rig.capture.capture(inDocuments("im.png"));
        QVERIFY(saved.wait(patienceMs));
        const QImage still(inDocuments("im.png"));
        QVERIFY(qAbs(meanBrightness(still) - meanBrightness(rig.surface.picture())) < 3);
    }

    void locksAreSearchedThenLocked()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy locked(&rig.camera, &QCamera::locked);
        QCOMPARE(rig.camera.lockStatus(), QCamera::Unlocked);
        rig.camera.searchAndLock();
        QCOMPARE(rig.camera.lockStatus(), QCamera::Searching);
        QVERIFY(locked.wait(patienceMs));
        QCOMPARE(rig.camera.lockStatus(), QCamera::Locked);
        rig.camera.unlock();
        QCOMPARE(rig.camera.lockStatus(), QCamera::Unlocked);

        // A lock that is released while it is searched for is not found later.
        Rig later;
        QVERIFY(later.start());
        QSignalSpy lockedLater(&later.camera, &QCamera::locked);
        locked.clear();
        rig.camera.searchAndLock();
        rig.camera.unlock();
        later.camera.searchAndLock(); // takes as long, and ends after it
        QVERIFY(lockedLater.wait(patienceMs));
        QCOMPARE(locked.count(), 0);
        QCOMPARE(rig.camera.lockStatus(), QCamera::Unlocked);
        rig.camera.searchAndLock();
        QCOMPARE(rig.camera.lockStatus(), QCamera::Searching); // nothing is locked yet
    }

    void stoppingLosesTheLocks()
    {
        Rig rig;
        QVERIFY(rig.start());
        rig.camera.searchAndLock(QCamera::LockFocus);
        QTRY_COMPARE(rig.camera.lockStatus(QCamera::LockFocus), QCamera::Locked);
        QCOMPARE(rig.camera.lockStatus(QCamera::LockExposure), QCamera::Unlocked);
        rig.camera.stop();
        QCOMPARE(rig.camera.lockStatus(QCamera::LockFocus), QCamera::Unlocked);
    }

    void locksNeedAnActiveCamera()
    {
        Rig rig;
        QSignalSpy failed(&rig.camera, &QCamera::lockFailed);
        rig.camera.searchAndLock();
        QVERIFY(failed.wait(patienceMs));
        QCOMPARE(rig.camera.lockStatus(), QCamera::Unlocked);
    }

    void exposureIsSeen()
    {
        Rig rig;
        QVERIFY(rig.start());
        const auto brightnessAt = [&](double ev) {
            rig.camera.exposure()->setExposureCompensation(ev);
            // The frame that is ready and the one being made were exposed before this change.
            return rig.waitForFrames(3) ? meanBrightness(rig.surface.picture()) : -1;
        };
        const double normal = brightnessAt(0);
        const double darker = brightnessAt(-1);
        const double darkest = brightnessAt(-2);
        const double brighter = brightnessAt(1);
        QVERIFY(darkest > 0);
        QVERIFY(darkest < darker - 10);
        QVERIFY(darker < normal - 10);
        QVERIFY(normal < brighter - 10);
        QVERIFY(qAbs(brightnessAt(0) - normal) < 5);
    }

    void exposureHasNineSteps()
    {
        Rig rig;
        QCameraExposure *exposure = rig.camera.exposure();
        QVERIFY(exposure->isAvailable());
        QSignalSpy changed(exposure, &QCameraExposure::exposureCompensationChanged);
        exposure->setExposureCompensation(1.5);
        QCOMPARE(exposure->exposureCompensation(), 1.5);
        QCOMPARE(changed.size(), 1);
        exposure->setExposureCompensation(0.7);
        QCOMPARE(exposure->exposureCompensation(), 0.5);
        exposure->setExposureCompensation(9);
        QCOMPARE(exposure->exposureCompensation(), 2.0);
        exposure->setExposureCompensation(-9);
        QCOMPARE(exposure->exposureCompensation(), -2.0);
        exposure->setExposureCompensation(qQNaN());
        QCOMPARE(exposure->exposureCompensation(), -2.0);
        QVERIFY(exposure->supportedIsoSensitivities().isEmpty());
    }

    void encoderSettingsAreOffered()
    {
        Rig rig;
        QCOMPARE(rig.capture.supportedImageCodecs(), (QStringList{"jpeg", "png"}));
        QCOMPARE(rig.capture.imageCodecDescription(QStringLiteral("jpeg")),
                 QStringLiteral("Image JPEG (compacte)"));
        QCOMPARE(rig.capture.imageCodecDescription(QStringLiteral("png")),
                 QStringLiteral("Image PNG (sans perte)"));
        QCOMPARE(rig.capture.imageCodecDescription(QStringLiteral("autre")), QString());
        bool continuous = true;
        QCOMPARE(
            rig.capture.supportedResolutions({}, &continuous),
            (QList<QSize>{
                {320, 180}, {640, 360}, {1280, 720}, {1920, 1080}, {2560, 1440}, {3840, 2160}}));
        QVERIFY(!continuous);
        QVERIFY(rig.camera.isCaptureModeSupported(QCamera::CaptureStillImage));
        QVERIFY(!rig.camera.isCaptureModeSupported(QCamera::CaptureVideo));
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::DemoCameraTest)

#include "test_democamera.moc"
