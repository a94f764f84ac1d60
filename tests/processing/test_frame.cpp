#include "cameras/demo/chalkboard.h"
#include "cameras/demo/difficultlight.h"
#include "cameras/demo/handwrittenpage.h"
#include "cameras/demo/printedpage.h"
#include "cameras/demo/scenepictures.h"
#include "processing/frame.h"
#include "tests/processing/pictures.h"
#include "tests/processing/versions.h"
#include "tests/reference/reference.h"

#include <QPixmap>
#include <array>
#include <atomic>
#include <climits>
#include <memory>
#include <opencv2/core/utility.hpp>

using namespace kivra::test;
using kivra::FrameSettings;
using kivra::FrameTimes;
using kivra::processFrame;
using kivra::renderFrame;
namespace reference = kivra::reference;

namespace {

struct Coefficients
{
    int lumiere;
    int contraste;
};

constexpr std::array<Coefficients, 4> coefficients{{{0, 100}, {20, 172}, {-40, 57}, {100, 1000}}};

unsigned int rendered(unsigned int word, const FrameSettings &settings)
{
    return wordAt(renderFrame(rowOf({word}), settings));
}

// A picture of \a format that has more than one colour.
QImage pictureIn(QImage::Format format)
{
    return randomPicture(QSize(20, 10)).convertToFormat(format);
}

// The first difference of all effects and coefficients of a mode, by both entries. Of a large
// picture, where each takes long, only an eighth of them, another one for each \a turn.
QString differenceOfMode(const QImage &picture, int mode, int turn)
{
    const int step = picture.width() * picture.height() > 100000 ? 8 : 1;
    int number = turn + 3 * mode;
    const QImage afterMode = reference::mode(picture, mode);
    for (int effect = 0; effect <= 3; ++effect) {
        for (const auto [lumiere, contraste] : coefficients) {
            if (number++ % step != 0)
                continue;
            const FrameSettings settings{mode, effect, lumiere, contraste};
            const QImage expected =
                reference::tableAndEffect(afterMode, lumiere, contraste, effect);
            QImage inPlace = picture;
            processFrame(&inPlace, settings);
            for (const QImage &result : {renderFrame(picture, settings), inPlace}) {
                const QString found = difference(result, expected);
                if (!found.isEmpty()) {
                    return QStringLiteral("mode %1, effect %2, lumiere %3, contraste %4: %5")
                        .arg(mode)
                        .arg(effect)
                        .arg(lumiere)
                        .arg(contraste)
                        .arg(found);
                }
            }
        }
    }
    return {};
}

// What the demonstration camera sees of this scene after a second.
template<typename Scene>
QImage seenBy(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    const std::atomic<bool> abandoned(false);
    kivra::cameras::ScenePictures(std::make_unique<Scene>()).make(picture, 1, 0, abandoned);
    return picture;
}

} // namespace

class TestFrame : public QObject
{
    Q_OBJECT

private slots:
    void neutralFrameOnlySetsAlpha()
    {
        const QImage picture = rowOf({0x00123456U, 0x80FEDCBAU, 0xFF000000U});
        KIVRA_COMPARE_PICTURES(renderFrame(picture, {}),
                               rowOf({0xFF123456U, 0xFFFEDCBAU, 0xFF000000U}));
    }

    void opaqueFrameThatNothingChangesIsItsOwnResult()
    {
        QImage picture(QSize(33, 3), QImage::Format_RGB32);
        picture.fill(0xFF112233U);
        const auto isShared = [&](const FrameSettings &settings) {
            return renderFrame(picture, settings).constBits() == picture.constBits();
        };
        QVERIFY(isShared({0, 0, 0, 100}));
        QVERIFY(isShared({7, 4, 0, 100}));
        QVERIFY(!isShared({1, 0, 0, 100}));
        QVERIFY(!isShared({6, 0, 0, 100}));
        QVERIFY(!isShared({0, 1, 0, 100}));
        QVERIFY(!isShared({0, 0, 1, 100}));
        QVERIFY(!isShared({0, 0, 0, 101}));
        for (const QPoint &hole : {QPoint(0, 0), QPoint(32, 0), QPoint(17, 1), QPoint(32, 2)}) {
            const QImage whole = picture.copy();
            reinterpret_cast<unsigned int *>(picture.scanLine(hole.y()))[hole.x()] = 0xFE112233U;
            QVERIFY(!isShared({0, 0, 0, 100}));
            KIVRA_COMPARE_PICTURES(renderFrame(picture, {}), whole);
            picture = whole;
        }
        FrameSettings known;
        known.isOpaque = true; // then nobody looks
        picture.setPixel(0, 0, 0xFF112233U);
        reinterpret_cast<unsigned int *>(picture.scanLine(0))[0] = 0x00112233U;
        QVERIFY(isShared(known));
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
        const QImage board = renderFrame(picture, {5, 0, 0, 100});
        const QImage both = renderFrame(picture, {5, 3, 0, 100});
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
        const QImage neutral = renderFrame(picture, {});
        for (const int number : {INT_MIN, -1, 7, INT_MAX}) {
            KIVRA_COMPARE_PICTURES(renderFrame(picture, {number, 0, 0, 100}), neutral);
            KIVRA_COMPARE_PICTURES(renderFrame(picture, {0, number, 0, 100}), neutral);
        }
    }

