// Keys sent to a freshly started program, and what the screen then shows; window size presets.

#include "tests/desktop/desktop.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>

using kivra::test::Desktop;
using kivra::test::extentOf;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

namespace {

constexpr QSize frameSize(320, 240);
const QColor light(200, 200, 200);
const QColor dark(60, 60, 60);
constexpr QSize largestView(1200, 840); // with menu and status bar

// A light page with one dark square.
QImage frame()
{
    QImage picture(frameSize, QImage::Format_RGB32);
    picture.fill(light);
    QPainter painter(&picture);
    painter.fillRect(110, 70, 100, 100, dark);
    return picture;
}

} // namespace

class TestKeyboard : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QDir folder(Sandbox::instance().home() + QStringLiteral("/frames"));
        folder.mkpath(QStringLiteral("."));
        QVERIFY(frame().save(folder.filePath(QStringLiteral("page.png"))));
        qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(folder.path()));
        qputenv("KIVRA_DEMO_SIZE", "320x240");
        desktop = std::make_unique<Desktop>();
    }

    void init()
    {
        Sandbox::instance().reset();
        QVERIFY(desktop->start());
        QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(100, 100), patienceMs);
    }

    void cleanup()
    {
        desktop->keepScreenshot(QStringLiteral("key_") +
                                QString::fromLatin1(QTest::currentTestFunction()));
        QCOMPARE(desktop->close(), 0);
    }

    void cleanupTestCase() { desktop.reset(); }

    void zoomKeys()
    {
        for (const char *up : {"plus", "KP_Add", "Up", "KP_Up"}) {
            desktop->key(QLatin1String(up));
            // From 129.8 to 247.8 of the picture; the pixels at its edges are grey.
            QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(117, 117), patienceMs);
            desktop->key(QStringLiteral("Left"));
            QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(100, 100), patienceMs);
        }
        for (const char *down : {"minus", "KP_Subtract", "Down", "KP_Down"}) {
            desktop->key(QLatin1String(down));
            // From 92.4 to 176.4.
            QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(83, 83), patienceMs);
            desktop->key(QStringLiteral("Left"));
            QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(100, 100), patienceMs);
        }
    }

    void brightnessKeys_data()
    {
        QTest::addColumn<QString>("letter");
        QTest::newRow("l") << QStringLiteral("l");
        QTest::newRow("with Shift") << QStringLiteral("shift+l");
    }

    void brightnessKeys()
    {
        QFETCH(QString, letter);
        desktop->key(letter);
        desktop->key(QStringLiteral("Up"));
        QTRY_COMPARE_WITH_TIMEOUT(square(QColor(80, 80, 80)), QSize(100, 100),
                                  patienceMs); // 60 + 20
        desktop->key(QStringLiteral("Down"));
        desktop->key(QStringLiteral("Down"));
        QTRY_COMPARE_WITH_TIMEOUT(square(QColor(40, 40, 40)), QSize(100, 100), patienceMs);
        desktop->key(QStringLiteral("Left"));
        QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(100, 100), patienceMs);
    }

    void contrastKeys()
    {
        desktop->key(QStringLiteral("c"));
        desktop->key(QStringLiteral("Up"));
        // (60 - 128) x 1.2 + 128 = 46.4
        QTRY_COMPARE_WITH_TIMEOUT(square(QColor(46, 46, 46)), QSize(100, 100), patienceMs);
    }

    void textModeAndNegative()
    {
        for (int step = 0; step < 3; ++step)
            desktop->key(QStringLiteral("F7"));
        QTRY_COMPARE_WITH_TIMEOUT(square(QColor(Qt::black)), QSize(100, 100),
                                  patienceMs); // text: pure black
        desktop->key(QStringLiteral("F6"));
        desktop->key(QStringLiteral("F6"));
        QTRY_COMPARE_WITH_TIMEOUT(square(QColor(Qt::white)), QSize(100, 100),
                                  patienceMs); // in negative
        desktop->key(QStringLiteral("ctrl+z"));
        QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(100, 100), patienceMs);
    }

    void keysAfterTheToolBar()
    {
        desktop->key(QStringLiteral("ctrl+m"));
        // The tool bar's fifth button is the zoom.
        desktop->clickInWindow({162, 40});
        desktop->key(QStringLiteral("Up"));
        QTRY_VERIFY_WITH_TIMEOUT(square(dark) != QSize(100, 100), patienceMs);
        desktop->key(QStringLiteral("Left"));
        QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(100, 100), patienceMs);
    }

    // Pulled off at its handle, the tool bar is a window of its own.
    void keysAfterTheToolBarPulledOff()
    {
        desktop->key(QStringLiteral("ctrl+m"));
        const WId window = desktop->activeWindow();
        const QPoint handle(5, 40);
        desktop->moveTo(window, handle);
        desktop->press();
        for (int step = 20; step <= 160; step += 20)
            desktop->moveTo(window, handle + QPoint(step, step));
        desktop->release();
        desktop->keepScreenshot(QStringLiteral("toolbar_pulled_off"));
        const QString name = QStringLiteral("toolBar");
        QTRY_VERIFY_WITH_TIMEOUT(desktop->windowNamed(name) != 0, patienceMs);
        const WId toolBar = desktop->windowNamed(name);
        desktop->click(toolBar, {157, 20}); // the zoom
        QVERIFY(desktop->waitForMainWindow());
        desktop->hide(toolBar); // it may lie over the square
        desktop->key(QStringLiteral("Up"));
        QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(117, 117), patienceMs);
    }

    void keysAfterAMenu()
    {
        desktop->clickInWindow({30, 10});
        desktop->key(QStringLiteral("Escape"));
        desktop->key(QStringLiteral("Escape"));
        desktop->key(QStringLiteral("Up"));
        QTRY_COMPARE_WITH_TIMEOUT(square(dark), QSize(117, 117), patienceMs);
    }

    void sizePresets()
    {
        const QSize screen = QGuiApplication::primaryScreen()->size();
        const QSize largest(4096, 4096);
        const QSize presets[] = {
            QSize(screen.width(), screen.height() * 65 / 100).boundedTo(largest),
            screen.boundedTo(largest), QSize(screen.width() * 7 / 10, screen.height() * 7 / 10)};
        for (const QSize &preset : presets) {
            desktop->key(QStringLiteral("F5"));
            QTRY_COMPARE_WITH_TIMEOUT(desktop->windowSize(), preset, patienceMs);
        }
    }

    // No auto-repeat of a held key may be taken for a new press.
    void heldKeyAsksOnce()
    {
        desktop->holdKey(QStringLiteral("ctrl+s"));
        QString log;
        const auto pictures = [&] {
            log += desktop->log();
            return log.count(QStringLiteral("take image"));
        };
        QVERIFY(QTest::qWaitFor([&] { return pictures() > 0; }, patienceMs));
        constexpr int heldMs = 2500; // some forty repeats
        const bool again = QTest::qWaitFor([&] { return pictures() > 1; }, heldMs);
        desktop->releaseKey(QStringLiteral("ctrl+s"));
        QVERIFY(!again);
    }

    // The window manager keeps a maximised window as large as the screen.
    void presetOfAMaximisedWindow()
    {
        const QSize screen = QGuiApplication::primaryScreen()->size();
        // The second button from the right in its title.
        const QPoint maximise(desktop->windowSize().width() - 26, -9);
        desktop->clickInWindow(maximise);
        QTRY_COMPARE_WITH_TIMEOUT(desktop->windowSize().width(), screen.width(), patienceMs);
        QVERIFY(desktop->windowSize().height() > screen.height() * 8 / 10);
        desktop->key(QStringLiteral("F5"));
        QTRY_COMPARE_WITH_TIMEOUT(desktop->windowSize(),
                                  QSize(screen.width(), screen.height() * 65 / 100), patienceMs);
    }

    // Presets 1 and 2 lie at the corner of the screen, preset 0 in its middle.
    void presetPositions()
    {
        const QSize screen = QGuiApplication::primaryScreen()->size();
        const QSize reduced(screen.width() * 7 / 10, screen.height() * 7 / 10);
        const QPoint middle((screen.width() - reduced.width()) / 2,
                            (screen.height() - reduced.height()) / 2);
        desktop->key(QStringLiteral("F5"));
        QTRY_VERIFY_WITH_TIMEOUT(
            desktop->contentPosition().x() < 10 && desktop->contentPosition().y() < 50, patienceMs);
        const QPoint frame = desktop->contentPosition(); // what the window manager adds
        desktop->key(QStringLiteral("F5"));
        QTRY_COMPARE_WITH_TIMEOUT(desktop->windowSize(), screen, patienceMs);
        QTRY_COMPARE_WITH_TIMEOUT(desktop->contentPosition(), frame, patienceMs);
        desktop->key(QStringLiteral("F5"));
        QTRY_COMPARE_WITH_TIMEOUT(desktop->contentPosition(), frame + middle, patienceMs);
    }

private:
    QSize square(const QColor &colour) const
    {
        QRect middle(0, 0, 240, 180); // inside the picture's frame, at every zoom used here
        middle.moveCenter(
            QRect(QPoint(0, 0), desktop->windowSize().boundedTo(largestView)).center());
        return extentOf(desktop->windowContent(middle), colour).size();
    }

    std::unique_ptr<Desktop> desktop;
};

KIVRA_TEST(TestKeyboard)
#include "test_keyboard.moc"
