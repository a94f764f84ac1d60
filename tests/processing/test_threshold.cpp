#include "processing/buffers.h"
#include "processing/operations.h"
#include "tests/reference/reference.h"
#include "tests/render/pictures.h"
#include "tests/render/versions.h"

#include <climits>
#include <opencv2/imgproc.hpp>

using namespace kivra::test;
namespace reference = kivra::reference;

namespace {

unsigned int greyWord(unsigned int level)
{
    return 0xFF000000U | level * 0x010101U;
}

QImage thresholded(QImage picture, int level, int method)
{
    KvThreshold(&picture, level, method);
    return picture;
}

// True if sizes, types and all bytes are equal.
bool holdsTheSame(const cv::Mat &actual, const cv::Mat &expected)
{
    return actual.type() == expected.type() && actual.size() == expected.size() &&
           cv::norm(actual, expected, cv::NORM_INF) == 0;
}

QImage posterized(QImage picture)
{
    KvPosterize(&picture, 1);
    return picture;
}

} // namespace

class TestThreshold : public QObject
{
    Q_OBJECT

private slots:
    void uniformPictureThroughOtsu()
    {
        for (unsigned int level = 0; level < 256; ++level) {
            const QImage picture = uniformPicture(QSize(9, 7), greyWord(level));
            const QImage result = thresholded(picture, 50, 1);
            KIVRA_COMPARE_PICTURES(result, reference::threshold(picture, 50, 1));
            KIVRA_COMPARE_PICTURES(result, uniformPicture(QSize(9, 7), wordAt(result)));
        }
    }

    void uniformPictureIsWhiteAgainstItsNeighbours()
    {
        for (const unsigned int level : {0U, 1U, 2U, 127U, 255U}) {
            const QImage picture = uniformPicture(QSize(30, 20), greyWord(level));
            KIVRA_COMPARE_PICTURES(thresholded(picture, 50, 2),
                                   uniformPicture(QSize(30, 20), 0xFFFFFFFFU));
        }
    }

    void level50CutsBetween127And128()
    {
        KIVRA_COMPARE_PICTURES(thresholded(rowOf({greyWord(127), greyWord(128)}), 50, 0),
                               rowOf({0xFF000000U, 0xFFFFFFFFU}));
    }

    void extremeLevelsCutNothingOrAll()
    {
        const QImage ends = rowOf({greyWord(0), greyWord(255)});
        KIVRA_COMPARE_PICTURES(thresholded(ends, 0, 0), rowOf({0xFF000000U, 0xFFFFFFFFU}));
        // 100 * 2.55 falls just short of 255.
        KIVRA_COMPARE_PICTURES(thresholded(ends, 100, 0), rowOf({0xFF000000U, 0xFFFFFFFFU}));
        KIVRA_COMPARE_PICTURES(thresholded(ends, 101, 0), rowOf({0xFF000000U, 0xFF000000U}));
        KIVRA_COMPARE_PICTURES(thresholded(ends, -1, 0), rowOf({0xFFFFFFFFU, 0xFFFFFFFFU}));
        KIVRA_COMPARE_PICTURES(thresholded(ends, INT_MAX, 0), rowOf({0xFF000000U, 0xFF000000U}));
        KIVRA_COMPARE_PICTURES(thresholded(ends, INT_MIN, 0), rowOf({0xFFFFFFFFU, 0xFFFFFFFFU}));
    }

    void methods2And3AreTheSame()
    {
        for (const QSize size : {QSize(1, 1), QSize(37, 23), QSize(641, 481)}) {
            const QImage picture = randomPicture(size);
            KIVRA_COMPARE_PICTURES(thresholded(picture, 50, 3), thresholded(picture, 50, 2));
        }
    }

    void otherMethodShowsTheResultMatrix()
    {
        for (const int method : {-1, 4, INT_MAX}) {
            checkBuffers(6, 4);
            _dst.setTo(0xC8);
            KIVRA_COMPARE_PICTURES(thresholded(randomPicture(QSize(6, 4)), 50, method),
                                   uniformPicture(QSize(6, 4), 0xFFC8C8C8U));
            QCOMPARE(_dst.at<uchar>(0, 0), uchar(0xC8));
        }
        const QImage halves = rowOf({greyWord(10), greyWord(200)});
        const QImage result = thresholded(halves, 50, 0);
        KIVRA_COMPARE_PICTURES(thresholded(rowOf({0U, 0U}), 50, 9), result);
    }