    void allCombinationsMatchTheReference_data()
    {
        QTest::addColumn<int>("motif");
        QTest::addColumn<int>("mode");
        for (std::size_t motif = 0; motif < motifs().size(); ++motif) {
            for (int mode = 0; mode <= 6; ++mode)
                QTest::addRow("%s, mode %d", motifs()[motif].name, mode) << int(motif) << mode;
        }
    }

    void allCombinationsMatchTheReference()
    {
        QFETCH(int, motif);
        QFETCH(int, mode);
        std::vector<QSize> sizes = smallSizes();
        for (const QSize size : largeSizes())
            sizes.push_back(size);
        for (const QSize size : sizes) {
            const QImage picture = motifs().at(static_cast<std::size_t>(motif)).draw(size);
            const QString found = differenceOfMode(picture, mode, motif);
            QVERIFY2(found.isEmpty(), qPrintable(found));
        }
    }

    void demonstrationPicturesMatchTheReference_data()
    {
        using namespace kivra::cameras;
        QTest::addColumn<QImage>("picture");
        QTest::addColumn<int>("turn");
        for (const QSize size : {QSize(321, 181), QSize(1281, 721)}) {
            const QByteArray suffix = ", " + QByteArray::number(size.width());
            QTest::newRow("printed page" + suffix) << seenBy<PrintedPage>(size) << 0;
            QTest::newRow("handwritten page" + suffix) << seenBy<HandwrittenPage>(size) << 1;
            QTest::newRow("chalkboard" + suffix) << seenBy<Chalkboard>(size) << 2;
            QTest::newRow("difficult light" + suffix) << seenBy<DifficultLight>(size) << 3;
        }
    }

    void demonstrationPicturesMatchTheReference()
    {
        QFETCH(QImage, picture);
        QFETCH(int, turn);
        for (int mode = 0; mode <= 6; ++mode) {
            const QString found = differenceOfMode(picture, mode, turn);
            QVERIFY2(found.isEmpty(), qPrintable(found));
        }
    }

    void anyThreadCountGivesTheSamePicture()
    {
        const int usual = cv::getNumThreads();
        const QImage picture = randomPicture(QSize(1281, 721));
        for (int mode = 0; mode <= 6; ++mode) {
            const QImage expected = reference::frame(picture, mode, 1, 20, 150);
            for (const int threads : {1, 2, 3, 7}) {
                cv::setNumThreads(threads);
                const QImage result = renderFrame(picture, {mode, 1, 20, 150});
                cv::setNumThreads(usual);
                KIVRA_COMPARE_PICTURES(result, expected);
            }
        }
    }

    void framePixelsAreKept()
    {
        const QImage picture = randomPicture(QSize(33, 21));
        const QImage before = picture.copy();
        for (int mode = 0; mode <= 6; ++mode)
            renderFrame(picture, {mode, 2, 20, 150});
        KIVRA_COMPARE_PICTURES(picture, before);
    }

    void otherHoldersKeepTheirPixels()
    {
        const QImage picture = randomPicture(QSize(33, 21));
        const QImage before = picture.copy();
        for (int mode = 0; mode <= 6; ++mode) {
            QImage shared = picture;
            processFrame(&shared, {mode, 2, 20, 150});
            KIVRA_COMPARE_PICTURES(picture, before);
        }
    }

    void emptyFrame()
    {
        for (int mode = -1; mode <= 7; ++mode) {
            for (int effect = -1; effect <= 4; ++effect) {
                FrameTimes times{1, 1};
                QVERIFY(renderFrame(QImage(), {mode, effect, 0, 100}, &times).isNull());
                QVERIFY(times.mode >= 0 && times.mode < 1);
                QImage empty;
                processFrame(&empty, {mode, effect, 0, 100});
                QVERIFY(empty.isNull());
            }
        }
    }

