#include "render/renderer.h"
#include "tests/reference/reference.h"
#include "tests/render/pictures.h"
#include "tests/render/spy.h"
#include "tests/render/versions.h"

#include <QElapsedTimer>
#include <QPixmap>
#include <array>
#include <atomic>
#include <climits>
#include <set>
#include <thread>

using namespace kivra::test;
using kivra::FrameSettings;
using kivra::FrameTimes;
using kivra::Renderer;
using kivra::Rendering;
using kivra::test::Spy;
namespace reference = kivra::reference;

namespace {

// By a renderer of its own.
QImage rendered(const QImage &picture, const FrameSettings &settings)
{
    return Renderer().render({picture}, settings).image;
}

unsigned int rendered(unsigned int word, const FrameSettings &settings)
{
    return wordAt(rendered(rowOf({word}), settings));
}

// A picture of \a format that has more than one colour.
QImage pictureIn(QImage::Format format)
{
    return randomPicture(QSize(20, 10)).convertToFormat(format);
}

} // namespace

class TestRenderer : public QObject
{
    Q_OBJECT

private slots:
    void neutralFrameOnlySetsAlpha()
    {
        const QImage picture = rowOf({0x00123456U, 0x80FEDCBAU, 0xFF000000U});
        KIVRA_COMPARE_PICTURES(rendered(picture, {}),
                               rowOf({0xFF123456U, 0xFFFEDCBAU, 0xFF000000U}));
    }

    void opaqueFrameThatNothingChangesIsItsOwnResult()
    {
        QImage picture(QSize(33, 3), QImage::Format_RGB32);
        picture.fill(0xFF112233U);
        const auto isShared = [&](const FrameSettings &settings, bool isOpaque = true) {
            const QImage result = Renderer().render({picture, isOpaque}, settings).image;
            return result.constBits() == picture.constBits();
        };
        QVERIFY(isShared({0, 0, 0, 100}));
        QVERIFY(isShared({7, 4, 0, 100}));
        QVERIFY(!isShared({1, 0, 0, 100}));
        QVERIFY(!isShared({6, 0, 0, 100}));
        QVERIFY(!isShared({0, 1, 0, 100}));
        QVERIFY(!isShared({0, 0, 1, 100}));
        QVERIFY(!isShared({0, 0, 0, 101}));
        QVERIFY(!isShared({0, 0, 0, 100}, false));
        picture = picture.convertToFormat(QImage::Format_ARGB32); // is shown as Format_RGB32
        QVERIFY(!isShared({0, 0, 0, 100}));
    }

    void negativeOfAPixel()
    {
        FrameSettings settings;
        settings.effect = 2;
        QCOMPARE(rendered(0x00123456U, settings), 0xFFEDCBA9U);
    }

    void greyOfRed()
    {
        FrameSettings settings;
        settings.effect = 1;
        QCOMPARE(rendered(0xFFFF0000U, settings), 0xFF575757U);
    }