    // The picture is defined even if somebody changes the working matrices between two calls.
    void strangeMatricesDoNoHarm()
    {
        const QImage picture = randomPicture(QSize(6, 4));
        for (const cv::Mat &strange :
             {cv::Mat(), cv::Mat(1, 1, CV_8UC1), cv::Mat(6, 4, CV_32FC3)}) {
            for (int method = 0; method <= 2; ++method) {
                checkBuffers(6, 4);
                _src_gray = strange;
                _dst = strange;
                KIVRA_COMPARE_PICTURES(thresholded(picture, 50, method),
                                       reference::threshold(picture, 50, method));
            }
            _dst = strange;
            KIVRA_COMPARE_PICTURES(thresholded(picture, 50, 9), picture);
        }
    }

    void methodsMatchTheReference_data()
    {
        QTest::addColumn<int>("method");
        QTest::addColumn<int>("level");
        QTest::newRow("level 30") << 0 << 30;
        QTest::newRow("level 77") << 0 << 77;
        QTest::newRow("Otsu") << 1 << 50;
        QTest::newRow("neighbours") << 2 << 50;
        QTest::newRow("neighbours again") << 3 << 50;
    }

    void methodsMatchTheReference()
    {
        QFETCH(int, method);
        QFETCH(int, level);
        std::vector<QSize> sizes = smallSizes();
        sizes.emplace_back(1281, 721);
        for (const Motif &motif : motifs()) {
            for (const QSize size : sizes) {
                const QImage picture = motif.draw(size);
                KIVRA_COMPARE_PICTURES(thresholded(picture, level, method),
                                       reference::threshold(picture, level, method));
            }
        }
    }

    // _src has the colours of the picture before; _src_gray its grey, after the median if there is
    // one; _dst the result.
    void matricesHoldTheSteps_data()
    {
        QTest::addColumn<int>("method");
        for (int method = 0; method <= 3; ++method)
            QTest::addRow("method %d", method) << method;
    }

    void matricesHoldTheSteps()
    {
        QFETCH(int, method);
        const QImage picture = randomPicture(QSize(50, 40));
        const cv::Mat colours = reference::colours(picture);
        cv::Mat grey;
        cv::cvtColor(colours, grey, cv::COLOR_BGR2GRAY);
        if (method >= 2)
            cv::medianBlur(grey, grey, 3);
        thresholded(uniformPicture(picture.size(), greyWord(7)), 50, 0);
        const QImage result = thresholded(picture, 50, method);
        QVERIFY(holdsTheSame(_src, colours));
        QVERIFY(holdsTheSame(_src_gray, grey));
        cv::Mat blue;
        cv::extractChannel(reference::colours(result), blue, 0);
        QVERIFY(holdsTheSame(_dst, blue));
    }

    void matricesWithoutAMethod()
    {
        const QImage picture = randomPicture(QSize(50, 40));
        thresholded(uniformPicture(picture.size(), greyWord(7)), 50, 0);
        const cv::Mat result = _dst.clone();
        thresholded(picture, 50, -1);
        const cv::Mat colours = reference::colours(picture);
        cv::Mat grey;
        cv::cvtColor(colours, grey, cv::COLOR_BGR2GRAY);
        QVERIFY(holdsTheSame(_src, colours));
        QVERIFY(holdsTheSame(_src_gray, grey));
        QVERIFY(holdsTheSame(_dst, result));
    }

    void posterizeLeavesTheOtherMatrices()
    {
        checkBuffers(50, 40);
        _src_gray.setTo(11);
        _dst.setTo(22);
        posterized(randomPicture(QSize(50, 40)));
        QImage picture = randomPicture(QSize(50, 40));
        KvPosterize1(&picture, 1);
        QCOMPARE(cv::countNonZero(_src_gray != 11), 0);
        QCOMPARE(cv::countNonZero(_dst != 22), 0);
    }

