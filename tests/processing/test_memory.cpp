// If there is no memory for a step, nothing is thrown, and pictures stay pictures.

#include "processing/buffers.h"
#include "processing/operations.h"
#include "tests/render/pictures.h"
#include "tests/support/memory.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <array>
#include <functional>
#include <numeric>

using namespace kivra::test;

namespace {

constexpr qint64 mebibyte = 1 << 20;
constexpr QSize size(5000, 4000); // 76 MiB, in matrices 57, 19 and 19 MiB

using Operation = std::function<void(QImage *)>;

void throughIdentity(QImage *image)
{
    std::array<int, 256> lut{};
    std::iota(lut.begin(), lut.end(), 0);
    AppliquerLut(image, lut.data());
}

} // namespace

Q_DECLARE_METATYPE(Operation)

class TestMemory : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (isSanitized())
            QSKIP("the sanitizer has all of the address space");
        picture = gradient(size);
        QImage small = gradient(QSize(400, 400));
        for (int method = 0; method <= 3; ++method)
            KvThreshold(&small, 50, method);
        KvPosterize(&small, 1);
        KvEqualizeHist(&small);
    }
    void cleanup() { checkBuffers(0, 0); }

    void everyOperationAtSeveralLimits_data()
    {
        QTest::addColumn<Operation>("operation");
        for (int method = -1; method <= 3; ++method)
            QTest::addRow("threshold %d", method)
                << Operation([method](QImage *image) { KvThreshold(image, 50, method); });
        QTest::newRow("posterise") << Operation([](QImage *image) { KvPosterize(image, 1); });
        QTest::newRow("channels") << Operation([](QImage *image) { KvPosterize1(image, 1); });
        QTest::newRow("equalise") << Operation(KvEqualizeHist);
        QTest::newRow("stretch") << Operation(KvStretchHist);
        QTest::newRow("table") << Operation(throughIdentity);
        QTest::newRow("colours") << Operation([](QImage *image) { fBicolore(image, 1, 2); });
    }

    void everyOperationAtSeveralLimits()
    {
        QFETCH(Operation, operation);
        for (const int room : {1, 50, 80, 100, 150, 180, 200}) {
            QImage shared = picture;
            runWithin(room, operation, &shared);
            QCOMPARE(shared.size(), size);
            if (room < 77) // no room even for the copy of shared pixels
                QCOMPARE(shared.constBits(), picture.constBits());
        }
    }

    void matricesAreThereOrEmpty()
    {
        for (const int room : {1, 60, 80, 90}) {
            const AddressSpaceLimit limit(room * mebibyte);
            checkBuffers(size.width(), size.height());
            QVERIFY(_src.empty() && _src_gray.empty() && _dst.empty());
            QVERIFY(qimage_to_mat_cpy(picture, CV_8UC4).empty() || room > 77);
        }
        checkBuffers(size.width(), size.height());
        QCOMPARE(_dst.size(), cv::Size(size.width(), size.height()));
    }

    void equalizationOfAMatrix()
    {
        const cv::Mat colours = qimage_to_mat_cpy(picture, CV_8UC3);
        const AddressSpaceLimit limit(mebibyte);
        ColorEqualizeHist(colours, colours);
        QCOMPARE(colours.size(), cv::Size(size.width(), size.height()));
    }

private:
    static void runWithin(int mebibytes, const Operation &operation, QImage *image)
    {
        checkBuffers(0, 0);
        const AddressSpaceLimit limit(mebibytes * mebibyte);
        operation(image);
    }

    QImage picture;
};

KIVRA_TEST(TestMemory)
#include "test_memory.moc"
