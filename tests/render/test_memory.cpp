// A picture for which memory is short is not rendered, and nothing else happens.

#include "render/renderer.h"
#include "tests/render/pictures.h"
#include "tests/support/memory.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <algorithm>

using namespace kivra::test;
using kivra::FrameSettings;
using kivra::Renderer;

namespace {

constexpr qint64 mebibyte = 1 << 20;
constexpr QSize largeSize(5000, 2000); // 38 MiB, its plane 10 MiB

} // namespace

class TestRendererMemory : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (isSanitized())
            QSKIP("the sanitizer has all of the address space");
        picture = gradient(largeSize);
        // Makes threads and tables that stay.
        for (int mode = 0; mode <= 6; ++mode)
            Renderer().render({gradient(QSize(400, 400))}, {mode, 1, 20, 150});
    }

    void everyModeAtSeveralLimits_data()
    {
        QTest::addColumn<int>("mode");
        for (int mode = 0; mode <= 6; ++mode)
            QTest::addRow("mode %d", mode) << mode;
    }

    void everyModeAtSeveralLimits()
    {
        QFETCH(int, mode);
        const FrameSettings settings{mode, 2, 20, 150};
        const QImage expected = Renderer().render({picture}, settings).image;
        QCOMPARE(expected.size(), largeSize);
        for (const int threads : {1, 2}) {
            Renderer renderer(threads);
            for (const int room : {1, 8, 30, 39, 41, 45, 47}) {
                const QImage result = renderedWithin(room, renderer, settings);
                if (!result.isNull())
                    KIVRA_COMPARE_PICTURES(result, expected);
                QVERIFY2(room >= 39 || result.isNull(), "the limit limits nothing");
            }
            // Once there is room again, pictures are rendered again.
            KIVRA_COMPARE_PICTURES(renderedWithin(100, renderer, settings), expected);
        }
    }

    // There is room for the result, but not for the plane.
    void pictureWithoutItsPlane_data()
    {
        QTest::addColumn<int>("mode");
        for (const int mode : {2, 3, 4, 5})
            QTest::addRow("mode %d", mode) << mode;
    }

    void pictureWithoutItsPlane()
    {
        QFETCH(int, mode);
        Renderer renderer;
        QVERIFY(renderedWithin(41, renderer, {mode, 0, 0, 100}).isNull());
        QVERIFY(!renderedWithin(41, renderer, {0, 2, 0, 100}).isNull());
    }

    void formatThatCannotBeConverted()
    {
        const QImage other = picture.convertToFormat(QImage::Format_RGB888);
        Renderer renderer;
        const AddressSpaceLimit limit(16 * mebibyte);
        QVERIFY(renderer.render({other}, {1, 0, 0, 100}).image.isNull());
    }

    void resultsThatNobodyHoldsMakeRoom()
    {
        Renderer renderer;
        renderer.render({picture}, {1, 0, 0, 100});
        renderer.render({picture}, {1, 0, 0, 100});
        const QImage wider = gradient(QSize(largeSize.width() + 8, largeSize.height()));
        const AddressSpaceLimit limit(16 * mebibyte);
        QVERIFY(!renderer.render({wider}, {1, 0, 0, 100}).image.isNull());
    }

private:
    QImage renderedWithin(int mebibytes, Renderer &renderer, const FrameSettings &settings) const
    {
        const AddressSpaceLimit limit(mebibytes * mebibyte);
        return renderer.render({picture}, settings).image;
    }

    QImage picture;
};

KIVRA_TEST(TestRendererMemory)
#include "test_memory.moc"
