#include "tests/support/testcamera.h"

#include "tests/democamera/framerecorder.h"
#include "tests/support/testmain.h"

#include <QCamera>
#include <QCameraImageCapture>
#include <QCameraInfo>
#include <QSignalSpy>

namespace kivra::test {

class TestCameraTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void devicesAreTheTests();
    void framesAndCapture();
};

void TestCameraTest::init()
{
    TestCamera::instance().reset();
}

void TestCameraTest::devicesAreTheTests()
{
    const QList<QCameraInfo> found = QCameraInfo::availableCameras();
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.first().deviceName(), QStringLiteral("essai"));
    QCOMPARE(found.first().description(), QStringLiteral("Caméra d'essai"));
}

void TestCameraTest::framesAndCapture()
{
    TestCamera &device = TestCamera::instance();
    FrameRecorder surface;
    QCamera camera(QByteArray("essai"));
    QCameraImageCapture capture(&camera);
    camera.setViewfinder(&surface);
    camera.start();
    QTRY_COMPARE(camera.status(), QCamera::ActiveStatus);
    QVERIFY(surface.isActive());

    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(Qt::red);
    QVERIFY(device.pushPicture(picture));
    QCOMPARE(surface.picture(), picture);

    QSignalSpy saved(&capture, &QCameraImageCapture::imageSaved);
    const QString path = Sandbox::instance().documents() + QStringLiteral("/im.jpg");
    const int id = capture.capture(path);
    QCOMPARE(saved.size(), 0);
    QVERIFY(saved.wait());
    QCOMPARE(saved.first(), (QVariantList{id, path}));
    QCOMPARE(QImage(path).size(), QSize(64, 48));

    camera.stop();
    QCOMPARE(camera.status(), QCamera::LoadedStatus);
    QVERIFY(!surface.isActive());
}

} // namespace kivra::test

KIVRA_TEST_MAIN(kivra::test::TestCameraTest)

#include "testcamera_test.moc"
