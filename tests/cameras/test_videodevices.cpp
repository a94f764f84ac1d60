#include "cameras/video/camerareport.h"
#include "cameras/video/devicewatch.h"
#include "cameras/video/offers.h"
#include "cameras/video/soughtcamera.h"
#include "tests/cameras/fakemachine.h"
#include "tests/support/testmain.h"

#include <QTest>
#include <atomic>
#include <cerrno>
#include <unistd.h>

namespace kivra::test {

namespace {

using namespace cameras;

FakeCamera usualCamera()
{
    FakeCamera camera;
    camera.offers = {offer(V4L2_PIX_FMT_YUYV, 64, 48, 30)};
    return camera;
}

FakeCamera nodeThat(std::uint32_t capabilities)
{
    FakeCamera camera = usualCamera();
    camera.capabilities = capabilities | V4L2_CAP_STREAMING;
    return camera;
}

QStringList namesOf(const std::vector<VideoDevice> &devices)
{
    QStringList names;
    for (const VideoDevice &device : devices)
        names.append(QString::fromStdString(device.name));
    return names;
}

VideoDevice deviceAt(const char *node, const char *place, const char *name = "Visualiseur")
{
    VideoDevice device;
    device.node = node;
    device.place = place;
    device.name = name;
    device.serial = "0001";
    return device;
}

} // namespace

class VideoDevicesTest : public QObject
{
    Q_OBJECT

private slots:
    void factsWithoutOpening()
    {
        FakeMachine machine;
        machine.describeUsb(0, "Visualiseur A4", "SN7", "1.2");
        machine.describeByUdev(0, ":capture:");
        machine.plug(0, usualCamera());
        const std::vector<VideoDevice> found = findDevices(machine.folders, machine.kernel);
        QCOMPARE(found.size(), std::size_t(1));
        const VideoDevice &device = found.front();
        QCOMPARE(device.node, machine.node(0));
        QCOMPARE(device.name, std::string("Visualiseur A4"));
        QCOMPARE(device.kind, NodeKind::Camera);
        QCOMPARE(device.model, std::string("046d:0825"));
        QCOMPARE(device.serial, std::string("SN7"));
        QCOMPARE(device.place, std::string("usb-1-1.2"));
        QCOMPARE(device.usbSpeed, 480);
        QVERIFY(device.usb && !device.builtIn && !device.infrared);
        QCOMPARE(machine.kernel.opened(), 0);
    }

    void factsFromTheNodeAlone_data()
    {
        QTest::addColumn<QByteArray>("bus");
        QTest::addColumn<bool>("isUsb");
        QTest::newRow("USB") << QByteArray("usb-0000:00:14.0-1") << true;
        QTest::newRow("the board's own") << QByteArray("platform:isp") << false;
    }

    void factsFromTheNodeAlone()
    {
        QFETCH(QByteArray, bus);
        QFETCH(bool, isUsb);
        FakeMachine machine;
        FakeCamera camera = usualCamera();
        camera.bus = bus.toStdString();
        machine.plug(0, camera);
        const std::vector<VideoDevice> found = findDevices(machine.folders, machine.kernel);
        QCOMPARE(found.size(), std::size_t(1));
        const VideoDevice &device = found.front();
        QCOMPARE(device.kind, NodeKind::Camera);
        QCOMPARE(device.name, camera.card);
        QCOMPARE(device.place, camera.bus);
        QCOMPARE(device.usb, isUsb);
        QCOMPARE(device.builtIn, !isUsb);
    }

    void orderOfTheCatalogue()
    {
        FakeMachine machine;
        machine.describeUsb(0, "Laptop IR Camera", "", "1.1", "fixed");
        machine.describeUsb(1, "Laptop Camera", "", "1.1", "fixed");
        machine.describeUsb(2, "Integrated Camera", "", "1.5");
        machine.describeUsb(3, "Visualiseur", "", "2");
        machine.describeUsb(4, "Mirror Camera", "", "3");
        for (int i = 0; i < 5; ++i)
            machine.plug(i, usualCamera());
        QCOMPARE(namesOf(findDevices(machine.folders, machine.kernel)),
                 (QStringList{"Visualiseur", "Mirror Camera", "Laptop Camera", "Integrated Camera",
                              "Laptop IR Camera"}));
    }

