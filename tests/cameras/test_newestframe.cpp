#include "cameras/video/newestframe.h"
#include "tests/support/testmain.h"

#include <QBuffer>
#include <QImage>
#include <algorithm>
#include <atomic>
#include <linux/videodev2.h>

namespace kivra::test {

namespace {

using namespace std::chrono_literals;
using namespace cameras;

constexpr Size greySize{8, 2};
constexpr std::chrono::nanoseconds interval = 33ms;

FrameFormat greyFormat()
{
    FrameFormat format;
    format.fourcc = V4L2_PIX_FMT_GREY;
    format.size = greySize;
    format.range = Range::Full;
    format.planes[0] = {8, 16};
    return format;
}

FrameFormat jpegFormat()
{
    FrameFormat format;
    format.fourcc = V4L2_PIX_FMT_MJPEG;
    format.size = {64, 48};
    format.planes[0] = {0, 100000};
    return format;
}

/// A stream in which every frame has a buffer of its own: frame n lies in buffer n.
class Stream
{
public:
    explicit Stream(const FrameFormat &format, Orientation orientation = {})
        : newest(std::make_unique<NewestFrame>(
              format, orientation, interval,
              NewestFrame::Surroundings{[this](int buffer) { takeBack(buffer); },
                                        [this] { ++pictures; },
                                        [this] { return std::chrono::nanoseconds(clock); }}))
    {
    }

    /// The next frame, of even grey.
    void offer(std::uint8_t grey) { offer(std::vector<std::uint8_t>(16, grey)); }

    void offer(std::vector<std::uint8_t> bytes)
    {
        memory.push_back(std::make_unique<std::vector<std::uint8_t>>(std::move(bytes)));
        CapturedFrame frame;
        frame.buffer = int(memory.size());
        frame.number = memory.size();
        frame.time = std::chrono::nanoseconds(clock);
        frame.frame.planes[0] = memory.back()->data();
        frame.frame.lengths[0] = memory.back()->size();
        newest->offer(frame);
    }

    std::vector<int> givenBack()
    {
        const std::lock_guard<std::mutex> lock(mutex);
        std::vector<int> sorted = buffers;
        std::sort(sorted.begin(), sorted.end());
        return sorted;
    }

    void pass(std::chrono::nanoseconds time) { clock += time.count(); }

    std::atomic<long long> clock{1000000};
    std::atomic<int> pictures{0};
    std::unique_ptr<NewestFrame> newest;

private:
    void takeBack(int buffer)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        buffers.push_back(buffer);
    }

    std::vector<std::unique_ptr<std::vector<std::uint8_t>>> memory;
    std::mutex mutex;
    std::vector<int> buffers;
};

int greyOf(const std::shared_ptr<const DecodedFrame> &picture)
{
    return picture ? int(picture->pixels[0] & 0xff) : -1;
}

std::vector<std::uint8_t> jpegOf(int grey)
{
    QImage picture(64, 48, QImage::Format_RGB32);
    picture.fill(qRgb(grey, grey, grey));
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    picture.save(&file, "jpeg", 95);
    return {file.data().begin(), file.data().end()};
}

} // namespace

class NewestFrameTest : public QObject
{
    Q_OBJECT

private slots:
    void onlyTheNewestIsKept()
    {
        Stream stream(greyFormat());
        stream.offer(10);
        QTRY_COMPARE(stream.pictures.load(), 1);
        stream.offer(20);
        stream.offer(30);
        stream.offer(40);
        QTRY_COMPARE(stream.givenBack(), (std::vector<int>{1, 2, 3}));
        QCOMPARE(greyOf(stream.newest->take()), 10);
        QTRY_COMPARE(stream.pictures.load(), 2);
        QCOMPARE(greyOf(stream.newest->take()), 40);
        QCOMPARE(greyOf(stream.newest->take()), -1);
    }