    void onlyMethod0LooksAtTheLevel()
    {
        const QImage picture = randomPicture(QSize(37, 23));
        for (int method = 1; method <= 3; ++method) {
            const QImage expected = reference::threshold(picture, 50, method);
            for (const int level : {INT_MIN, -1, 0, 20, 80, 100, INT_MAX})
                KIVRA_COMPARE_PICTURES(thresholded(picture, level, method), expected);
        }
    }

    void posterizeIgnoresTheNumber()
    {
        const QImage picture = randomPicture(QSize(70, 23));
        for (const int n : {INT_MIN, -1, 0, 1, 2, 8, INT_MAX}) {
            QImage result = picture;
            KvPosterize(&result, n);
            KIVRA_COMPARE_PICTURES(result, reference::posterize(picture));
            result = picture;
            KvPosterize1(&result, n);
            KIVRA_COMPARE_PICTURES(result, reference::posterizeChannels(picture));
        }
    }

    void posterizeGrey100() { QCOMPARE(wordAt(posterized(rowOf({greyWord(100)}))), greyWord(112)); }

    void posterizePureRed() { QCOMPARE(wordAt(posterized(rowOf({0x00FF0000U}))), 0xFFF00000U); }

    void posterizeEveryGrey()
    {
        for (unsigned int level = 0; level < 256; ++level)
            QCOMPARE(wordAt(posterized(rowOf({greyWord(level)}))), greyWord(level / 32 * 32 + 16));
    }

    void posterizeMatchesTheReference()
    {
        std::vector<QSize> sizes = smallSizes();
        sizes.emplace_back(1281, 721);
        for (const Motif &motif : motifs()) {
            for (const QSize size : sizes) {
                const QImage picture = motif.draw(size);
                KIVRA_COMPARE_PICTURES(posterized(picture), reference::posterize(picture));
            }
        }
    }

    void posterizeLeavesTheResultInTheSource()
    {
        const QImage result = posterized(randomPicture(QSize(50, 40)));
        const cv::Mat expected = reference::colours(result);
        QVERIFY(std::equal(_src.datastart, _src.dataend, expected.datastart));
    }

    void posterizeChannelBounds()
    {
        QImage picture = rowOf({0x003F40A0U, 0x00A13F40U});
        KvPosterize1(&picture, 1);
        KIVRA_COMPARE_PICTURES(picture, rowOf({0xFF007F7FU, 0xFFFF007FU}));
    }

    void posterizeChannelsMatchesTheReference()
    {
        for (const QSize size : smallSizes()) {
            const QImage picture = randomPicture(size);
            QImage result = picture;
            KvPosterize1(&result, 1);
            KIVRA_COMPARE_PICTURES(result, reference::posterizeChannels(picture));
            const cv::Mat expected = reference::colours(result);
            QVERIFY(std::equal(_src.datastart, _src.dataend, expected.datastart));
        }
    }

    void emptyPictureStays()
    {
        for (int method = -1; method <= 4; ++method)
            QVERIFY(thresholded(QImage(), 50, method).isNull());
        QVERIFY(posterized(QImage()).isNull());
        QImage picture;
        KvPosterize1(&picture, 1);
        QVERIFY(picture.isNull());
    }

    void otherHoldersKeepTheirPixels()
    {
        const QImage picture = randomPicture(QSize(20, 20));
        const QImage before = picture.copy();
        for (int method = -1; method <= 4; ++method)
            thresholded(picture, 50, method);
        posterized(picture);
        KIVRA_COMPARE_PICTURES(picture, before);
    }

    void rowsWithPaddingMatchRowsWithout()
    {
        const QImage picture = randomPicture(QSize(21, 13));
        std::vector<quint32> memory(std::size_t{24} * 13);
        for (int method = 0; method <= 3; ++method) {
            QImage padded(reinterpret_cast<uchar *>(memory.data()), 21, 13, 96,
                          QImage::Format_ARGB32);
            for (int y = 0; y < 13; ++y)
                std::copy_n(picture.constScanLine(y), 84, padded.scanLine(y));
            KvThreshold(&padded, 50, method);
            KIVRA_COMPARE_PICTURES(padded, reference::threshold(picture, 50, method));
            QCOMPARE(memory.at(23), 0U);
        }
    }
};

KIVRA_TEST_EACH_VERSION(TestThreshold)
#include "test_threshold.moc"