    void numbersAreNumbers()
    {
        FakeMachine machine;
        for (const int number : {10, 2, 1}) {
            machine.describeUsb(number, QByteArray::number(number).constData(), "", "1");
            machine.plug(number, usualCamera());
        }
        FakeMachine::writeFile(QString::fromStdString(machine.folders.nodes) + "/videotape", "");
        FakeMachine::writeFile(QString::fromStdString(machine.folders.nodes) + "/video", "");
        QCOMPARE(namesOf(findDevices(machine.folders, machine.kernel)),
                 (QStringList{"1", "2", "10"}));
    }

    void nodesThatAreNoCameras()
    {
        FakeMachine machine;
        machine.plug(0, nodeThat(V4L2_CAP_META_CAPTURE));
        machine.plug(1, nodeThat(V4L2_CAP_VIDEO_OUTPUT));
        machine.plug(2, nodeThat(V4L2_CAP_VIDEO_M2M_MPLANE));
        machine.plug(3, nodeThat(V4L2_CAP_VIDEO_CAPTURE_MPLANE | V4L2_CAP_VIDEO_OUTPUT_MPLANE));
        machine.plug(4, nodeThat(V4L2_CAP_RADIO));
        machine.plug(5, nodeThat(V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_VIDEO_OUTPUT)); // a loopback
        machine.plug(6, nodeThat(V4L2_CAP_VIDEO_CAPTURE_MPLANE));
        const std::vector<VideoDevice> found = findDevices(machine.folders, machine.kernel);
        const std::vector<NodeKind> expected{
            NodeKind::Metadata, NodeKind::Output, NodeKind::Converter, NodeKind::Converter,
            NodeKind::Other,    NodeKind::Camera, NodeKind::Camera};
        QCOMPARE(found.size(), expected.size());
        for (const VideoDevice &device : found)
            QCOMPARE(device.kind, expected.at(std::size_t(device.node.back() - '0')));
        QCOMPARE(camerasAmong(found).size(), std::size_t(2));
    }

    void nodesThatAreNoCamerasWithoutTheRight()
    {
        FakeMachine machine;
        const std::pair<const char *, NodeKind> nodes[] = {
            {":capture:", NodeKind::Camera},
            {":video_output:", NodeKind::Output},
            {":", NodeKind::Metadata},
            {":radio:", NodeKind::Other},
            {":capture:video_output:", NodeKind::Unknown}};
        int number = 0;
        for (const auto &[words, kind] : nodes) {
            FakeCamera camera = usualCamera();
            camera.openError = EACCES;
            machine.describeUsb(number, "Visualiseur", "", "1");
            FakeMachine::writeFile(machine.classFolder(number) + "/index",
                                   QByteArray::number(number));
            machine.describeByUdev(number, words);
            machine.plug(number, camera);
            const std::vector<VideoDevice> found = findDevices(machine.folders, machine.kernel);
            QCOMPARE(found.back().kind, kind);
            ++number;
        }
        // If udev does not tell either, a device's first node is its camera.
        FakeCamera closed = usualCamera();
        closed.openError = EACCES;
        machine.describeUsb(8, "Visualiseur", "", "1");
        machine.plug(8, closed);
        machine.describeUsb(9, "Visualiseur", "", "1");
        FakeMachine::writeFile(machine.classFolder(9) + "/index", "1");
        machine.plug(9, closed);
        const std::vector<VideoDevice> found = findDevices(machine.folders, machine.kernel);
        QCOMPARE(found.at(found.size() - 2).kind, NodeKind::Camera);
        QCOMPARE(found.back().kind, NodeKind::Unknown);
    }

