#include "processing/buffers.h"
#include "processing/operations.h"
#include "tests/reference/reference.h"
#include "tests/render/pictures.h"
#include "tests/support/testmain.h"

#include <vector>

using namespace kivra::test;

class TestBuffers : public QObject
{
    Q_OBJECT

private slots:
    void checkBuffersKeepsMatricesOfTheSameSize()
    {
        checkBuffers(640, 480);
        const std::vector<const uchar *> before{_src.data, _src_gray.data, _dst.data};
        _dst.setTo(7);
        checkBuffers(640, 480);
        const std::vector<const uchar *> after{_src.data, _src_gray.data, _dst.data};
        QCOMPARE(after, before);
        QCOMPARE(_dst.at<uchar>(479, 639), uchar(7));
    }

    void checkBuffersMakesAllAnewForAnotherSize()
    {
        checkBuffers(640, 480);
        const cv::Mat oldSource = _src;
        const cv::Mat oldGray = _src_gray;
        const cv::Mat oldResult = _dst;
        checkBuffers(1280, 720);
        QCOMPARE(_src.type(), CV_8UC3);
        QCOMPARE(_src_gray.type(), CV_8UC1);
        QCOMPARE(_dst.type(), CV_8UC1);
        for (const cv::Mat *matrix : {&_src, &_src_gray, &_dst}) {
            QCOMPARE(matrix->rows, 720);
            QCOMPARE(matrix->cols, 1280);
        }
        QVERIFY(_src.data != oldSource.data);
        QVERIFY(_src_gray.data != oldGray.data);
        QVERIFY(_dst.data != oldResult.data);
    }

    void checkBuffersGivesZerosToShow()
    {
        checkBuffers(31, 17);
        _dst.setTo(200);
        checkBuffers(17, 31);
        QImage picture = randomPicture(QSize(17, 31));
        KvThreshold(&picture, 50, 4);
        KIVRA_COMPARE_PICTURES(picture, uniformPicture(QSize(17, 31), 0xFF000000U));
    }

    void checkBuffersTakesEmptyAndNegativeSizes()
    {
        checkBuffers(8, 8);
        checkBuffers(0, 0);
        QVERIFY(_src.empty() && _src_gray.empty() && _dst.empty());
        checkBuffers(8, 8);
        checkBuffers(-3, 5);
        QVERIFY(_src.empty() && _src_gray.empty() && _dst.empty());
        checkBuffers(5, -3);
        QVERIFY(_src.empty());
    }

    void pixelBecomesBlueGreenRed()
    {
        const cv::Mat matrix = qimage_to_mat_cpy(rowOf({0xFF102030U}), CV_8UC3);
        QCOMPARE(matrix.at<cv::Vec3b>(0, 0), cv::Vec3b(0x30, 0x20, 0x10));
        QImage picture = rowOf({0xFF102030U});
        KvStretchHist(&picture);
        QCOMPARE(_src.at<cv::Vec3b>(0, 0), cv::Vec3b(0x30, 0x20, 0x10));
    }

    // The operation leaves these levels as they are, so only the way there and back shows.
    void colourComesBackUnchanged()
    {
        QImage picture = rowOf({0xFF007FFFU});
        KvPosterize1(&picture, 1);
        QCOMPARE(wordAt(picture), 0xFF007FFFU);
        QCOMPARE(_src.at<cv::Vec3b>(0, 0), cv::Vec3b(0xFF, 0x7F, 0x00));
    }

    void transparentPixelComesBackOpaque()
    {
        QImage picture = rowOf({0x00FF7F00U});
        KvPosterize1(&picture, 1);
        QCOMPARE(wordAt(picture), 0xFFFF7F00U);
    }

