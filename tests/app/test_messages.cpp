// The message on the picture and the status line.

#include "tests/app/windowtest.h"
#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTimer>

using kivra::test::gradient;
using kivra::test::patienceMs;
using kivra::test::storeSetting;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

const QString start = QStringLiteral("caméra active");
const QString figures = QStringLiteral(
    "^(\\d+) fps --- (\\S+) Mp --- traitement (\\S+) ms/Mp --- affichage (\\S+) ms/Mp$");

} // namespace

class TestMessages : public WindowTest
{
    Q_OBJECT

private slots:
    void init() { begin(); }

    void preferences_data()
    {
        QTest::addColumn<bool>("messages");
        QTest::addColumn<bool>("status");
        QTest::newRow("neither") << false << false;
        QTest::newRow("messages") << true << false;
        QTest::newRow("status") << false << true;
        QTest::newRow("both") << true << true;
    }

    void preferences()
    {
        QFETCH(bool, messages);
        QFETCH(bool, status);
        storeSetting(QStringLiteral("preferences/displayMsg"), messages);
        storeSetting(QStringLiteral("preferences/displayStatus"), status);
        open();
        window->trigger("actionContraste");
        QCOMPARE(label()->isVisible(), messages);
        QCOMPARE(label()->text(), messages ? QStringLiteral("contraste ") : QString());
        window->call("aTimerSlot");
        QCOMPARE(QRegularExpression(figures).match(window->statusText()).hasMatch(), status);
        if (!status)
            QCOMPARE(window->statusText(), start);
        if (messages)
            QTRY_VERIFY_WITH_TIMEOUT(!label()->isVisible(), patienceMs);
    }

    void absentPreferencesMeanNeither()
    {
        open();
        window->trigger("actionContraste");
        window->call("aTimerSlot");
        QVERIFY(!label()->isVisible());
        QCOMPARE(window->statusText(), start);
    }

    // An empty message would be painted with every frame.
    void emptyMessageIsHiddenFromTheStart()
    {
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        open();
        QVERIFY(label()->isHidden());
        window->trigger("actionContraste");
        QVERIFY(label()->isVisible());
    }

    void timers()
    {
        open();
        QVERIFY(window->probe.figuresTimer()->isActive());
        QVERIFY(!window->probe.figuresTimer()->isSingleShot());
        QCOMPARE(window->probe.figuresTimer()->interval(), 1000);
        QCOMPARE(window->probe.messageTimer()->interval(), 2000);
        QVERIFY(!window->probe.messageTimer()->isActive());
        window->trigger("actionContraste"); // no message is wanted
        QVERIFY(!window->probe.messageTimer()->isActive());
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        window->trigger("actionContraste");
        QVERIFY(window->probe.messageTimer()->isActive());
    }

    void cameraLineStaysWithoutFigures()
    {
        open();
        window->call("aTimerSlot");
        QCOMPARE(window->statusText(), start);
        QCOMPARE(window->statusTimeMs(), 0);
    }

