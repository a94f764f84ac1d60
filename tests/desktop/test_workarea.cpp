// The presets of the window's size when a panel or the like keeps a part of the screen to itself.

#include "tests/desktop/desktop.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QGuiApplication>
#include <QScreen>

using kivra::test::Desktop;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

class TestWorkArea : public QObject
{
    Q_OBJECT

private slots:
    void presetsAreOfTheWorkArea()
    {
        Sandbox::instance().reset();
        const QMargins margins(90, 30, 60, 50);
        Desktop desktop(Desktop::Cameras::Demonstration, margins);
        QVERIFY(desktop.start());
        const QRect area =
            QRect(QPoint(0, 0), QGuiApplication::primaryScreen()->size()).marginsRemoved(margins);
        const QSize presets[] = {QSize(area.width(), area.height() * 65 / 100), area.size(),
                                 QSize(area.width() * 7 / 10, area.height() * 7 / 10)};
        QString log;
        for (const QSize &preset : presets) {
            desktop.key(QStringLiteral("F5"));
            QTRY_COMPARE_WITH_TIMEOUT(desktop.windowSize(), preset, patienceMs);
        }
        desktop.keepScreenshot(QStringLiteral("workarea"));
        const QString traced = QStringLiteral("screen size QRect(%1,%2 %3x%4)")
                                   .arg(area.x())
                                   .arg(area.y())
                                   .arg(area.width())
                                   .arg(area.height());
        QVERIFY(
            QTest::qWaitFor([&] { return (log += desktop.log()).count(traced) == 3; }, patienceMs));
        QCOMPARE(desktop.close(), 0);
    }
};

KIVRA_TEST(TestWorkArea)
#include "test_workarea.moc"