    void copyMatchesTheReference()
    {
        for (const QSize size : {QSize(1, 1), QSize(33, 5), QSize(1281, 721)}) {
            const QImage picture = randomPicture(size);
            const cv::Mat matrix = qimage_to_mat_cpy(picture, CV_8UC3);
            const cv::Mat expected = kivra::reference::colours(picture);
            QCOMPARE(matrix.type(), CV_8UC3);
            QCOMPARE(matrix.size(), expected.size());
            QVERIFY(matrix.isContinuous());
            QVERIFY(std::equal(matrix.datastart, matrix.dataend, expected.datastart));
        }
    }

    void copyReadsRowsWithPadding()
    {
        std::vector<quint32> memory{0x010203, 0x040506, 0xEEEEEE, 0x070809, 0x0A0B0C, 0xEEEEEE};
        const QImage padded(reinterpret_cast<uchar *>(memory.data()), 2, 2, 12,
                            QImage::Format_RGB32);
        const cv::Mat matrix = qimage_to_mat_cpy(padded, CV_8UC3);
        QCOMPARE(matrix.at<cv::Vec3b>(0, 1), cv::Vec3b(6, 5, 4));
        QCOMPARE(matrix.at<cv::Vec3b>(1, 0), cv::Vec3b(9, 8, 7));
    }

    void copyConvertsOtherFormats()
    {
        QImage grey(1, 1, QImage::Format_Grayscale8);
        grey.fill(QColor(77, 77, 77));
        QCOMPARE(qimage_to_mat_cpy(grey, CV_8UC3).at<cv::Vec3b>(0, 0), cv::Vec3b(77, 77, 77));
    }

    void copyOfAnotherTypeIsZero()
    {
        const cv::Mat matrix = qimage_to_mat_cpy(rowOf({0xFF102030U, 0xFFFFFFFFU}), CV_8UC1);
        QCOMPARE(matrix.type(), CV_8UC1);
        QCOMPARE(matrix.size(), cv::Size(2, 1));
        QCOMPARE(matrix.at<uchar>(0, 0), uchar(0));
        QCOMPARE(matrix.at<uchar>(0, 1), uchar(0));
    }

    void copyOfFourChannelsIsOpaque()
    {
        for (const QSize size : {QSize(1, 1), QSize(33, 5)}) {
            const QImage picture = randomPicture(size);
            const cv::Mat matrix = qimage_to_mat_cpy(picture, CV_8UC4);
            const cv::Mat expected = kivra::reference::colours(picture);
            QCOMPARE(matrix.type(), CV_8UC4);
            QCOMPARE(matrix.size(), expected.size());
            for (int y = 0; y < matrix.rows; ++y) {
                for (int x = 0; x < matrix.cols; ++x) {
                    const cv::Vec3b &colour = expected.at<cv::Vec3b>(y, x);
                    QCOMPARE(matrix.at<cv::Vec4b>(y, x),
                             cv::Vec4b(colour[0], colour[1], colour[2], 255));
                }
            }
        }
    }

    void copyOfAnEmptyPictureIsEmpty()
    {
        QVERIFY(qimage_to_mat_cpy(QImage(), CV_8UC3).empty());
        QVERIFY(qimage_to_mat_cpy(QImage(), CV_8UC1).empty());
    }

    // As far as a caller can see, each picture gets a source matrix of its own.
    void operationKeepsAnOlderSourceMatrix()
    {
        QImage first = uniformPicture(QSize(4, 4), 0xFF000000U);
        KvStretchHist(&first);
        const cv::Mat held = _src;
        QImage second = uniformPicture(QSize(4, 4), 0xFFFFFFFFU);
        KvStretchHist(&second);
        QCOMPARE(held.at<cv::Vec3b>(3, 3), cv::Vec3b(0, 0, 0));
        QCOMPARE(_src.at<cv::Vec3b>(3, 3), cv::Vec3b(255, 255, 255));
    }

