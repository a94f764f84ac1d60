#include "cameras/video/devicecontrols.h"
#include "tests/support/fakekernel.h"
#include "tests/support/testmain.h"

#include <cerrno>
#include <memory>

namespace kivra::test {

namespace {

using namespace cameras;

constexpr const char *controlledNode = "/dev/video0";

/// Focus, white balance and exposure are automatic, the exposure in the way of USB cameras.
FakeCamera automaticCamera()
{
    FakeCamera camera;
    camera.controls = {
        {V4L2_CID_FOCUS_AUTO, {0, 1, 1, 0, {}}},
        {V4L2_CID_FOCUS_ABSOLUTE, {0, 250, 40, 0, {}}},
        {V4L2_CID_EXPOSURE_AUTO, {0, 3, V4L2_EXPOSURE_APERTURE_PRIORITY, 0, {}}},
        {V4L2_CID_EXPOSURE_ABSOLUTE, {3, 2000, 200, 0, {}}},
        {V4L2_CID_AUTO_WHITE_BALANCE, {0, 1, 1, 0, {}}},
        {V4L2_CID_WHITE_BALANCE_TEMPERATURE, {2800, 6500, 4000, 0, {}}},
    };
    return camera;
}

/// The controls of a kernel's only camera, while it is open.
struct Rig
{
    explicit Rig(const FakeCamera &camera)
    {
        kernel.plug(controlledNode, camera);
        int error = 0;
        node = kernel.open(controlledNode, error);
        controls = std::make_unique<DeviceControls>(*node, [this](LockSet locks, bool found) {
            const std::lock_guard<std::mutex> lock(mutex);
            (found ? lockedOnes : failedOnes) |= locks;
        });
    }

    std::int32_t value(std::uint32_t id) const { return kernel.control(controlledNode, id); }

    LockSet locked()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return lockedOnes;
    }

    LockSet failed()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        return failedOnes;
    }

    /// The camera no longer has this control.
    void withdraw(std::uint32_t id)
    {
        kernel.change(controlledNode, [=](FakeCamera &camera) { camera.controls.erase(id); });
    }

    /// What is wanted after the rest is done after it.
    bool catchesUp()
    {
        controls->lock(LockOfWhiteBalance);
        return QTest::qWaitFor([this] { return (locked() & LockOfWhiteBalance) != 0; });
    }

    /// The automatic white balance off, and the temperature stays.
    static constexpr int setToCatchUp = 1;

    FakeKernel kernel;
    std::mutex mutex;
    LockSet lockedOnes = 0;
    LockSet failedOnes = 0;
    std::unique_ptr<Node> node;
    std::unique_ptr<DeviceControls> controls;
};

constexpr LockSet all = LockOfFocus | LockOfExposure | LockOfWhiteBalance;

} // namespace

class DeviceControlsTest : public QObject
{
    Q_OBJECT

private slots:
    void locksWhereTheyStand()
    {
        Rig rig(automaticCamera());
        QCOMPARE(rig.controls->supportedLocks(), all);
        rig.controls->lock(all);
        QTRY_COMPARE(rig.locked(), all);
        QCOMPARE(rig.value(V4L2_CID_FOCUS_AUTO), 0);
        QCOMPARE(rig.value(V4L2_CID_FOCUS_ABSOLUTE), 40);
        QCOMPARE(rig.value(V4L2_CID_EXPOSURE_AUTO), std::int32_t(V4L2_EXPOSURE_MANUAL));
        QCOMPARE(rig.value(V4L2_CID_EXPOSURE_ABSOLUTE), 200);
        QCOMPARE(rig.value(V4L2_CID_AUTO_WHITE_BALANCE), 0);
    }

