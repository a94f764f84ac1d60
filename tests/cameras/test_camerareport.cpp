// What kivra-cameras says of each camera, for people and for programs. Finding it out is tested
// with the devices, and the command as a whole in the window's tests.

#include "cameras/report/reporttext.h"
#include "cameras/video/faulttexts.h"
#include "tests/support/fakekernel.h"
#include "tests/support/testmain.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <functional>

using namespace kivra::cameras;
using kivra::test::mjpeg;
using kivra::test::offer;
using kivra::test::yuyv;

namespace {

using Change = std::function<void(CameraReport &)>;

// A camera on USB 2 without a fault, on a node that no machine has.
CameraReport goodCamera()
{
    CameraReport report;
    report.device.node = "/dev/visualiseur";
    report.device.name = "Visualiseur";
    report.device.kind = NodeKind::Camera;
    report.device.usb = true;
    report.device.usbSpeed = 480;
    report.mayOpen = true;
    report.offers = {offer(mjpeg, 1920, 1080, 30), offer(yuyv, 640, 480, 30)};
    report.ranked = {{report.offers.front(), ChoiceReason::Fluent}};
    return report;
}

CameraReport changed(const Change &change)
{
    CameraReport report = goodCamera();
    change(report);
    return report;
}

CameraReport withFault(Fault fault)
{
    return changed(
        [=](CameraReport &report) { report.fault = faultReport(report.device, fault, 0); });
}

// The text after "WHAT : " in the report on this camera.
QString said(const CameraReport &report, const char *what)
{
    const QString begin = QStringLiteral("  %1 : ").arg(QString::fromUtf8(what));
    for (const QString &line : reportText({{report}}).split(QLatin1Char('\n'))) {
        if (line.startsWith(begin))
            return line.mid(begin.size());
    }
    return {};
}

QString lastLine(const MachineReport &report)
{
    return reportText(report).trimmed().section(QLatin1Char('\n'), -1);
}

QJsonObject json(const CameraReport &report)
{
    const QJsonObject machine = QJsonDocument::fromJson(reportJson({{report}})).object();
    return machine.value(QStringLiteral("nodes")).toArray().first().toObject();
}

QString word(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toString();
}

} // namespace