    void referenceSharesThePixels()
    {
        QImage picture = randomPicture(QSize(3, 2));
        cv::Mat header = qimage_to_mat_ref(picture, CV_8UC4);
        QCOMPARE(header.size(), cv::Size(3, 2));
        QCOMPARE(header.step, std::size_t(picture.bytesPerLine()));
        header.at<cv::Vec4b>(1, 2) = cv::Vec4b(1, 2, 3, 4);
        QCOMPARE(wordAt(picture, 2, 1), 0x04030201U);

        const cv::Mat narrow = qimage_to_mat_ref(picture, CV_8UC3);
        QCOMPARE(narrow.type(), CV_8UC3);
        QCOMPARE(narrow.step, std::size_t(12));
        QVERIFY(!narrow.isContinuous());
        QImage empty;
        QVERIFY(qimage_to_mat_ref(empty, CV_8UC3).empty());
    }

    // Besides depth and channels, a matrix's type field carries flags.
    void marksOfTheTypeAreLeftOut()
    {
        QImage picture = randomPicture(QSize(3, 2));
        const int marked = cv::Mat(2, 3, CV_8UC4).flags;
        QVERIFY(marked != CV_8UC4);
        QCOMPARE(qimage_to_mat_ref(picture, marked).type(), CV_8UC4);
        QCOMPARE(qimage_to_mat_ref(picture, CV_8UC4 | 0x7000).type(), CV_8UC4);
        QCOMPARE(qimage_to_mat_ref(picture, CV_8UC4 | 0x7000).dims, 2);
        QCOMPARE(qimage_to_mat_cpy(picture, CV_8UC3 | 0x7000).type(), CV_8UC3);
    }

    void referenceDetachesFromOtherHolders()
    {
        QImage picture = rowOf({0xFF112233U});
        const QImage other = picture;
        qimage_to_mat_ref(picture, CV_8UC4).setTo(0);
        QCOMPARE(wordAt(other), 0xFF112233U);
    }

    void pictureOverMatrixSharesItsData()
    {
        cv::Mat matrix(2, 3, CV_8UC4, cv::Scalar::all(9));
        const QImage picture = mat_to_qimage_ref(matrix, QImage::Format_ARGB32);
        QCOMPARE(picture.size(), QSize(3, 2));
        QCOMPARE(picture.constBits(), matrix.data);
        matrix.at<cv::Vec4b>(1, 2) = cv::Vec4b(1, 2, 3, 4);
        QCOMPARE(wordAt(picture, 2, 1), 0x04030201U);
    }

    void pictureCopyIsDeep()
    {
        cv::Mat matrix(2, 3, CV_8UC4, cv::Scalar::all(9));
        const QImage picture = mat_to_qimage_cpy(matrix, QImage::Format_ARGB32);
        matrix.setTo(0);
        QCOMPARE(wordAt(picture, 2, 1), 0x09090909U);
    }

    void rowsOfAMatrixMayBePadded()
    {
        cv::Mat whole(3, 5, CV_8UC4);
        for (int i = 0; i < 15; ++i)
            whole.at<int>(i / 5, i % 5) = i;
        cv::Mat part = whole.colRange(1, 4);
        const QImage shared = mat_to_qimage_ref(part, QImage::Format_ARGB32);
        const QImage copied = mat_to_qimage_cpy(part, QImage::Format_ARGB32);
        QCOMPARE(shared.size(), QSize(3, 3));
        QCOMPARE(copied.size(), QSize(3, 3));
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 3; ++x) {
                QCOMPARE(wordAt(shared, x, y), unsigned(5 * y + x + 1));
                QCOMPARE(wordAt(copied, x, y), unsigned(5 * y + x + 1));
            }
        }
    }

    void emptyMatrixGivesNullPicture()
    {
        cv::Mat matrix;
        QVERIFY(mat_to_qimage_ref(matrix, QImage::Format_RGB32).isNull());
        QVERIFY(mat_to_qimage_cpy(matrix, QImage::Format_RGB32).isNull());
    }
};

KIVRA_TEST(TestBuffers)
#include "test_buffers.moc"