    void unlockRestores()
    {
        Rig rig(automaticCamera());
        rig.controls->lock(all);
        QTRY_COMPARE(rig.locked(), all);
        rig.controls->unlock(LockOfFocus);
        QTRY_COMPARE(rig.value(V4L2_CID_FOCUS_AUTO), 1);
        QCOMPARE(rig.value(V4L2_CID_AUTO_WHITE_BALANCE), 0);
        rig.controls->unlock(all);
        QTRY_COMPARE(rig.value(V4L2_CID_AUTO_WHITE_BALANCE), 1);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_AUTO),
                     std::int32_t(V4L2_EXPOSURE_APERTURE_PRIORITY));
    }

    void whatIsByHandIsLocked()
    {
        FakeCamera camera = automaticCamera();
        camera.controls[V4L2_CID_FOCUS_AUTO].value = 0;
        Rig rig(camera);
        rig.controls->lock(LockOfFocus);
        QTRY_COMPARE(rig.locked(), LockSet(LockOfFocus));
        QCOMPARE(rig.kernel.controlsSet(), 0);
        rig.controls->unlock(LockOfFocus);
        rig.controls->lock(LockOfWhiteBalance);
        QTRY_COMPARE(rig.locked(), LockOfFocus | LockOfWhiteBalance);
        QCOMPARE(rig.value(V4L2_CID_FOCUS_AUTO), 0);
    }

    void missingControlsAreNotSupported()
    {
        FakeCamera camera = automaticCamera();
        camera.controls.erase(V4L2_CID_FOCUS_AUTO);
        Rig rig(camera);
        QCOMPARE(rig.controls->supportedLocks(), LockOfExposure | LockOfWhiteBalance);
        rig.controls->lock(LockOfFocus);
        QTRY_COMPARE(rig.failed(), LockSet(LockOfFocus));
        Rig bare({});
        QCOMPARE(bare.controls->supportedLocks(), LockSet(0));
        QVERIFY(!bare.controls->canCompensate());
    }

    void compensationByBias()
    {
        FakeCamera camera = automaticCamera();
        FakeControl bias{0, 4, 2, 0, {{0, -2000}, {1, -1000}, {2, 0}, {3, 1000}, {4, 2000}}};
        camera.controls[V4L2_CID_AUTO_EXPOSURE_BIAS] = bias;
        Rig rig(camera);
        QVERIFY(rig.controls->canCompensate());
        rig.controls->compensate(-1);
        QTRY_COMPARE(rig.value(V4L2_CID_AUTO_EXPOSURE_BIAS), 1);
        rig.controls->compensate(1.6);
        QTRY_COMPARE(rig.value(V4L2_CID_AUTO_EXPOSURE_BIAS), 4);
        // The automatic exposure stays on.
        QCOMPARE(rig.value(V4L2_CID_EXPOSURE_AUTO), std::int32_t(V4L2_EXPOSURE_APERTURE_PRIORITY));
        rig.controls->compensate(0);
        QTRY_COMPARE(rig.value(V4L2_CID_AUTO_EXPOSURE_BIAS), 2);
    }

    void compensationByTime()
    {
        Rig rig(automaticCamera());
        rig.controls->compensate(1);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_ABSOLUTE), 400);
        QCOMPARE(rig.value(V4L2_CID_EXPOSURE_AUTO), std::int32_t(V4L2_EXPOSURE_MANUAL));
        rig.controls->compensate(-1);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_ABSOLUTE), 100);
        rig.controls->compensate(8);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_ABSOLUTE), 2000); // the longest that it can
        rig.controls->compensate(0);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_AUTO),
                     std::int32_t(V4L2_EXPOSURE_APERTURE_PRIORITY));
    }

    void compensationUnderALock()
    {
        Rig rig(automaticCamera());
        rig.controls->compensate(1);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_ABSOLUTE), 400);
        rig.controls->lock(LockOfExposure);
        QTRY_COMPARE(rig.locked(), LockSet(LockOfExposure));
        rig.controls->compensate(0);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_ABSOLUTE), 200);
        QCOMPARE(rig.value(V4L2_CID_EXPOSURE_AUTO), std::int32_t(V4L2_EXPOSURE_MANUAL));
        rig.controls->unlock(LockOfExposure);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_AUTO),
                     std::int32_t(V4L2_EXPOSURE_APERTURE_PRIORITY));
    }

    void mains_data()
    {
        QTest::addColumn<int>("wanted");
        QTest::addColumn<bool>("canFindOut");
        QTest::addColumn<int>("expected");
        QTest::newRow("50") << 50 << true << int(V4L2_CID_POWER_LINE_FREQUENCY_50HZ);
        QTest::newRow("60") << 60 << true << int(V4L2_CID_POWER_LINE_FREQUENCY_60HZ);
        QTest::newRow("by itself") << 0 << true << int(V4L2_CID_POWER_LINE_FREQUENCY_AUTO);
        QTest::newRow("default") << 0 << false << int(V4L2_CID_POWER_LINE_FREQUENCY_50HZ);
    }

    void mains()
    {
        QFETCH(int, wanted);
        QFETCH(bool, canFindOut);
        QFETCH(int, expected);
        FakeControl line{0, 2, 0, 0, {{0, 0}, {1, 0}, {2, 0}}};
        if (canFindOut) {
            line.most = 3;
            line.menu[3] = 0;
        }
        FakeCamera camera;
        camera.controls[V4L2_CID_POWER_LINE_FREQUENCY] = line;
        Rig rig(camera);
        rig.controls->setMains(wanted);
        QTRY_COMPARE(rig.value(V4L2_CID_POWER_LINE_FREQUENCY), expected);
    }

    void leftAsItWasFound()
    {
        FakeCamera camera = automaticCamera();
        camera.controls[V4L2_CID_EXPOSURE_AUTO].value = V4L2_EXPOSURE_MANUAL;
        camera.controls[V4L2_CID_POWER_LINE_FREQUENCY] = {0, 2, 2, 0, {{0, 0}, {1, 0}, {2, 0}}};
        Rig rig(camera);
        rig.controls->setMains(50);
        rig.controls->lock(all);
        rig.controls->compensate(2);
        QTRY_COMPARE(rig.value(V4L2_CID_EXPOSURE_ABSOLUTE), 800);
        QTRY_COMPARE(rig.locked(), all);
        rig.controls.reset();
        for (const auto &[id, control] : camera.controls)
            QCOMPARE(rig.value(id), control.value);
    }

    void whatIsTakenBackIsNeverDone()
    {
        Rig rig(automaticCamera());
        rig.kernel.holdControls(true);
        rig.controls->lock(LockOfFocus);
        QTRY_COMPARE(rig.kernel.controlsSet(), 1);
        // Each picture locks and unlocks like this; none of it waits for the slow focus.
        for (int i = 0; i < 10; ++i) {
            rig.controls->lock(all);
            rig.controls->unlock(all);
        }
        rig.kernel.holdControls(false);
        // Off and on again; before that, it is still on.
        QTRY_VERIFY(rig.kernel.controlsSet() == 2 && rig.value(V4L2_CID_FOCUS_AUTO) == 1);
        rig.controls.reset();
        QVERIFY(rig.kernel.controlsSet() <= 4);
    }

    void readOnlyControlsAreNone()
    {
        FakeCamera camera = automaticCamera();
        camera.controls[V4L2_CID_FOCUS_AUTO].flags = V4L2_CTRL_FLAG_READ_ONLY;
        camera.controls[V4L2_CID_AUTO_WHITE_BALANCE].flags = V4L2_CTRL_FLAG_DISABLED;
        const Rig rig(camera);
        QCOMPARE(rig.controls->supportedLocks(), LockSet(LockOfExposure));
    }

    void controlsWithoutAnyValueAreNone()
    {
        FakeCamera camera = automaticCamera();
        camera.controls[V4L2_CID_FOCUS_AUTO].least = 2;
        const Rig rig(camera);
        QCOMPARE(rig.controls->supportedLocks(), LockOfExposure | LockOfWhiteBalance);
    }

    void refusals_data()
    {
        QTest::addColumn<qulonglong>("request");
        QTest::newRow("reading") << qulonglong(VIDIOC_G_CTRL);
        QTest::newRow("setting") << qulonglong(VIDIOC_S_CTRL);
    }

    void refusals()
    {
        QFETCH(qulonglong, request);
        const FakeCamera camera = automaticCamera();
        Rig rig(camera);
        rig.kernel.refuse(static_cast<unsigned long>(request), EIO);
        rig.controls->lock(all);
        QTRY_COMPARE(rig.failed(), all);
        QCOMPARE(rig.locked(), LockSet(0));
        rig.controls.reset();
        for (const auto &[id, control] : camera.controls)
            QCOMPARE(rig.value(id), control.value);
    }

    // Of the numbers in its range, some are not in its menu.
    void biasWithGaps()
    {
        FakeCamera camera = automaticCamera();
        camera.controls[V4L2_CID_AUTO_EXPOSURE_BIAS] = {0, 4, 2, 0, {{0, -2000}, {4, 2000}}};
        Rig rig(camera);
        rig.controls->compensate(-0.5);
        QTRY_COMPARE(rig.value(V4L2_CID_AUTO_EXPOSURE_BIAS), 0);
        rig.controls->compensate(0.5);
        QTRY_COMPARE(rig.value(V4L2_CID_AUTO_EXPOSURE_BIAS), 4);
    }

    void biasWithoutAMenu()
    {
        FakeCamera camera = automaticCamera();
        camera.controls[V4L2_CID_AUTO_EXPOSURE_BIAS] = {0, 4, 2, 0, {}};
        Rig rig(camera);
        rig.controls->compensate(1);
        QVERIFY(rig.catchesUp());
        QCOMPARE(rig.value(V4L2_CID_AUTO_EXPOSURE_BIAS), 2);
    }

    void mainsOfACameraThatKnowsNone()
    {
        Rig rig(automaticCamera());
        rig.controls->setMains(60);
        QVERIFY(rig.catchesUp());
        QCOMPARE(rig.kernel.controlsSet(), rig.setToCatchUp);
    }

    // As when a driver withdraws a control while another one is set.
    void controlsThatVanish()
    {
        FakeCamera camera = automaticCamera();
        camera.controls[V4L2_CID_AUTO_EXPOSURE_BIAS] = {0, 1, 0, 0, {{0, 0}, {1, 1000}}};
        Rig byBias(camera);
        byBias.withdraw(V4L2_CID_AUTO_EXPOSURE_BIAS);
        byBias.controls->compensate(1);
        QVERIFY(byBias.catchesUp());
        QCOMPARE(byBias.kernel.controlsSet(), byBias.setToCatchUp);
        Rig byTime(automaticCamera());
        byTime.controls->compensate(1);
        QTRY_COMPARE(byTime.value(V4L2_CID_EXPOSURE_ABSOLUTE), 400);
        byTime.withdraw(V4L2_CID_EXPOSURE_ABSOLUTE);
        const int before = byTime.kernel.controlsSet();
        byTime.controls->compensate(2);
        QVERIFY(byTime.catchesUp());
        QCOMPARE(byTime.kernel.controlsSet(), before + byTime.setToCatchUp);
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::DeviceControlsTest)

#include "test_devicecontrols.moc"
