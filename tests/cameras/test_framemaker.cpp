#include "cameras/demo/framemaker.h"
#include "tests/support/testmain.h"

#include <atomic>
#include <memory>
#include <vector>

namespace kivra::test {

namespace {

using cameras::FrameMaker;
using cameras::PictureMaker;
using cameras::StillRequest;

/// What the test and the maker share.
struct Log
{
    std::atomic<int> made{0};
    std::atomic<bool> nothing{false};   // there is nothing to see
    std::atomic<bool> untilGone{false}; // go on until the work is abandoned
};

/// Fills each picture with the number of pictures made so far.
class CountingMaker : public PictureMaker
{
public:
    explicit CountingMaker(Log &shared)
        : log(shared)
    {
    }

    bool make(QImage &picture, double seconds, double ev,
              const std::atomic<bool> &abandoned) override
    {
        Q_UNUSED(seconds)
        Q_UNUSED(ev)
        picture.fill(static_cast<uint>(++log.made));
        while (log.untilGone && !abandoned)
            QThread::yieldCurrentThread();
        return !log.nothing;
    }

private:
    Log &log;
};

StillRequest stillRequest(int id)
{
    StillRequest request;
    request.id = id;
    request.resolution = QSize(8, 6);
    return request;
}

/// A maker of frames of 8 x 6, and a record of its signals. A QSignalSpy would record them in the
/// maker's thread, from which they come; here they are queued to the test's thread.
struct MakerRig : QObject
{
    struct Still
    {
        int id;
        QImage picture;
        QImage preview;
    };

    MakerRig()
    {
        connect(&frames, &FrameMaker::firstFrameReady, this, [this](int n) { firsts.append(n); });
        connect(&frames, &FrameMaker::nothingToSee, this, [this](int n) { nothings.append(n); });
        connect(&frames, &FrameMaker::stillExposed, this, [this](int id) { exposed.append(id); });
        connect(&frames, &FrameMaker::stillTaken, this,
                [this](int id, const QImage &picture, const QImage &preview) {
                    stills.append({id, picture, preview});
                });
    }

    /// The next frame, as soon as there is one; null if none comes.
    std::shared_ptr<const QImage> waitForFrame()
    {
        std::shared_ptr<const QImage> frame;
        const bool came = QTest::qWaitFor([&] { return (frame = frames.takeFrame()) != nullptr; });
        return came ? frame : nullptr;
    }

    /// Returns when the maker has done all that was asked of it; takes two stills to find out. The
    /// maker makes stills before frames, so once the second still is there, no frame was left to
    /// make.
    bool waitUntilIdle()
    {
        for (int i = 0; i < 2; ++i) {
            const int wanted = stills.size() + 1;
            frames.takeStill(stillRequest(1000 + i));
            if (!QTest::qWaitFor([&] { return stills.size() == wanted; }))
                return false;
        }
        return true;
    }

    Log log;
    FrameMaker frames{std::make_unique<CountingMaker>(log), QSize(8, 6)};
    QList<int> firsts;
    QList<int> nothings;
    QList<int> exposed;
    QList<Still> stills;
};

} // namespace

class FrameMakerTest : public QObject
{
    Q_OBJECT

private slots:
    void makesOneFrameAhead()
    {
        MakerRig rig;
        QVERIFY(!rig.frames.takeFrame());
        QCOMPARE(rig.log.made, 0);
        const int start = rig.frames.startFrames();
        QTRY_COMPARE(rig.firsts, QList<int>{start});
        QVERIFY(rig.waitUntilIdle());
        QCOMPARE(rig.log.made, 1 + 2);
        QVERIFY(rig.frames.takeFrame());
        QVERIFY(rig.waitUntilIdle());
        QCOMPARE(rig.log.made, 2 + 4);
        QCOMPARE(rig.firsts.size(), 1);
    }

    void takerThatKeepsFramesGetsNoMore()
    {
        MakerRig rig;
        rig.frames.startFrames();
        std::vector<std::shared_ptr<const QImage>> kept;
        for (int i = 0; i < 3; ++i) {
            kept.push_back(rig.waitForFrame());
            QVERIFY(kept.back());
        }
        QVERIFY(rig.waitUntilIdle());
        QVERIFY(!rig.frames.takeFrame());
        QVERIFY(rig.waitUntilIdle());
        QVERIFY(!rig.frames.takeFrame());

        // A frame that was given back is used again; one that is kept is not overwritten.
        const QRgb pixel = kept.back()->pixel(0, 0);
        kept.erase(kept.begin());
        QVERIFY(rig.waitForFrame());
        QCOMPARE(kept.back()->pixel(0, 0), pixel);
    }

    void framesOutliveTheirMaker()
    {
        std::shared_ptr<const QImage> kept;
        {
            MakerRig rig;
            rig.frames.startFrames();
            kept = rig.waitForFrame();
        }
        QVERIFY(kept);
        QCOMPARE(kept->size(), QSize(8, 6));
        QCOMPARE(kept->pixel(7, 5) & 0xFFFFFF, 1U);
    }

    void stopForgetsTheFrame()
    {
        MakerRig rig;
        rig.frames.startFrames();
        QTRY_COMPARE(rig.firsts.size(), 1);
        rig.frames.stopFrames();
        QVERIFY(rig.waitUntilIdle());
        QCOMPARE(rig.log.made, 1 + 2);
        rig.frames.startFrames();
        QTRY_COMPARE(rig.firsts.size(), 2);
        const std::shared_ptr<const QImage> frame = rig.frames.takeFrame();
        QVERIFY(frame);
        QCOMPARE(frame->pixel(0, 0) & 0xFFFFFF, 4U);
    }

    void takesStillsWithoutFrames()
    {
        MakerRig rig;
        StillRequest request = stillRequest(7);
        request.resolution = QSize(1280, 720);
        rig.frames.takeStill(request);
        QTRY_COMPARE(rig.stills.size(), 1);
        QCOMPARE(rig.exposed, QList<int>{7});
        QCOMPARE(rig.stills.first().id, 7);
        QCOMPARE(rig.stills.first().picture.size(), QSize(1280, 720));
        QCOMPARE(rig.stills.first().preview.size(), QSize(640, 360));
        QCOMPARE(rig.log.made, 1);
    }

    void stillOfNothingIsNull()
    {
        MakerRig rig;
        rig.log.nothing = true;
        rig.frames.takeStill(stillRequest(1));
        QTRY_COMPARE(rig.stills.size(), 1);
        QVERIFY(rig.stills.first().picture.isNull());
    }

    void nothingToSeeIsTold()
    {
        MakerRig rig;
        rig.log.nothing = true;
        const int start = rig.frames.startFrames();
        QTRY_COMPARE(rig.nothings, QList<int>{start});
        QVERIFY(!rig.frames.takeFrame());
    }

    void destructionAbandonsTheWork()
    {
        auto rig = std::make_unique<MakerRig>();
        rig->log.untilGone = true;
        rig->frames.startFrames();
        QTRY_COMPARE(rig->log.made, 1);
        rig.reset();
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::FrameMakerTest)

#include "test_framemaker.moc"
