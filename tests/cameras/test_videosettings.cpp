#include "cameras/video/faulttexts.h"
#include "cameras/video/videosettings.h"
#include "storage/settings.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QSet>

namespace kivra::test {

using namespace cameras;

namespace {

constexpr const char *variables[] = {"KIVRA_CAMERA_FORMAT", "KIVRA_CAMERA_TURN",
                                     "KIVRA_CAMERA_MIRROR", "KIVRA_CAMERA_MAINS"};

} // namespace

class VideoSettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { Sandbox::instance().reset(); }

    void cleanup()
    {
        for (const char *variable : variables)
            qunsetenv(variable);
    }

    void defaults()
    {
        const VideoSettings settings = videoSettings();
        QVERIFY(!settings.format);
        QVERIFY(settings.orientation == Orientation());
        QCOMPARE(settings.mains, 0);
    }

    void storeSets()
    {
        settingsStore().setValue("camera/format", "1280x720@25");
        settingsStore().setValue("camera/turn", 180);
        settingsStore().setValue("camera/mirror", true);
        settingsStore().setValue("camera/mains", 60);
        const VideoSettings settings = videoSettings();
        QVERIFY(settings.format && settings.format->size == (Size{1280, 720}));
        QCOMPARE(settings.format->rate, 25);
        QVERIFY(settings.orientation.turn == Turn::By180);
        QVERIFY(settings.orientation.mirror);
        QCOMPARE(settings.mains, 60);
    }

    void environmentGoesFirst()
    {
        settingsStore().setValue("camera/format", "1280x720@25");
        settingsStore().setValue("camera/turn", 180);
        settingsStore().setValue("camera/mirror", true);
        settingsStore().setValue("camera/mains", 60);
        qputenv("KIVRA_CAMERA_FORMAT", "640x480");
        qputenv("KIVRA_CAMERA_TURN", "0");
        qputenv("KIVRA_CAMERA_MIRROR", "0");
        qputenv("KIVRA_CAMERA_MAINS", "50");
        const VideoSettings settings = videoSettings();
        QVERIFY(settings.format && settings.format->size == (Size{640, 480}));
        QVERIFY(settings.orientation == Orientation());
        QCOMPARE(settings.mains, 50);
    }

    void unusableValuesCountAsNotSet()
    {
        settingsStore().setValue("camera/mains", 60);
        qputenv("KIVRA_CAMERA_MAINS", "400");
        qputenv("KIVRA_CAMERA_TURN", "45");
        QTest::ignoreMessage(QtWarningMsg,
                             R"(KIVRA_CAMERA_TURN: "45" is not 0, 90, 180 or 270; leaving it out)");
        QTest::ignoreMessage(QtWarningMsg,
                             R"(KIVRA_CAMERA_MAINS: "400" is neither 50 nor 60; leaving it out)");
        QCOMPARE(videoSettings().mains, 60);
        QVERIFY(videoSettings().orientation.turn == Turn::None);
    }

    void textsTellWhatToDo()
    {
        QSet<QString> texts;
        for (const Fault fault :
             {Fault::NotThere, Fault::Unplugged, Fault::NoRight, Fault::InUse, Fault::NoBandwidth,
              Fault::NothingReadable, Fault::NoFrames, Fault::Nonsense, Fault::DoesNotAnswer}) {
            const QString text = faultText({fault, "/dev/video0", "Visualiseur & Cie", {}, {}, 5});
            QVERIFY(text.contains(QStringLiteral("« Visualiseur & Cie »")));
            QVERIFY(text.count(QLatin1Char('.')) + text.count(QLatin1Char(';')) >= 2);
            texts.insert(text);
        }
        QCOMPARE(texts.size(), 9);
        QVERIFY(faultText({}).isEmpty());
    }

    void textsNameWhatIsKnown()
    {
        QVERIFY(faultText({Fault::InUse, "/dev/video0", "V", "visio", {}, 0})
                    .contains(QStringLiteral("le programme « visio »")));
        QVERIFY(faultText({Fault::NoRight, "/dev/video0", "V", {}, "video", 0})
                    .contains(QStringLiteral("au groupe « video »")));
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::VideoSettingsTest)

#include "test_videosettings.moc"