    void boardThenTwoColoursIsBlueAndYellow()
    {
        const QImage picture = randomPicture(QSize(60, 40));
        const QImage board = rendered(picture, {5, 0, 0, 100});
        const QImage both = rendered(picture, {5, 3, 0, 100});
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 60; ++x) {
                const bool ink = wordAt(board, x, y) == 0xFFFFFFFFU;
                QVERIFY(ink || wordAt(board, x, y) == 0xFF006400U);
                // White ink has grey level 255; the green has 50, close to the dark colour.
                QCOMPARE(wordAt(both, x, y), ink ? 0xFFFFFF00U : 0xFF1313EBU);
            }
        }
        KIVRA_COMPARE_PICTURES(both, reference::frame(picture, 5, 3, 0, 100));
    }

    void numbersBeyondTheListsDoNothing()
    {
        const QImage picture = randomPicture(QSize(11, 3));
        const QImage neutral = rendered(picture, {});
        for (const int number : {INT_MIN, -1, 7, INT_MAX}) {
            KIVRA_COMPARE_PICTURES(rendered(picture, {number, 0, 0, 100}), neutral);
            KIVRA_COMPARE_PICTURES(rendered(picture, {0, number, 0, 100}), neutral);
        }
    }

    void anyThreadCountGivesTheSamePicture()
    {
        const QImage picture = randomPicture(QSize(641, 361));
        for (int mode = 0; mode <= 6; ++mode) {
            const QImage expected = reference::frame(picture, mode, 1, 20, 150);
            for (const int threads : {0, 1, 2, 3, 7}) {
                Renderer renderer(threads);
                KIVRA_COMPARE_PICTURES(renderer.render({picture}, {mode, 1, 20, 150}).image,
                                       expected);
            }
        }
    }

    void rendererTakesNoMoreThreadsThanItIsGiven()
    {
        const QImage picture = randomPicture(QSize(1281, 721));
        for (int mode = 0; mode <= 6; ++mode) {
            const Spy<&kivra::Kernels::shade> shade;
            const Spy<&kivra::Kernels::negative> negative;
            Renderer(1).render({picture}, {mode, 1, 20, 150});
            Renderer(2).render({picture}, {mode, 2, 20, 150});
            // A mode of two colours applies the effect only to these two, on one thread.
            QCOMPARE(shade.callers(), std::set{std::this_thread::get_id()});
            QVERIFY(negative.callers().size() <= 2);
        }
    }

    void renderersOnSeveralThreadsDoNotDisturbEachOther()
    {
        const QImage picture = randomPicture(QSize(641, 481));
        std::array<QImage, 7> expected;
        for (int mode = 0; mode <= 6; ++mode)
            expected.at(std::size_t(mode)) = reference::frame(picture, mode, 2, 20, 150);
        std::atomic<int> wrong(0);
        const auto work = [&](int threads) {
            Renderer renderer(threads);
            for (int i = 0; i < 21; ++i) {
                const QImage result = renderer.render({picture}, {i % 7, 2, 20, 150}).image;
                if (!difference(result, expected.at(std::size_t(i % 7))).isEmpty())
                    ++wrong;
            }
        };
        std::vector<std::thread> workers;
        for (const int threads : {1, 1, 2, 2})
            workers.emplace_back(work, threads);
        for (std::thread &worker : workers)
            worker.join();
        QCOMPARE(int(wrong), 0);
    }

    void framePixelsAreKept()
    {
        const QImage picture = randomPicture(QSize(33, 21));
        const QImage before = picture.copy();
        for (int mode = 0; mode <= 6; ++mode)
            rendered(picture, {mode, 2, 20, 150});
        KIVRA_COMPARE_PICTURES(picture, before);
    }

    void emptyFrame()
    {
        for (int mode = -1; mode <= 7; ++mode) {
            for (int effect = -1; effect <= 4; ++effect) {
                const Rendering result = Renderer().render({}, {mode, effect, 0, 100});
                QVERIFY(result.image.isNull());
                QCOMPARE(result.times.mode, 0.0);
                QCOMPARE(result.times.effect, 0.0);
            }
        }
    }

    void formats()
    {
        for (const QImage::Format format :
             {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied,
              QImage::Format_RGB888, QImage::Format_Grayscale8, QImage::Format_Indexed8,
              QImage::Format_RGBA8888, QImage::Format_Mono, QImage::Format_RGB30}) {
            const QImage picture = pictureIn(format);
            const bool words = format == QImage::Format_RGB32 || format == QImage::Format_ARGB32;
            const QImage source = words ? picture : picture.convertToFormat(QImage::Format_RGB32);
            const QImage expected = reference::frame(source, 2, 2, 20, 150);
            const QImage result = rendered(picture, {2, 2, 20, 150});
            QCOMPARE(result.format(), QImage::Format_RGB32);
            KIVRA_COMPARE_PICTURES(result, expected);
        }
    }

    void resolutionAndPixelRatioAreKept()
    {
        QImage picture = randomPicture(QSize(8, 8));
        picture.setDevicePixelRatio(2);
        picture.setDotsPerMeterX(1000);
        picture.setDotsPerMeterY(2000);
        const QImage result = rendered(picture, {});
        QCOMPARE(result.devicePixelRatio(), 2.0);
        QCOMPARE(result.dotsPerMeterX(), 1000);
        QCOMPARE(result.dotsPerMeterY(), 2000);
    }

    void rowsWithPadding()
    {
        const QImage picture = randomPicture(QSize(21, 13));
        for (int mode = 0; mode <= 6; ++mode) {
            std::vector<quint32> memory(std::size_t{24} * 13);
            QImage padded(reinterpret_cast<uchar *>(memory.data()), 21, 13, 96,
                          QImage::Format_ARGB32);
            for (int y = 0; y < 13; ++y)
                std::copy_n(picture.constScanLine(y), 84, padded.scanLine(y));
            const QImage expected = reference::frame(picture, mode, 3, -20, 120);
            KIVRA_COMPARE_PICTURES(rendered(padded, {mode, 3, -20, 120}), expected);
        }
    }

    void resultIsShownWithoutACopy()
    {
        const QImage result = rendered(randomPicture(QSize(64, 48)), {1, 0, 0, 100});
        const QPixmap pixmap = QPixmap::fromImage(result);
        QCOMPARE(pixmap.toImage().constBits(), result.constBits());
    }

    void steadyStreamReusesMemory()
    {
        const QImage picture = randomPicture(QSize(640, 480));
        Renderer renderer;
        std::vector<const uchar *> seen;
        QPixmap shown;
        for (int i = 0; i < 30; ++i) {
            const QImage result = renderer.render({picture}, {i % 7, 0, 0, 100}).image;
            if (std::find(seen.begin(), seen.end(), result.constBits()) == seen.end())
                seen.push_back(result.constBits());
            shown = QPixmap::fromImage(result);
        }
        QVERIFY(seen.size() <= 2);
    }

    void resultsOfAnotherSizeAreNotKept()
    {
        const QImage picture = randomPicture(QSize(64, 48));
        Renderer renderer;
        const auto rendered = [&](const QImage &frame, const FrameSettings &settings) {
            return renderer.render({frame, true}, settings).image;
        };
        const QImage first = rendered(picture, {1, 0, 0, 100});
        const QImage second = rendered(picture, {2, 0, 0, 100});
        QVERIFY(!first.isDetached()); // kept for the memory's next use
        QVERIFY(!second.isDetached());
        QImage plain(picture.size(), QImage::Format_RGB32);
        plain.fill(Qt::black);
        rendered(plain, {});
        QVERIFY(!first.isDetached());
        QVERIFY(!second.isDetached());
        rendered(plain.copy(0, 0, 32, 24), {});
        QVERIFY(first.isDetached());
        QVERIFY(second.isDetached());
    }

    void heldResultIsNeverOverwritten()
    {
        Renderer renderer;
        const auto rendered = [&](const QImage &frame, const FrameSettings &settings) {
            return renderer.render({frame}, settings).image;
        };
        const QImage first = rendered(uniformPicture(QSize(9, 9), 0x00112233U), {});
        std::vector<QImage> held;
        for (unsigned int i = 0; i < 8; ++i)
            held.push_back(rendered(uniformPicture(QSize(9, 9), i), {}));
        QCOMPARE(wordAt(first), 0xFF112233U);
        for (unsigned int i = 0; i < 8; ++i)
            QCOMPARE(wordAt(held[i], 8, 8), 0xFF000000U | i);
    }

    void timesOfAFrameThatIsItsOwnResult()
    {
        const QImage picture = gradient(QSize(640, 480));
        const FrameTimes times = Renderer().render({picture, true}, {}).times;
        QCOMPARE(times.mode, 0.0);
        QVERIFY(times.effect > 0);
    }

    void timesWithoutAModeAreTheEffects()
    {
        const QImage picture = randomPicture(QSize(640, 480));
        const FrameTimes times = Renderer().render({picture}, {0, 1, 20, 150}).times;
        QCOMPARE(times.mode, 0.0);
        QVERIFY(times.effect > 0);
    }

    // A slowed kernel shows where its time is counted.
    void modeAndEffectAreTimedApart_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("none") << 0;
        QTest::newRow("stretch") << 1;
        QTest::newRow("equalisation") << 2;
        QTest::newRow("posterisation") << 6;
    }

    void modeAndEffectAreTimedApart()
    {
        QFETCH(int, mode);
        constexpr std::chrono::microseconds each(20);
        constexpr int rows = 480;
        constexpr double seconds = rows * each.count() * 1e-6;
        const QImage picture = randomPicture(QSize(640, rows));
        Renderer renderer(1);
        {
            const Spy<&kivra::Kernels::shade> slow(each);
            const FrameTimes times = renderer.render({picture}, {mode, 1, 20, 150}).times;
            QVERIFY(times.effect >= seconds);
            QCOMPARE(times.mode > 0, mode != 0);
        }
        const Spy<&kivra::Kernels::tone> slowStretch(each);
        const Spy<&kivra::Kernels::line> slowLine(each);
        const Spy<&kivra::Kernels::relight> slowEqualisation(each);
        const Spy<&kivra::Kernels::hsvPlace> slowPoster(each);
        QElapsedTimer clock;
        clock.start();
        const FrameTimes times = renderer.render({picture}, {mode, 2, 0, 100}).times;
        QVERIFY(times.mode + times.effect <= double(clock.nsecsElapsed()) * 1e-9);
        QVERIFY(times.effect > 0);
        QVERIFY(mode == 0 ? times.mode == 0 : times.mode >= seconds);
    }
};

KIVRA_TEST_EACH_VERSION(TestRenderer)
#include "test_renderer.moc"