    void formats()
    {
        for (const QImage::Format format :
             {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied,
              QImage::Format_RGB888, QImage::Format_Grayscale8, QImage::Format_Indexed8,
              QImage::Format_RGBA8888, QImage::Format_Mono, QImage::Format_RGB30}) {
            QImage picture = pictureIn(format);
            const bool words = format == QImage::Format_RGB32 || format == QImage::Format_ARGB32;
            const QImage source = words ? picture : picture.convertToFormat(QImage::Format_RGB32);
            const QImage expected = reference::frame(source, 2, 2, 20, 150);
            const QImage result = renderFrame(picture, {2, 2, 20, 150});
            QCOMPARE(result.format(), QImage::Format_RGB32);
            KIVRA_COMPARE_PICTURES(result, expected);
            processFrame(&picture, {2, 2, 20, 150});
            QCOMPARE(picture.format(), words ? format : QImage::Format_RGB32);
            KIVRA_COMPARE_PICTURES(picture, expected);
        }
    }

    void resolutionAndPixelRatioAreKept()
    {
        QImage picture = randomPicture(QSize(8, 8));
        picture.setDevicePixelRatio(2);
        picture.setDotsPerMeterX(1000);
        picture.setDotsPerMeterY(2000);
        const QImage result = renderFrame(picture, {});
        QCOMPARE(result.devicePixelRatio(), 2.0);
        QCOMPARE(result.dotsPerMeterX(), 1000);
        QCOMPARE(result.dotsPerMeterY(), 2000);
    }

    void rowsWithPaddingStayPadded()
    {
        const QImage picture = randomPicture(QSize(21, 13));
        for (int mode = 0; mode <= 6; ++mode) {
            std::vector<quint32> memory(std::size_t{24} * 13);
            QImage padded(reinterpret_cast<uchar *>(memory.data()), 21, 13, 96,
                          QImage::Format_ARGB32);
            for (int y = 0; y < 13; ++y)
                std::copy_n(picture.constScanLine(y), 84, padded.scanLine(y));
            const QImage expected = reference::frame(picture, mode, 3, -20, 120);
            KIVRA_COMPARE_PICTURES(renderFrame(padded, {mode, 3, -20, 120}), expected);
            processFrame(&padded, {mode, 3, -20, 120});
            KIVRA_COMPARE_PICTURES(padded, expected);
            for (std::size_t y = 0; y < 13; ++y)
                QCOMPARE(memory.at(24 * y + 22), 0U);
        }
    }

    void resultIsShownWithoutACopy()
    {
        const QImage result = renderFrame(randomPicture(QSize(64, 48)), {1, 0, 0, 100});
        const QPixmap pixmap = QPixmap::fromImage(result);
        QCOMPARE(pixmap.toImage().constBits(), result.constBits());
    }

    void steadyStreamReusesMemory()
    {
        const QImage picture = randomPicture(QSize(640, 480));
        std::vector<const uchar *> seen;
        QPixmap shown;
        for (int i = 0; i < 30; ++i) {
            const QImage result = renderFrame(picture, {i % 7, 0, 0, 100});
            if (std::find(seen.begin(), seen.end(), result.constBits()) == seen.end())
                seen.push_back(result.constBits());
            shown = QPixmap::fromImage(result);
        }
        QVERIFY(seen.size() <= 2);
    }

    void resultsOfAnotherSizeAreNotKept()
    {
        const QImage picture = randomPicture(QSize(64, 48));
        const QImage first = renderFrame(picture, {1, 0, 0, 100});
        const QImage second = renderFrame(picture, {2, 0, 0, 100});
        QVERIFY(!first.isDetached()); // for the memory's next use
        QVERIFY(!second.isDetached());
        QImage plain(picture.size(), QImage::Format_RGB32);
        plain.fill(Qt::black);
        renderFrame(plain, {});
        QVERIFY(!first.isDetached());
        QVERIFY(!second.isDetached());
        renderFrame(plain.copy(0, 0, 32, 24), {});
        QVERIFY(first.isDetached());
        QVERIFY(second.isDetached());
    }

    void heldResultIsNeverOverwritten()
    {
        const QImage first = renderFrame(uniformPicture(QSize(9, 9), 0x00112233U), {});
        std::vector<QImage> held;
        for (unsigned int i = 0; i < 8; ++i)
            held.push_back(renderFrame(uniformPicture(QSize(9, 9), i), {}));
        QCOMPARE(wordAt(first), 0xFF112233U);
        for (unsigned int i = 0; i < 8; ++i)
            QCOMPARE(wordAt(held[i], 8, 8), 0xFF000000U | i);
    }

    void timesAreMeasured()
    {
        const QImage picture = randomPicture(QSize(640, 480));
        FrameTimes times;
        renderFrame(picture, {0, 0, 0, 100}, &times);
        QCOMPARE(times.mode, 0.0);
        QVERIFY(times.effect > 0);
        for (int mode = 1; mode <= 6; ++mode) {
            times = {};
            QImage inPlace = picture;
            processFrame(&inPlace, {mode, 0, 0, 100}, &times);
            QVERIFY(times.mode > 0);
            QVERIFY(times.effect > 0);
        }
    }
};

KIVRA_TEST_EACH_VERSION(TestFrame)
#include "test_frame.moc"