class TestCameraReport : public QObject
{
    Q_OBJECT

private slots:
    void kinds_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("text");
        const auto add = [](const char *name, NodeKind kind, const char *text) {
            QTest::newRow(name) << int(kind) << QString::fromUtf8(text);
        };
        add("metadata", NodeKind::Metadata,
            "pas une caméra : ne donne que des informations sur les images d'une autre entrée");
        add("output", NodeKind::Output, "pas une caméra : une sortie vidéo");
        add("converter", NodeKind::Converter, "pas une caméra : un convertisseur d'images");
        add("other", NodeKind::Other, "pas une caméra");
        add("unknown", NodeKind::Unknown, "inconnu : le système ne dit pas ce que c'est");
    }

    // They have neither formats nor a fault.
    void kinds()
    {
        QFETCH(int, kind);
        QFETCH(QString, text);
        const CameraReport report =
            changed([=](CameraReport &one) { one.device.kind = NodeKind(kind); });
        QCOMPARE(reportText({{report}}).section(QLatin1Char('\n'), 0, 2),
                 QStringLiteral("/dev/visualiseur  Visualiseur\n  %1\n").arg(text));
        QCOMPARE(word(json(report), "kind"), QString::fromLatin1(QTest::currentDataTag()));
        QVERIFY(!json(report).contains(QStringLiteral("offers")));
        QVERIFY(!json(report).contains(QStringLiteral("fault")));
        QVERIFY(!isUsable(report));
        QVERIFY(lastLine({{report}}).startsWith(QStringLiteral("Aucune caméra. Branchez-la")));
    }

    void reasons_data()
    {
        QTest::addColumn<int>("reason");
        QTest::addColumn<QString>("text");
        const auto add = [](const char *name, ChoiceReason reason, const char *text) {
            QTest::newRow(name) << int(reason) << QString::fromUtf8(text);
        };
        add("wished", ChoiceReason::Wished, "demandé par le réglage camera/format");
        add("fluent", ChoiceReason::Fluent,
            "le plus grand jusqu'à 1920 x 1080, à 24 images par seconde au moins");
        add("fastest", ChoiceReason::Fastest,
            "le plus rapide ; aucun n'atteint 24 images par seconde");
        add("only-larger", ChoiceReason::OnlyLarger, "le plus petit ; tous dépassent 1920 x 1080");
    }

    void reasons()
    {
        QFETCH(int, reason);
        QFETCH(QString, text);
        const CameraReport report =
            changed([=](CameraReport &one) { one.ranked.front().reason = ChoiceReason(reason); });
        QCOMPARE(said(report, "Kivra prendrait"),
                 QStringLiteral("MJPG 1920 x 1080 à 30 images par seconde (%1)").arg(text));
        const QJsonObject choice = json(report).value(QStringLiteral("choice")).toObject();
        QCOMPARE(word(choice, "reason"), QString::fromLatin1(QTest::currentDataTag()));
    }

    void faults_data()
    {
        QTest::addColumn<int>("fault");
        QTest::newRow("not-there") << int(Fault::NotThere);
        QTest::newRow("unplugged") << int(Fault::Unplugged);
        QTest::newRow("no-right") << int(Fault::NoRight);
        QTest::newRow("in-use") << int(Fault::InUse);
        QTest::newRow("no-bandwidth") << int(Fault::NoBandwidth);
        QTest::newRow("nothing-readable") << int(Fault::NothingReadable);
        QTest::newRow("no-frames") << int(Fault::NoFrames);
        QTest::newRow("nonsense") << int(Fault::Nonsense);
        QTest::newRow("does-not-answer") << int(Fault::DoesNotAnswer);
    }

    // The advice is what the window would say.
    void faults()
    {
        QFETCH(int, fault);
        const CameraReport report = withFault(Fault(fault));
        QVERIFY(!isUsable(report));
        QCOMPARE(said(report, "Utilisable"), QStringLiteral("non"));
        QCOMPARE(said(report, "À faire"), faultText(report.fault));
        QCOMPARE(word(json(report), "fault"), QString::fromLatin1(QTest::currentDataTag()));
        QCOMPARE(word(json(report), "advice"), faultText(report.fault));
        QCOMPARE(lastLine({{report}}), QStringLiteral("Aucune caméra sur 1 utilisable."));
    }

    void cameraWithoutAFault()
    {
        const CameraReport report = goodCamera();
        QVERIFY(isUsable(report));
        QCOMPARE(said(report, "Utilisable"), QStringLiteral("oui"));
        QCOMPARE(said(report, "À faire"), QStringLiteral("rien"));
        QCOMPARE(word(json(report), "fault"), QStringLiteral("none"));
        QVERIFY(!json(report).contains(QStringLiteral("advice")));
        QCOMPARE(lastLine({{report}}), QStringLiteral("1 caméra sur 1 utilisable."));
        QCOMPARE(lastLine({{report, withFault(Fault::InUse), report}}),
                 QStringLiteral("2 caméras sur 3 utilisables."));
        QVERIFY(lastLine({}).startsWith(QStringLiteral("Aucune caméra. Branchez-la")));
    }

    void connection_data()
    {
        QTest::addColumn<bool>("usb");
        QTest::addColumn<bool>("builtIn");
        QTest::addColumn<int>("speed");
        QTest::addColumn<QString>("text");
        const auto add = [](const char *name, bool usb, bool builtIn, int speed, const char *text) {
            QTest::newRow(name) << usb << builtIn << speed << QString::fromUtf8(text);
        };
        add("no USB", false, true, 0, "dans l'ordinateur, sans USB");
        add("built in", true, true, 480, "intégrée, par USB à 480 Mbit/s (USB 2)");
        add("unknown", true, false, 0, "USB");
        add("slow", true, false, 12,
            "USB à 12 Mbit/s (USB 1 : beaucoup trop lent pour une caméra)");
        add("USB 2", true, false, 480, "USB à 480 Mbit/s (USB 2)");
        add("USB 3", true, false, 5000, "USB à 5000 Mbit/s (USB 3 ou plus)");
    }

    void connection()
    {
        QFETCH(bool, usb);
        QFETCH(bool, builtIn);
        QFETCH(int, speed);
        QFETCH(QString, text);
        const CameraReport report = changed([=](CameraReport &one) {
            one.device.usb = usb;
            one.device.builtIn = builtIn;
            one.device.usbSpeed = speed;
        });
        QCOMPARE(said(report, "Branchement"), text);
        QCOMPARE(json(report).contains(QStringLiteral("usbSpeed")), speed > 0);
    }

    void rightToOpen()
    {
        CameraReport report = goodCamera();
        QCOMPARE(said(report, "Droit de l'ouvrir"), QStringLiteral("accordé"));
        report.group = "video";
        QCOMPARE(said(report, "Droit de l'ouvrir"), QStringLiteral("accordé (groupe « video »)"));
        report = withFault(Fault::NoRight);
        report.mayOpen = false;
        QCOMPARE(said(report, "Droit de l'ouvrir"), QStringLiteral("refusé"));
        report.fault.fault = Fault::DoesNotAnswer;
        QCOMPARE(said(report, "Droit de l'ouvrir"), QStringLiteral("l'ouverture échoue"));
    }

    // A camera that only Kivra uses is a good one.
    void users()
    {
        CameraReport report = withFault(Fault::InUse);
        QCOMPARE(said(report, "Utilisée"),
                 QStringLiteral("par aucun programme que l'on puisse voir"));
        report.users = {{7, "kivra"}};
        QVERIFY(isUsable(report));
        QCOMPARE(said(report, "À faire"), QStringLiteral("rien ; Kivra s'en sert en ce moment"));
        report.users.push_back({12, "autre"});
        QVERIFY(!isUsable(report));
        QCOMPARE(said(report, "Utilisée"),
                 QStringLiteral("par « kivra » (processus 7), « autre » (processus 12)"));
        const QJsonArray all = json(report).value(QStringLiteral("users")).toArray();
        QCOMPARE(all.size(), 2);
        QCOMPARE(word(all.last().toObject(), "program"), QStringLiteral("autre"));
        QCOMPARE(all.last().toObject().value(QStringLiteral("process")), QJsonValue(12));
    }

    // The highest rate of each size; a rate that the driver does not tell is left out.
    void formats()
    {
        const CameraReport report = changed([](CameraReport &one) {
            one.offers = {offer(yuyv, 640, 480, 15), offer(yuyv, 640, 480, 30),
                          offer(yuyv, 320, 240, 0), offer(mjpeg, 640, 480, 30),
                          offer(V4L2_PIX_FMT_H264, 640, 480, 30)};
            one.offers.at(3).rate = {15, 2};
        });
        QCOMPARE(said(report, "  YUYV"), QStringLiteral("640 x 480 (30), 320 x 240"));
        QCOMPARE(said(report, "  MJPG"), QStringLiteral("640 x 480 (7,5)"));
        QCOMPARE(said(report, "  pas lus par Kivra"), QStringLiteral("H264"));
        const QJsonArray all = json(report).value(QStringLiteral("offers")).toArray();
        QCOMPARE(all.size(), 5);
        QVERIFY(!all.at(2).toObject().contains(QStringLiteral("rate")));
        QCOMPARE(all.at(3).toObject().value(QStringLiteral("rate")), QJsonValue(7.5));
        QCOMPARE(all.at(4).toObject().value(QStringLiteral("readable")), QJsonValue(false));
    }

    void advice()
    {
        CameraReport report = goodCamera();
        report.ranked.front().reason = ChoiceReason::Fastest;
        QVERIFY(said(report, "À faire").contains(QStringLiteral("un port USB 3")));
        report.device.usbSpeed = 5000;
        QCOMPARE(said(report, "À faire"), QStringLiteral("rien"));
        report.wishOffered = false;
        QVERIFY(said(report, "À faire").startsWith(QStringLiteral("rien d'urgent")));
        QCOMPARE(json(report).value(QStringLiteral("wishOffered")), QJsonValue(false));
        report.device.usbSpeed = 12;
        const QString direct = said(report, "À faire");
        QCOMPARE(direct, QStringLiteral("branchez la caméra directement sur un port de "
                                        "l'ordinateur, avec un autre câble"));
        report.fault = faultReport(report.device, Fault::NoFrames, 0);
        QCOMPARE(said(report, "À faire"), direct + QStringLiteral(". ") + faultText(report.fault));
    }
};

KIVRA_TEST(TestCameraReport)
#include "test_camerareport.moc"
