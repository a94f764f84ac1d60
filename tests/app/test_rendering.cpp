// Selection of mode and effect, and what the window makes of a frame.

#include "tests/app/windowtest.h"
#include "tests/reference/reference.h"
#include "tests/support/memory.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <QElapsedTimer>
#include <QPixmap>
#include <cmath>

using kivra::test::gradient;
using kivra::test::storeSetting;
using kivra::test::Window;
using kivra::test::WindowTest;
namespace reference = kivra::reference;

namespace {

constexpr const char *modeNames[] = {
    "actionTrNormal",        "actionAutomatique",  "actionEclairage_difficile", "actionTexte",
    "actionTexte_manuscrit", "actionTableau_vert", "actionEffet_artistique",
};
constexpr const char *effectNames[] = {"actionNormal", "actionNoir_et_blanc", "actionNegatif",
                                       "actionBicolore"};

constexpr QSize frameSize(120, 80);

} // namespace

class TestRendering : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
        QVERIFY(device().pushPicture(gradient(frameSize)));
        frame = window->probe.lastFrame();
    }

    void everyCombinationIsShown()
    {
        window->probe.setCoefficient(1, 20);
        window->probe.setCoefficient(0, 144);
        for (int mode = 0; mode <= 6; ++mode) {
            window->action(modeNames[mode])->setEnabled(true);
            window->trigger(modeNames[mode]);
            for (int effect = 0; effect <= 3; ++effect) {
                window->trigger(effectNames[0]);
                if (effect > 0)
                    window->trigger(effectNames[effect]);
                window->call("updateDisplay");
                const QImage expected =
                    reference::tableAndEffect(reference::mode(frame, mode), 20, 144, effect);
                KIVRA_COMPARE_PICTURES(window->shownPicture(frameSize), expected);
                KIVRA_COMPARE_PICTURES(window->probe.lastFrame(), frame);
            }
        }
    }

    void slotTransformsInPlace()
    {
        QImage picture = gradient(frameSize);
        window->call("fProcessing", Q_ARG(QImage *, &picture), Q_ARG(int, 5), Q_ARG(int, 3));
        KIVRA_COMPARE_PICTURES(
            picture, reference::tableAndEffect(reference::mode(gradient(frameSize), 5), 0, 100, 3));
    }

    void figuresOfAFrame()
    {
        window->trigger("actionTexte_manuscrit");
        window->call("updateDisplay");
        QCOMPARE(window->probe.lastPixelCount(), frameSize.width() * frameSize.height());
        QVERIFY(window->probe.processingTimeMsPerMp() > 0);
        QVERIFY(window->probe.displayTimeMsPerMp() > 0);
    }

    // In milliseconds per megapixel: together no more than the whole took, and not a small fraction
    // of it. Medians and means of neighbourhoods take longer than a table, unless another program
    // took the processor meanwhile; then the test tries again.
    void figuresShareTheTimeOfAFrame()
    {
        bool asExpected = false;
        for (int attempt = 0; !asExpected && attempt < 20; ++attempt) {
            QImage picture = gradient({1600, 1200});
            QElapsedTimer clock;
            clock.start();
            window->call("fProcessing", Q_ARG(QImage *, &picture), Q_ARG(int, 4), Q_ARG(int, 1));
            const double whole = double(clock.nsecsElapsed()) * 1e-6 / (1600 * 1200 * 1e-6);
            const double mode = window->probe.processingTimeMsPerMp();
            const double rest = window->probe.displayTimeMsPerMp();
            QVERIFY(mode + rest <= whole);
            asExpected = mode + rest > whole / 100 && mode > rest;
        }
        QVERIFY(asExpected);
    }

    // The mode's figure does not include the table and the effect that follow it.
    void figuresTellModeFromEffect()
    {
        for (const int mode : {1, 2, 6}) {
            QImage picture = gradient({1600, 1200});
            window->probe.setCoefficient(1, 20);
            window->call("fProcessing", Q_ARG(QImage *, &picture), Q_ARG(int, mode), Q_ARG(int, 3));
            QVERIFY(window->probe.processingTimeMsPerMp() > 0.001);
            QVERIFY(window->probe.displayTimeMsPerMp() > 0.001);
        }
    }

    void frameThatCannotBeRenderedLeavesTheLastPicture()
    {
        if (kivra::test::isSanitized())
            QSKIP("the sanitizer has all of the address space");
        QVERIFY(device().pushPicture(gradient({4000, 3000}))); // 46 MiB
        const int pixelCount = window->probe.lastPixelCount();
        const QImage shown = window->shownPicture(frameSize);
        for (int mode = 1; mode <= 6; ++mode) {
            window->action(modeNames[mode])->setEnabled(true);
            window->trigger(modeNames[mode]);
            for (const qint64 room : {8, 20, 40}) {
                const kivra::test::AddressSpaceLimit limit(room << 20);
                window->call("updateDisplay");
                QCOMPARE(window->probe.lastFrame().size(), QSize(4000, 3000));
            }
            KIVRA_COMPARE_PICTURES(window->shownPicture(frameSize), shown);
            QCOMPARE(window->probe.lastPixelCount(), pixelCount);
        }
        QVERIFY(device().pushPicture(gradient(frameSize)));
        KIVRA_COMPARE_PICTURES(window->shownPicture(frameSize), reference::mode(frame, 6));
    }

    void figuresOfNoFrame()
    {
        QImage nothing;
        window->call("fProcessing", Q_ARG(QImage *, &nothing), Q_ARG(int, 4), Q_ARG(int, 1));
        QVERIFY(nothing.isNull());
        QCOMPARE(window->probe.lastPixelCount(), 0);
        QVERIFY(!std::isfinite(window->probe.processingTimeMsPerMp()) ||
                window->probe.processingTimeMsPerMp() == 0);
    }

    void modeActionsSelect()
    {
        for (int mode : {3, 1, 6, 2, 5, 4, 0}) {
            window->action(modeNames[mode])->setEnabled(true);
            const QImage before = window->shownPicture(frameSize);
            window->trigger(modeNames[mode]);
            QCOMPARE(window->probe.imageProcessing(), mode);
            QVERIFY(window->action(modeNames[mode])->isChecked());
            // Selecting neither repaints nor shows a message: the next frame shows the mode.
            KIVRA_COMPARE_PICTURES(window->shownPicture(frameSize), before);
            QCOMPARE(window->messageText(), QString());
        }
    }

    void nextFrameShowsTheChosenMode()
    {
        window->trigger("actionTexte");
        QVERIFY(device().pushPicture(gradient(frameSize)));
        KIVRA_COMPARE_PICTURES(window->shownPicture(frameSize), reference::mode(frame, 3));
    }

    void effectActionsToggle_data()
    {
        QTest::addColumn<QList<int>>("chosen");
        QTest::addColumn<int>("effect");
        QTest::newRow("grey") << QList<int>{1} << 1;
        QTest::newRow("negative") << QList<int>{2} << 2;
        QTest::newRow("two colours") << QList<int>{3} << 3;
        QTest::newRow("grey twice") << QList<int>{1, 1} << 0;
        QTest::newRow("negative twice") << QList<int>{2, 2} << 0;
        QTest::newRow("two colours twice") << QList<int>{3, 3} << 0;
        QTest::newRow("grey after negative") << QList<int>{2, 1} << 1;
        QTest::newRow("normal after two colours") << QList<int>{3, 0} << 0;
        QTest::newRow("normal twice") << QList<int>{0, 0} << 0;
        QTest::newRow("three times") << QList<int>{2, 2, 2} << 2;
    }

    void effectActionsToggle()
    {
        QFETCH(QList<int>, chosen);
        QFETCH(int, effect);
        const QImage before = window->shownPicture(frameSize);
        for (const int choice : chosen)
            window->trigger(effectNames[choice]);
        QCOMPARE(window->probe.displayMode(), effect);
        KIVRA_COMPARE_PICTURES(window->shownPicture(frameSize), before);
        QCOMPARE(window->messageText(), QString());
    }

    void modeCycleLeavesTheArtisticOneOut()
    {
        for (int step = 1; step <= 6; ++step) {
            const int mode = step % 6;
            window->trigger("actionEffet");
            QCOMPARE(window->probe.imageProcessing(), mode);
            QVERIFY(window->action(modeNames[mode])->isChecked());
            QCOMPARE(window->messageText(), window->action(modeNames[mode])->text());
            KIVRA_COMPARE_PICTURES(window->shownPicture(frameSize), reference::mode(frame, mode));
        }
    }

    void modeCycleFromTheArtisticOneGoesToNormal()
    {
        window->action("actionEffet_artistique")->setEnabled(true);
        window->trigger("actionEffet_artistique");
        QCOMPARE(window->probe.imageProcessing(), 6);
        window->trigger("actionEffet");
        QCOMPARE(window->probe.imageProcessing(), 0);
        QVERIFY(window->action("actionTrNormal")->isChecked());
    }

    void effectCycle()
    {
        for (int step = 1; step <= 4; ++step) {
            const int effect = step % 4;
            window->trigger("actionMode");
            QCOMPARE(window->probe.displayMode(), effect);
            QVERIFY(window->action(effectNames[effect])->isChecked());
            QCOMPARE(window->messageText(), window->action(effectNames[effect])->text());
            KIVRA_COMPARE_PICTURES(window->shownPicture(frameSize),
                                   reference::tableAndEffect(frame, 0, 100, effect));
        }
    }

    void boardInTwoColours()
    {
        window->trigger("actionTableau_vert");
        window->trigger("actionBicolore");
        window->call("updateDisplay");
        const QImage shown = window->shownPicture(frameSize);
        for (const QPoint &at : {QPoint(3, 3), QPoint(60, 40), QPoint(100, 70)}) {
            const QRgb word = shown.pixel(at);
            // White ink is light and becomes yellow. The dark green board becomes a mixture towards
            // blue.
            QVERIFY(word ==
                    reference::tableAndEffect(reference::mode(frame, 5), 0, 100, 3).pixel(at));
            QVERIFY(word != 0xffffffff && word != 0xff006400);
        }
    }

    void shownPictureSharesThePixels()
    {
        // No copy is made between processing and view: the pixmap holds the picture itself.
        QImage picture = window->probe.lastFrame();
        window->call("fProcessing", Q_ARG(QImage *, &picture), Q_ARG(int, 1), Q_ARG(int, 0));
        QVERIFY(picture.constBits() != window->probe.lastFrame().constBits());
        const QPixmap pixmap = QPixmap::fromImage(picture);
        QCOMPARE(pixmap.toImage().constBits(), picture.constBits());
    }

private:
    QImage frame;
};

KIVRA_TEST(TestRendering)
#include "test_rendering.moc"
