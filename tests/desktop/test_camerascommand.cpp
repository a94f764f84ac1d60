// The command kivra-cameras as it is built, on simulated nodes: what it says, and its exit status.

#include "tests/support/patience.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"
#include "tests/videonode/videonodes.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

using kivra::test::patienceMs;
using kivra::test::Sandbox;
using kivra::test::VideoNodes;

namespace {

const QStringList formats = {QStringLiteral("YUYV 1920x1080@5"), QStringLiteral("YUYV 640x480@30"),
                             QStringLiteral("MJPG 1920x1080@30"),
                             QStringLiteral("H264 1920x1080@30")};

} // namespace

class TestCamerasCommand : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Sandbox::instance().reset();
        const QString machine = Sandbox::instance().home() + QStringLiteral("/machine");
        QDir(machine).removeRecursively();
        QDir().mkpath(machine);
        nodes = std::make_unique<VideoNodes>(machine);
    }

    void withoutACamera()
    {
        QVERIFY(run().startsWith(QStringLiteral("Aucune caméra.")));
        QCOMPARE(status, 1);
    }

    void aDocumentCamera()
    {
        plugIn(formats, 480);
        const QString said = run();
        QCOMPARE(status, 0);
        for (const QString &line :
             {QStringLiteral("/dev/video0  Visualiseur d'essai\n"),
              QStringLiteral("Utilisable : oui\n"), QStringLiteral("USB à 480 Mbit/s (USB 2)\n"),
              QStringLiteral("MJPG : 1920 x 1080 (30)\n"),
              QStringLiteral("YUYV : 1920 x 1080 (5), 640 x 480 (30)\n"),
              QStringLiteral("pas lus par Kivra : H264\n"),
              QStringLiteral("Kivra prendrait : MJPG 1920 x 1080 à 30 images par seconde ("),
              QStringLiteral("À faire : rien\n"), QStringLiteral("1 caméra sur 1 utilisable.\n")})
            QVERIFY2(said.contains(line), qPrintable(line + QStringLiteral(" not in:\n") + said));
    }

    void aCameraThatMayNotBeOpened()
    {
        plugIn(formats, 480);
        nodes->setForbidden(true);
        const QString said = run();
        QCOMPARE(status, 1);
        QVERIFY2(said.contains(QStringLiteral("Droit de l'ouvrir : refusé")), qPrintable(said));
        QVERIFY2(said.contains(QStringLiteral("Vous n'avez pas le droit")), qPrintable(said));
        QVERIFY2(said.contains(QStringLiteral("Aucune caméra sur 1 utilisable.")),
                 qPrintable(said));
    }

    void aCameraWithoutReadableFormats()
    {
        plugIn({QStringLiteral("H264 1920x1080@30")}, 480);
        QVERIFY(run().contains(QStringLiteral("Utilisable : non\n")));
        QCOMPARE(status, 1);
    }

    void aSlowConnection()
    {
        plugIn(formats, 12);
        QString said = run();
        QVERIFY(said.contains(QStringLiteral("beaucoup trop lent")));
        QVERIFY2(said.contains(QStringLiteral("À faire : branchez la caméra directement")),
                 qPrintable(said));
        plugIn({QStringLiteral("H264 1920x1080@30")}, 12);
        said = run();
        QVERIFY2(said.contains(QStringLiteral("un autre câble. La caméra")), qPrintable(said));
    }

    void theWish()
    {
        plugIn(formats, 480);
        qputenv("KIVRA_CAMERA_FORMAT", "640x480@30");
        QString said = run();
        QVERIFY2(said.contains(QStringLiteral("Kivra prendrait : YUYV 640 x 480")),
                 qPrintable(said));
        qputenv("KIVRA_CAMERA_FORMAT", "800x600");
        said = run();
        QVERIFY2(said.contains(QStringLiteral("n'est pas proposé par cette caméra")),
                 qPrintable(said));
        QCOMPARE(status, 0);
        qunsetenv("KIVRA_CAMERA_FORMAT");
    }

    void asJson()
    {
        plugIn(formats, 5000);
        const QJsonObject machine =
            QJsonDocument::fromJson(run({QStringLiteral("--json")}).toUtf8()).object();
        QCOMPARE(status, 0);
        QCOMPARE(machine.value(QStringLiteral("usable")), QJsonValue(true));
        const QJsonArray all = machine.value(QStringLiteral("nodes")).toArray();
        QCOMPARE(all.size(), 1);
        const QJsonObject camera = all.first().toObject();
        QCOMPARE(camera.value(QStringLiteral("node")), QJsonValue(QStringLiteral("/dev/video0")));
        QCOMPARE(camera.value(QStringLiteral("usbSpeed")), QJsonValue(5000));
        QCOMPARE(camera.value(QStringLiteral("fault")), QJsonValue(QStringLiteral("none")));
        QCOMPARE(camera.value(QStringLiteral("offers")).toArray().size(), 4);
        const QJsonObject choice = camera.value(QStringLiteral("choice")).toObject();
        QCOMPARE(choice.value(QStringLiteral("format")), QJsonValue(QStringLiteral("MJPG")));
        QCOMPARE(choice.value(QStringLiteral("width")), QJsonValue(1920));
        QCOMPARE(choice.value(QStringLiteral("rate")), QJsonValue(30));
    }

    void optionsOfEveryCommand()
    {
        QVERIFY(run({QStringLiteral("--help")}).contains(QStringLiteral("--json")));
        QCOMPARE(status, 0);
        QCOMPARE(run({QStringLiteral("--version")}),
                 QStringLiteral("kivra-cameras " KIVRA_VERSION "\n"));
        QCOMPARE(status, 0);
        for (const char *wrong : {"--rien", "rien", "--json=rien"}) {
            run({QLatin1String(wrong)});
            QCOMPARE(status, 2);
        }
    }

private:
    void plugIn(const QStringList &formats, int speed) const
    {
        VideoNodes::Camera camera;
        camera.formats = formats;
        camera.speed = speed;
        nodes->plugIn(camera);
    }

    // What the command prints.
    QString run(const QStringList &arguments = {})
    {
        QProcess command;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        const QMap<QString, QString> variables = nodes->environment();
        for (auto variable = variables.begin(); variable != variables.end(); ++variable)
            environment.insert(variable.key(), variable.value());
        command.setProcessEnvironment(environment);
        command.start(kivra::test::besideTheProgram(QStringLiteral("kivra-cameras")), arguments);
        if (!command.waitForFinished(patienceMs))
            qWarning("the command does not end");
        status = command.exitCode();
        return QString::fromUtf8(command.readAllStandardOutput());
    }

    std::unique_ptr<VideoNodes> nodes;
    int status = -1;
};

KIVRA_TEST(TestCamerasCommand)
#include "test_camerascommand.moc"