    // It opens and answers nothing: what the system says of it holds.
    void nodesThatDoNotAnswer()
    {
        FakeMachine machine;
        machine.kernel.refuse(VIDIOC_QUERYCAP, EIO);
        for (const int number : {0, 1}) {
            machine.describeUsb(number, "Visualiseur", "", "1");
            FakeMachine::writeFile(machine.classFolder(number) + "/index",
                                   QByteArray::number(number));
            machine.plug(number, usualCamera());
        }
        const std::vector<VideoDevice> found = findDevices(machine.folders, machine.kernel);
        QCOMPARE(namesOf(found), (QStringList{"Visualiseur", "Visualiseur"}));
        QCOMPARE(found.front().kind, NodeKind::Camera);
        QCOMPARE(found.back().kind, NodeKind::Unknown);
    }

    // Its pictures can be read one by one only.
    void nodeThatDoesNotStream()
    {
        FakeMachine machine;
        FakeCamera camera = usualCamera();
        camera.capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_READWRITE;
        machine.plug(0, camera);
        const std::vector<VideoDevice> found = findDevices(machine.folders, machine.kernel);
        QCOMPARE(found.front().kind, NodeKind::Other);
    }

    void nameFromTheNode()
    {
        FakeMachine machine;
        FakeCamera named = usualCamera();
        named.card = "  Caméra & Co ";
        machine.plug(0, named);
        FakeCamera nameless = usualCamera();
        nameless.card = " ";
        machine.plug(1, nameless);
        QCOMPARE(namesOf(findDevices(machine.folders, machine.kernel)),
                 (QStringList{"Caméra & Co", "video1"}));
    }

    void knownNodesAreNotAskedAgain()
    {
        FakeMachine machine;
        machine.plug(0, usualCamera());
        const std::vector<VideoDevice> first = findDevices(machine.folders, machine.kernel);
        const int opened = machine.kernel.opened();
        findDevices(machine.folders, machine.kernel, first);
        QCOMPARE(machine.kernel.opened(), opened);
    }

    void watchSeesThemComeAndGo()
    {
        FakeMachine machine;
        std::atomic<int> changes{0};
        const DeviceWatch watch(machine.folders, machine.kernel, [&] { ++changes; });
        QVERIFY(watch.cameras().empty());
        machine.plug(3, usualCamera());
        QTRY_COMPARE(watch.cameras().size(), std::size_t(1));
        QCOMPARE(watch.cameras().front().node, machine.node(3));
        QTRY_COMPARE(changes.load(), 1);
        machine.plug(5, nodeThat(V4L2_CAP_META_CAPTURE));
        machine.unplug(3);
        QTRY_VERIFY(watch.cameras().empty());
        QTRY_COMPARE(changes.load(), 2);
    }

    void watchListsWithoutOpening()
    {
        FakeMachine machine;
        machine.plug(0, usualCamera());
        const DeviceWatch watch(machine.folders, machine.kernel, [] {});
        QCOMPARE(watch.cameras().size(), std::size_t(1));
        const int opened = machine.kernel.opened();
        for (int i = 0; i < 100; ++i)
            QCOMPARE(watch.cameras().size(), std::size_t(1));
        QCOMPARE(machine.kernel.opened(), opened);
    }

    void udevsRecordExplainsLater()
    {
        FakeMachine machine;
        FakeCamera closed = usualCamera();
        closed.openError = EACCES;
        machine.describeUsb(0, "Visualiseur", "", "1");
        machine.plug(0, closed);
        const DeviceWatch watch(machine.folders, machine.kernel, [] {});
        QCOMPARE(watch.cameras().size(), std::size_t(1)); // a guess
        machine.describeByUdev(0, ":");
        QTRY_VERIFY(watch.cameras().empty());
    }

    void soughtByPlace()
    {
        const VideoDevice mine = deviceAt("/dev/video0", "usb-1");
        const VideoDevice twin = deviceAt("/dev/video1", "usb-2");
        SoughtCamera sought(mine);
        sought.foundAs(mine, {mine, twin});
        QVERIFY(!sought.findIn({}).has_value());
        QVERIFY(!sought.findIn({twin}).has_value());
        const VideoDevice back = deviceAt("/dev/video7", "usb-1");
        QCOMPARE(sought.findIn({twin, back})->node, back.node);
    }