    // Neither the titles nor the entries have a text of their own for the status bar.
    void menusLeaveTheStatusLine()
    {
        open();
        QMenuBar *const bar = window->menuBar();
        for (QAction *title : bar->actions()) {
            QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(title).center());
            QTRY_COMPARE(QApplication::activePopupWidget(), title->menu());
            QTest::keyClick(title->menu(), Qt::Key_Down);
            QTest::keyClick(title->menu(), Qt::Key_Down);
            QCOMPARE(window->statusText(), start);
            QTest::keyClick(title->menu(), Qt::Key_Escape);
            QTRY_VERIFY(!QApplication::activePopupWidget());
            QTest::keyClick(bar, Qt::Key_Escape);
            QCOMPARE(window->statusText(), start);
        }
    }

    void preferencesActFromTheNextMessage()
    {
        open();
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        window->trigger("actionLumiere");
        QVERIFY(label()->isVisible());
    }

    void labelLiesOverThePicture()
    {
        open();
        window->trigger("actionZoom"); // even when no message is wanted
        QCOMPARE(label()->parentWidget(), window->centralWidget());
        QVERIFY(!label()->isVisible());
    }

    void messageBeginsAtTheCornerOfThePicture()
    {
        openWithMessages();
        QCOMPARE(label()->pos(), window->probe.view()->geometry().topLeft());
        QVERIFY(label()->pos() != QPoint(0, 0)); // the view has a margin around it
    }

    void messageLooks()
    {
        openWithMessages();
        QPalette red = label()->palette();
        red.setBrush(QPalette::WindowText, Qt::red);
        label()->setPalette(red);
        window->call("displayMsg", Q_ARG(QString, QStringLiteral("lumière ")));
        QCOMPARE(label()->font().pointSize(), 32);
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            QCOMPARE(label()->palette().brush(group, QPalette::WindowText), QBrush(Qt::black));
    }

    void messageGoesTwoSecondsAfterTheLastOne()
    {
        openWithMessages();
        window->trigger("actionContraste");
        // Timers may be late, but they fire in the order of their times.
        QString whenTheFirstOnesTimeIsOver;
        const auto at = [this](int ms, const std::function<void()> &act) {
            QTimer::singleShot(ms, Qt::PreciseTimer, window.get(), act);
        };
        at(1200, [this] { window->trigger("actionLumiere"); });
        at(2500, [&] { whenTheFirstOnesTimeIsOver = window->messageText(); });
        QTRY_VERIFY_WITH_TIMEOUT(!whenTheFirstOnesTimeIsOver.isEmpty(), patienceMs);
        QCOMPARE(whenTheFirstOnesTimeIsOver, QStringLiteral("lumière "));
        QTRY_VERIFY_WITH_TIMEOUT(!label()->isVisible(), patienceMs);
    }

    void longMessageIsWhole_data()
    {
        QTest::addColumn<QString>("before");
        QTest::newRow("first") << QString();
        QTest::newRow("after a short one") << QStringLiteral("zoom 1");
    }

    void longMessageIsWhole()
    {
        QFETCH(QString, before);
        openWithMessages();
        if (!before.isEmpty())
            window->call("displayMsg", Q_ARG(QString, before));
        for (const char *text :
             {"enregistrement image", "Eclairage difficile",
              "un texte bien plus long que la fenêtre n'est large, et qui passe à la ligne"}) {
            window->call("displayMsg", Q_ARG(QString, QString::fromUtf8(text)));
            const QSize needed = label()->wordWrap()
                                     ? QSize(label()->minimumSizeHint().width(),
                                             label()->heightForWidth(label()->width()))
                                     : label()->sizeHint();
            QVERIFY(label()->width() >= needed.width());
            QVERIFY(label()->height() >= needed.height());
            QVERIFY(window->centralWidget()->rect().contains(label()->geometry()));
        }
        window->call("displayMsg", Q_ARG(QString, QStringLiteral("enregistrement image")));
        QVERIFY(!label()->wordWrap()); // the long line's breaks are not kept
    }

    void messageLetsTheMouseThrough()
    {
        openWithMessages();
        window->call("displayMsg", Q_ARG(QString, QStringLiteral("enregistrement image")));
        QVERIFY(label()->isVisible());
        const QPoint at = label()->mapTo(window.get(), label()->rect().center());
        QVERIFY(label()->rect().contains(label()->mapFrom(window.get(), at)));
        QTest::mousePress(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
        QTRY_VERIFY(window->probe.view()->busy);
        QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, at);
        QTRY_VERIFY(!window->probe.view()->busy);
    }

    void lineOfFigures()
    {
        openWithStatus();
        QVERIFY(device().pushPicture(gradient({1280, 720})));
        window->probe.setTimes(1.23456, 0.0004321);
        window->call("aTimerSlot");
        QCOMPARE(window->statusText(),
                 QStringLiteral("1 fps --- 0.922 Mp --- traitement 1.23 ms/Mp --- affichage "
                                "0.000432 ms/Mp"));
    }

    void lineCountsTheFrames()
    {
        openWithStatus();
        QSignalSpy shown(window->statusBar(), &QStatusBar::messageChanged);
        QVERIFY(shown.wait()); // the second begins
        for (int i = 0; i < 17; ++i)
            QVERIFY(device().pushPicture(gradient({64, 48})));
        shown.clear();
        QVERIFY(shown.wait());
        QVERIFY(window->statusText().startsWith(QLatin1String("17 fps ")));
        shown.clear();
        QVERIFY(shown.wait());
        QVERIFY(window->statusText().startsWith(QLatin1String("0 fps ")));
    }

    void droppedFramesDoNotCount()
    {
        openWithStatus();
        QSignalSpy shown(window->statusBar(), &QStatusBar::messageChanged);
        QVERIFY(shown.wait());
        QVERIFY(device().pushPicture(gradient({64, 48})));
        window->probe.view()->busy = true;
        QVERIFY(device().pushPicture(gradient({64, 48})));
        window->probe.view()->busy = false;
        shown.clear();
        QVERIFY(shown.wait());
        QVERIFY(window->statusText().startsWith(QLatin1String("1 fps ")));
    }

    void statusLineLastsTwoSeconds()
    {
        open();
        storeSetting(QStringLiteral("preferences/displayStatus"), true);
        window->call("displayOnStatusBar", Q_ARG(QString, QStringLiteral("bonjour")));
        QCOMPARE(window->statusText(), QStringLiteral("bonjour"));
        QCOMPARE(window->statusTimeMs(), 2000);
        storeSetting(QStringLiteral("preferences/displayStatus"), false);
        QTRY_COMPARE_WITH_TIMEOUT(window->statusText(), QString(), patienceMs);
    }

private:
    void open()
    {
        window = std::make_unique<Window>();
        QTRY_VERIFY(device().isRunning());
    }

    void openWithMessages()
    {
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        open();
    }

    void openWithStatus()
    {
        storeSetting(QStringLiteral("preferences/displayStatus"), true);
        open();
    }

    QLabel *label() const { return window->find<QLabel>("msgDisplay"); }
};

KIVRA_TEST(TestMessages)
#include "test_messages.moc"