    // After a window has stood still for five seconds, it next shows what the camera sees now.
    void anOldPictureIsThrownAway()
    {
        Stream stream(greyFormat());
        stream.offer(10);
        QTRY_COMPARE(stream.pictures.load(), 1);
        for (int i = 0; i < 150; ++i) {
            stream.pass(interval);
            stream.offer(std::uint8_t(50 + i));
        }
        QCOMPARE(greyOf(stream.newest->take()), -1);
        QTRY_COMPARE(stream.pictures.load(), 2);
        QCOMPARE(greyOf(stream.newest->take()), 199);
    }

    void anOldPictureIsBetterThanNone()
    {
        Stream stream(greyFormat());
        stream.offer(10);
        QTRY_COMPARE(stream.pictures.load(), 1);
        stream.pass(5s);
        QCOMPARE(greyOf(stream.newest->take()), 10);
    }

    void aLateWindowGetsPicturesToo()
    {
        Stream stream(greyFormat());
        stream.offer(1);
        QTRY_COMPARE(stream.pictures.load(), 1);
        int shown = 0;
        for (int i = 1; i <= 12; ++i) {
            stream.pass(4 * interval);
            stream.offer(std::uint8_t(100 + i));
            if (stream.newest->take())
                ++shown;
            QTRY_COMPARE(stream.pictures.load(), 1 + i);
        }
        // For each picture shown, three are thrown away.
        QCOMPARE(shown, 3);
    }

    void badFramesAreSkipped()
    {
        Stream stream(jpegFormat());
        const std::chrono::nanoseconds start = stream.newest->lastGood();
        stream.pass(1s);
        std::vector<std::uint8_t> cut = jpegOf(50);
        cut.resize(cut.size() / 2);
        stream.offer(cut);
        QTRY_COMPARE(stream.givenBack(), (std::vector<int>{1}));
        QCOMPARE(stream.pictures.load(), 0);
        QCOMPARE(stream.newest->lastGood(), start);
        stream.offer(jpegOf(50));
        QTRY_COMPARE(stream.pictures.load(), 1);
        QCOMPARE(stream.newest->lastGood(), start + 1s);
        QCOMPARE(greyOf(stream.newest->take()), 50);
        // A frame that comes while a picture waits is not checked.
        stream.offer(jpegOf(60));
        QTRY_COMPARE(stream.pictures.load(), 2);
        stream.pass(1s);
        stream.offer(cut);
        QCOMPARE(stream.newest->lastGood(), start + 2s);
    }

    void picturesComeInOrder()
    {
        Stream stream(jpegFormat());
        const std::vector<std::uint8_t> bytes = jpegOf(128);
        std::uint64_t last = 0;
        int shown = 0;
        while (shown < 200) {
            stream.offer(bytes);
            const std::shared_ptr<const DecodedFrame> picture = stream.newest->take();
            if (!picture)
                continue;
            QVERIFY(picture->number > last);
            last = picture->number;
            ++shown;
        }
    }

    void theEndGivesEverythingBack()
    {
        Stream stream(greyFormat());
        stream.offer(1);
        QTRY_COMPARE(stream.pictures.load(), 1);
        const std::shared_ptr<const DecodedFrame> shown = stream.newest->take();
        stream.offer(2);
        QTRY_COMPARE(stream.pictures.load(), 2);
        stream.offer(3);
        stream.newest.reset();
        QCOMPARE(stream.givenBack(), (std::vector<int>{1, 2, 3}));
        QCOMPARE(greyOf(shown), 1); // what is shown outlives the stream
    }

    void memoryIsUsedAgain()
    {
        Stream stream(greyFormat());
        stream.offer(1);
        QTRY_COMPARE(stream.pictures.load(), 1);
        const std::uint32_t *const first = stream.newest->take()->pixels.get();
        stream.offer(2);
        QTRY_COMPARE(stream.pictures.load(), 2);
        QCOMPARE(stream.newest->take()->pixels.get(), first);
    }
};

} // namespace kivra::test

KIVRA_TEST(kivra::test::NewestFrameTest)

#include "test_newestframe.moc"