    void soughtElsewhere()
    {
        const VideoDevice mine = deviceAt("/dev/video0", "usb-1");
        SoughtCamera sought(mine);
        sought.foundAs(mine, {mine});
        const VideoDevice moved = deviceAt("/dev/video0", "usb-9");
        QCOMPARE(sought.findIn({moved})->place, moved.place);
        // The camera in its own place goes before one elsewhere.
        QCOMPARE(sought.findIn({moved, mine})->place, mine.place);
    }

    void otherModelsAreNotTaken()
    {
        SoughtCamera sought(deviceAt("/dev/video0", "usb-1"));
        QVERIFY(!sought.findIn({deviceAt("/dev/video0", "usb-1", "Webcam")}).has_value());
    }

    void reportOfAGoodCamera()
    {
        FakeMachine machine;
        FakeCamera camera = usualCamera();
        camera.offers.push_back(offer(V4L2_PIX_FMT_H264, 64, 48, 30));
        machine.plug(0, camera);
        const VideoDevice device = findDevices(machine.folders, machine.kernel).front();
        const CameraReport report = examineCamera(machine.kernel, device, parseFormatWish("32x32"));
        QVERIFY(report.mayOpen);
        QCOMPARE(report.driver, std::string("essai"));
        QCOMPARE(report.offers.size(), std::size_t(2));
        QCOMPARE(report.ranked.size(), std::size_t(1));
        QVERIFY(!report.wishOffered);
        QCOMPARE(report.fault.fault, Fault::None);
        QVERIFY(!machine.kernel.isOpen());
        QCOMPARE(machine.kernel.streamsBegun(), 0);

        machine.kernel.refuse(VIDIOC_REQBUFS, EBUSY);
        QCOMPARE(examineCamera(machine.kernel, device, {}).fault.fault, Fault::InUse);
    }

    void reportWithoutTheRight()
    {
        FakeMachine machine;
        machine.describeUsb(0, "Visualiseur", "", "1");
        FakeCamera closed = usualCamera();
        closed.openError = EACCES;
        machine.plug(0, closed);
        const VideoDevice device = findDevices(machine.folders, machine.kernel).front();
        const CameraReport report = examineCamera(machine.kernel, device, {});
        QVERIFY(!report.mayOpen);
        QCOMPARE(report.fault.fault, Fault::NoRight);
        QCOMPARE(report.fault.group, groupOf(machine.node(0)));
        QVERIFY(!report.group.empty());
        QVERIFY(report.offers.empty());
    }

    void usersOfANode()
    {
        QTemporaryDir processes;
        const auto process = [&](int id, const char *name, const QString &open) {
            const QString folder = processes.filePath(QString::number(id));
            FakeMachine::writeFile(folder + "/comm", QByteArray(name) + '\n');
            QDir().mkpath(folder + "/fd");
            QFile::link(open, folder + "/fd/4");
        };
        process(17, "visio", "/dev/video0");
        process(18, "other", "/dev/video1");
        process(int(getpid()), "self", "/dev/video0");
        const std::vector<NodeUser> users =
            nodeUsers("/dev/video0", processes.path().toStdString());
        QCOMPARE(users.size(), std::size_t(1));
        QCOMPARE(users.front().process, 17);
        QCOMPARE(users.front().program, std::string("visio"));
    }

    void endlessLists()
    {
        FakeMachine machine;
        machine.plug(0, usualCamera());
        machine.kernel.answerBy([](unsigned long request, void *argument) -> std::optional<int> {
            if (request == VIDIOC_ENUM_FMT) {
                auto &format = *static_cast<v4l2_fmtdesc *>(argument);
                format.pixelformat = format.index;
                return 0;
            }
            if (request == VIDIOC_ENUM_FRAMESIZES) {
                auto &size = *static_cast<v4l2_frmsizeenum *>(argument);
                size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
                size.discrete = {size.index + 1, 100};
                return 0;
            }
            return std::nullopt;
        });
        int error = 0;
        const std::unique_ptr<Node> node = machine.kernel.open(machine.node(0), error);
        QVERIFY(offersOf(*node, false).size() <= 4096);
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::VideoDevicesTest)

#include "test_videodevices.moc"
