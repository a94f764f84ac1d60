// Size presets, tool bar, and the trace of the screen's geometry.

#include "tests/app/windowtest.h"
#include "tests/support/testmain.h"

#include <QRegularExpression>
#include <QScreen>
#include <QToolBar>

using kivra::test::Window;
using kivra::test::WindowTest;

class TestWindowSize : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        window = std::make_unique<Window>();
    }

    void presetsInTurn()
    {
        const QSize screen = QGuiApplication::primaryScreen()->availableSize();
        const QSize reduced(int(screen.width() * 7 / 10), int(screen.height() * 7 / 10));
        for (int round = 0; round < 2; ++round) {
            step(1, {screen.width(), screen.height() * 65 / 100}, {0, 0});
            step(2, screen, {0, 0});
            step(
                0, reduced,
                {(screen.width() - reduced.width()) / 2, (screen.height() - reduced.height()) / 2});
        }
    }

    void presetIsTraced()
    {
        const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
        QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("screen size QRect(%1,%2 %3x%4)")
                                                        .arg(screen.x())
                                                        .arg(screen.y())
                                                        .arg(screen.width())
                                                        .arg(screen.height())));
        QTest::ignoreMessage(QtDebugMsg, "screen orientation Qt::LandscapeOrientation");
        QTest::ignoreMessage(QtDebugMsg, "1");
        window->trigger("actionTailleFenetre");
    }

    void screenGeometryIsTraced()
    {
        const QSize before = window->size();
        QTest::ignoreMessage(QtDebugMsg, "QRect(1,2 30x40)");
        QTest::ignoreMessage(QtDebugMsg, "0");
        // As the first screen would report it.
        emit QGuiApplication::screens().constFirst()->virtualGeometryChanged(QRect(1, 2, 30, 40));
        QCOMPARE(window->size(), before);
    }

    void toolBarToggles()
    {
        const auto *const toolBar = window->find<QToolBar>("toolBar");
        QVERIFY(!toolBar->isVisible());
        window->trigger("actionMenu_graphique");
        QVERIFY(toolBar->isVisible());
        window->trigger("actionMenu_graphique");
        QVERIFY(!toolBar->isVisible());
    }

    void toolBarOnRequest()
    {
        const auto *const toolBar = window->find<QToolBar>("toolBar");
        for (const bool show : {true, true, false, false, true}) {
            emit window->probe.view()->menuGraphique(show);
            QCOMPARE(toolBar->isVisible(), show);
        }
    }

    void toggleAfterARequestHides()
    {
        emit window->probe.view()->menuGraphique(true);
        window->trigger("actionMenu_graphique");
        QVERIFY(!window->find<QToolBar>("toolBar")->isVisible());
    }

private:
    void step(int preset, const QSize &size, const QPoint &position)
    {
        window->move(37, 41);
        window->trigger("actionTailleFenetre");
        QCOMPARE(window->probe.modeTailleFenetre(), preset);
        QCOMPARE(window->size(), size);
        QCOMPARE(window->pos(), position);
    }
};

KIVRA_TEST(TestWindowSize)
#include "test_windowsize.moc"
