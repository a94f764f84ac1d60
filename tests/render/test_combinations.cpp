// The renderer against the reference, in combinations of modes, effects and coefficients. A picture
// and its reference are made once for all versions of the kernels, because making them takes longer
// than rendering.

#include "cameras/demo/chalkboard.h"
#include "cameras/demo/difficultlight.h"
#include "cameras/demo/handwrittenpage.h"
#include "cameras/demo/printedpage.h"
#include "cameras/demo/scenepictures.h"
#include "render/renderer.h"
#include "tests/reference/reference.h"
#include "tests/render/pictures.h"
#include "tests/render/versions.h"
#include "tests/support/pictures.h"
#include "tests/support/thisbuild.h"

#include <QRandomGenerator>
#include <array>
#include <atomic>
#include <memory>

using namespace kivra::test;
using kivra::FrameSettings;
using kivra::Renderer;
namespace reference = kivra::reference;

namespace {

struct Coefficients
{
    int lumiere;
    int contraste;
};

constexpr std::array<Coefficients, 4> coefficients{{{0, 100}, {20, 172}, {-40, 57}, {100, 1000}}};

// The first version of the kernels that gives another picture than this one, and where it differs.
QString differenceOfVersions(const QImage &picture, const FrameSettings &settings,
                             const QImage &expected)
{
    for (const kivra::Isa isa : testedVersions()) {
        kivra::useKernels(kivra::kernelsFor(isa));
        const QString found = difference(Renderer().render({picture}, settings).image, expected);
        if (!found.isEmpty()) {
            return QStringLiteral("KIVRA_ISA=%1, mode %2, effect %3, lumiere %4, contraste %5: %6")
                .arg(QLatin1String(kivra::isaName(isa).data()))
                .arg(settings.mode)
                .arg(settings.effect)
                .arg(settings.lumiere)
                .arg(settings.contraste)
                .arg(found);
        }
    }
    return {};
}

// The first difference in a mode, with some effects and coefficients: a quarter of them for a small
// picture, an eighth for a large one, which takes long; others for each \a turn. Half as many under
// the sanitizers: which memory is used depends only on the size and the mode.
QString differenceOfMode(const QImage &picture, int mode, int turn)
{
    const bool isLarge = picture.width() * picture.height() > 100000;
    const int step = (isLarge ? 8 : 4) * (isSanitized() ? 2 : 1);
    int number = turn + 3 * mode;
    const QImage afterMode = reference::mode(picture, mode);
    for (int effect = 0; effect <= 3; ++effect) {
        for (const auto [lumiere, contraste] : coefficients) {
            if (number++ % step != 0)
                continue;
            QString found = differenceOfVersions(
                picture, {mode, effect, lumiere, contraste},
                reference::tableAndEffect(afterMode, lumiere, contraste, effect));
            if (!found.isEmpty())
                return found;
        }
    }
    return {};
}

// Greys so close to each other that each is close to the mean of its neighbours.
QImage faintNoise(const QSize &size)
{
    QImage picture(size, QImage::Format_RGB32);
    QRandomGenerator random(1);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            reinterpret_cast<QRgb *>(picture.scanLine(y))[x] =
                qRgb(0, 0, 0) | (124 + random.bounded(8U)) * 0x010101U;
    }
    return picture;
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

class TestCombinations : public QObject
{
    Q_OBJECT

private slots:
    void motifsMatchTheReference_data()
    {
        QTest::addColumn<int>("number");
        for (std::size_t i = 0; i < motifs().size(); ++i)
            QTest::addRow("%s", motifs()[i].name) << int(i);
    }

    void motifsMatchTheReference()
    {
        QFETCH(int, number);
        std::vector<QSize> sizes = smallSizes();
        for (const QSize size : largeSizes())
            sizes.push_back(size);
        if (isSanitized() && number > 0)
            sizes.pop_back(); // the largest, which has been seen with the first motif
        for (const QSize size : sizes) {
            const QImage picture = motifs().at(static_cast<std::size_t>(number)).draw(size);
            for (int mode = 0; mode <= 6; ++mode) {
                const QString found = differenceOfMode(picture, mode, number + size.height());
                QVERIFY2(found.isEmpty(), qPrintable(found));
            }
        }
    }

    // More columns than a tile, fewer rows than a neighbourhood, and the other way round.
    void flatAndNarrowPicturesMatchTheReference()
    {
        for (const QSize size : {QSize(1500, 2), QSize(1025, 3), QSize(513, 6), QSize(30000, 7),
                                 QSize(2, 1500), QSize(3, 700), QSize(40000, 2), QSize(70000, 1)}) {
            for (const Motif &motif : motifs()) {
                const QImage picture = motif.draw(size);
                for (int mode = 0; mode <= 6; ++mode) {
                    const QString found = differenceOfVersions(
                        picture, {mode, 2, 0, 100}, reference::frame(picture, mode, 2, 0, 100));
                    QVERIFY2(found.isEmpty(), qPrintable(found));
                }
            }
        }
    }

    // A mean over repeated rows equals the mean of one row except for rounding, which would flip
    // one pixel in a million. The sanitizers do not watch rounding.
    void rowOrColumnAloneMatchesTheReference()
    {
        const int length = isSanitized() ? 100000 : 4000000;
        for (const QSize size : {QSize(length, 1), QSize(1, length)}) {
            const QImage picture = faintNoise(size);
            for (const int mode : {4, 5}) {
                const QString found = differenceOfVersions(
                    picture, {mode, 0, 0, 100}, reference::frame(picture, mode, 0, 0, 100));
                QVERIFY2(found.isEmpty(), qPrintable(found));
            }
        }
    }

    void demonstrationPicturesMatchTheReference_data()
    {
        using namespace kivra::cameras;
        QTest::addColumn<QImage>("picture");
        QTest::addColumn<int>("turn");
        for (const QSize size : {QSize(321, 181), QSize(1281, 721)}) {
            if (isSanitized() && size.width() == 1281)
                continue; // the motifs have this size too
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
};

KIVRA_TEST(TestCombinations)
#include "test_combinations.moc"
