#include "processing/buffers.h"
#include "processing/operations.h"
#include "tests/reference/reference.h"
#include "tests/render/pictures.h"
#include "tests/render/versions.h"

#include <opencv2/imgproc.hpp>

using namespace kivra::test;
namespace reference = kivra::reference;

namespace {

QImage stretched(QImage picture)
{
    KvStretchHist(&picture);
    return picture;
}

QImage equalized(QImage picture)
{
    KvEqualizeHist(&picture);
    return picture;
}

// A row in which every blue level from first to last appears equally often.
std::vector<unsigned int> blueLevels(unsigned int first, unsigned int last)
{
    std::vector<unsigned int> words;
    for (unsigned int level = first; level <= last; ++level)
        words.push_back(level);
    return words;
}

} // namespace

class TestHistogram : public QObject
{
    Q_OBJECT

private slots:
    void constantBlueTurnsBlack()
    {
        for (const unsigned int blue : {0U, 1U, 100U, 255U}) {
            const QImage result = stretched(rowOf({0x00FF0000U | blue, 0xFF00FF00U | blue}));
            KIVRA_COMPARE_PICTURES(result, rowOf({0xFF000000U, 0xFF000000U}));
        }
    }

    void fullBlueRangeOnlySetsAlpha()
    {
        std::vector<unsigned int> words = blueLevels(0, 255);
        std::vector<unsigned int> expected;
        for (unsigned int &word : words) {
            word |= (word * 37 & 0xFFU) << 16 | (word ^ 0x5AU) << 8;
            expected.push_back(word | 0xFF000000U);
        }
        KIVRA_COMPARE_PICTURES(stretched(rowOf(words)), rowOf(expected));
    }

    void blueFrom40To200IsStretched()
    {
        const QImage result = stretched(rowOf(blueLevels(40, 200)));
        QCOMPARE(wordAt(result, 0), 0xFF000000U);
        QCOMPARE(wordAt(result, 120 - 40), 0xFF00007FU);
        QCOMPARE(wordAt(result, 200 - 40), 0xFF0000FFU);
    }

    void rareLevelsDoNotCount()
    {
        QImage picture = uniformPicture(QSize(100, 100), 0xFF000064U);
        for (int y = 0; y < 50; ++y)
            picture.setPixel(0, y, 0xFF0000C8U);
        for (int x = 1; x < 9; ++x) {
            picture.setPixel(x, 0, 0xFF000000U);
            picture.setPixel(x, 1, 0xFF0000FFU);
        }
        const QImage result = stretched(picture);
        QCOMPARE(wordAt(result, 50, 50), 0xFF000000U);
        QCOMPARE(wordAt(result, 0, 0), 0xFF0000FFU);
        KIVRA_COMPARE_PICTURES(result, reference::stretch(picture));
    }

    void exactlyOneThousandthDoesNotCount()
    {
        QImage picture = uniformPicture(QSize(1000, 2), 0xFF000064U);
        picture.setPixel(0, 0, 0xFF0000C8U);
        picture.setPixel(1, 0, 0xFF0000C8U);
        // 2 of 2000 is not more than the threshold: only one level counts.
        KIVRA_COMPARE_PICTURES(stretched(picture), uniformPicture(QSize(1000, 2), 0xFF000000U));
        picture.setPixel(2, 0, 0xFF0000C8U);
        QCOMPARE(wordAt(stretched(picture)), 0xFF0000FFU);
    }

    void stretchMatchesTheReference()
    {
        std::vector<QSize> sizes = smallSizes();
        sizes.emplace_back(1281, 721);
        for (const Motif &motif : motifs()) {
            for (const QSize size : sizes) {
                const QImage picture = motif.draw(size);
                KIVRA_COMPARE_PICTURES(stretched(picture), reference::stretch(picture));
            }
        }
    }

    void stretchLeavesTheOriginalInTheSource()
    {
        const QImage picture = randomPicture(QSize(50, 40));
        stretched(picture);
        const cv::Mat expected = reference::colours(picture);
        QVERIFY(std::equal(_src.datastart, _src.dataend, expected.datastart));
    }

    void equalizeMatchesTheReference()
    {
        std::vector<QSize> sizes = smallSizes();
        sizes.emplace_back(1281, 721);
        for (const Motif &motif : motifs()) {
            for (const QSize size : sizes) {
                const QImage picture = motif.draw(size);
                KIVRA_COMPARE_PICTURES(equalized(picture), reference::equalize(picture));
            }
        }
    }

    void equalizeLeavesTheResultInTheSource()
    {
        const QImage result = equalized(randomPicture(QSize(50, 40)));
        const cv::Mat expected = reference::colours(result);
        QVERIFY(std::equal(_src.datastart, _src.dataend, expected.datastart));
    }

    void equalizeAndStretchLeaveTheOtherMatrices()
    {
        const QSize size(50, 40);
        checkBuffers(size.width(), size.height());
        _src_gray.setTo(11);
        _dst.setTo(22);
        equalized(randomPicture(size));
        stretched(randomPicture(size));
        QCOMPARE(cv::countNonZero(_src_gray != 11), 0);
        QCOMPARE(cv::countNonZero(_dst != 22), 0);
    }

    void matrixEqualizationMatchesTheReference()
    {
        const QImage picture = randomPicture(QSize(67, 31));
        const cv::Mat source = qimage_to_mat_cpy(picture, CV_8UC3);
        cv::Mat result(source.size(), CV_8UC3);
        ColorEqualizeHist(source, result);
        const cv::Mat expected = reference::colours(reference::equalize(picture));
        QVERIFY(std::equal(result.datastart, result.dataend, expected.datastart));
        const cv::Mat unchanged = reference::colours(picture);
        QVERIFY(std::equal(source.datastart, source.dataend, unchanged.datastart));
    }

    void matrixEqualizationWorksInPlace()
    {
        const QImage picture = randomPicture(QSize(67, 31));
        const cv::Mat matrix = qimage_to_mat_cpy(picture, CV_8UC3);
        ColorEqualizeHist(matrix, matrix);
        const cv::Mat expected = reference::colours(reference::equalize(picture));
        QVERIFY(std::equal(matrix.datastart, matrix.dataend, expected.datastart));
    }

    void matrixEqualizationIgnoresWhatDoesNotFit()
    {
        ColorEqualizeHist(cv::Mat(), cv::Mat());
        cv::Mat small(2, 2, CV_8UC3, cv::Scalar::all(3));
        ColorEqualizeHist(cv::Mat(3, 3, CV_8UC3, cv::Scalar::all(9)), small);
        QCOMPARE(small.at<cv::Vec3b>(1, 1), cv::Vec3b(3, 3, 3));
        cv::Mat grey(2, 2, CV_8UC1, cv::Scalar::all(3));
        ColorEqualizeHist(grey, grey);
        QCOMPARE(grey.at<uchar>(1, 1), uchar(3));
    }

    void emptyPictureStays()
    {
        QVERIFY(stretched(QImage()).isNull());
        QVERIFY(equalized(QImage()).isNull());
    }

    void otherHoldersKeepTheirPixels()
    {
        const QImage picture = randomPicture(QSize(20, 20));
        const QImage before = picture.copy();
        stretched(picture);
        equalized(picture);
        KIVRA_COMPARE_PICTURES(picture, before);
    }
};

KIVRA_TEST_EACH_VERSION(TestHistogram)
#include "test_histogram.moc"
