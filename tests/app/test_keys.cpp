// The keyboard, through the window system, wherever the focus is.

#include "tests/app/windowtest.h"
#include "tests/support/testmain.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QToolBar>

using kivra::test::storeSetting;
using kivra::test::TestCamera;
using kivra::test::WindowTest;

namespace {

enum Focus { OnWindow, OnToolButton, AfterMenu };

constexpr std::pair<Focus, const char *> places[] = {
    {OnWindow, ""}, {OnToolButton, ", tool bar used"}, {AfterMenu, ", menu used"}};

} // namespace

Q_DECLARE_METATYPE(Focus)

class TestKeys : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        openWindow();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }

    void selectionKeys_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<Focus>("focus");
        QTest::addColumn<int>("coefficient");
        QTest::addColumn<QString>("message");
        const struct
        {
            Qt::Key key;
            int coefficient;
            const char *message;
        } rows[] = {{Qt::Key_C, 0, "contraste "},
                    {Qt::Key_L, 1, "lumière "},
                    {Qt::Key_R, 2, "réglage "},
                    {Qt::Key_Z, 3, "zoom "}};
        for (const auto &row : rows) {
            for (const auto modifier : {Qt::NoModifier, Qt::ShiftModifier}) {
                for (const auto &[focus, where] : places)
                    QTest::addRow("%c%s%s", char(row.key),
                                  modifier == Qt::NoModifier ? "" : " with Shift", where)
                        << int(row.key) << int(modifier) << focus << row.coefficient
                        << QString::fromUtf8(row.message);
            }
        }
    }

    void selectionKeys()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(Focus, focus);
        QFETCH(int, coefficient);
        QFETCH(QString, message);
        useFirst(focus);
        window->probe.setCoefCourant(coefficient == 0 ? 3 : 0);
        press(Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(window->probe.coefCourant(), coefficient);
        QCOMPARE(window->messageText(), message);
    }

    // With Shift it is no shortcut: the key itself takes the focus.
    void zoomKeyTakesTheFocus()
    {
        window->clearFocus();
        press(Qt::Key_Z, Qt::ShiftModifier);
        QCOMPARE(window->focusWidget(), window.get());
    }

    void stepKeys_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<Focus>("focus");
        QTest::addColumn<int>("zoom");
        const struct
        {
            const char *name;
            Qt::Key key;
            int modifiers;
            int zoom;
        } rows[] = {
            {"plus with Shift", Qt::Key_Plus, Qt::ShiftModifier, 166},
            {"plus", Qt::Key_Plus, Qt::NoModifier, 166},
            {"plus on the pad", Qt::Key_Plus, Qt::KeypadModifier, 166},
            {"up", Qt::Key_Up, Qt::NoModifier, 166},
            {"up on the pad", Qt::Key_Up, Qt::KeypadModifier, 166},
            {"up with Shift", Qt::Key_Up, Qt::ShiftModifier, 166},
            {"minus", Qt::Key_Minus, Qt::NoModifier, 117},
            {"minus on the pad", Qt::Key_Minus, Qt::KeypadModifier, 117},
            {"minus with Shift", Qt::Key_Minus, Qt::ShiftModifier, 117},
            {"down", Qt::Key_Down, Qt::NoModifier, 117},
            {"down on the pad", Qt::Key_Down, Qt::KeypadModifier, 117},
            {"down with Shift", Qt::Key_Down, Qt::ShiftModifier, 117},
            {"left", Qt::Key_Left, Qt::NoModifier, 100},
            {"left on the pad", Qt::Key_Left, Qt::KeypadModifier, 100},
            {"left with Shift", Qt::Key_Left, Qt::ShiftModifier, 100},
            {"right", Qt::Key_Right, Qt::NoModifier, 140},
            {"right on the pad", Qt::Key_Right, Qt::KeypadModifier, 140},
            {"right with Shift", Qt::Key_Right, Qt::ShiftModifier, 140},
        };
        for (const auto &row : rows) {
            for (const auto &[focus, where] : places)
                QTest::addRow("%s%s", row.name, where)
                    << int(row.key) << row.modifiers << focus << row.zoom;
        }
    }

    void stepKeys()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(Focus, focus);
        QFETCH(int, zoom);
        useFirst(focus);
        window->call("on_changeCoef", Q_ARG(int, 3), Q_ARG(int, 140));
        press(Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(window->probe.coefZoom(), zoom);
    }

    void repeatedUpStopsAt800AndDownAt12()
    {
        for (int i = 0; i < 30; ++i)
            press(Qt::Key_Up);
        QCOMPARE(window->probe.coefZoom(), 800);
        for (int i = 0; i < 60; ++i)
            press(Qt::Key_Down);
        QCOMPARE(window->probe.coefZoom(), 12);
    }

    void eachCoefficientStepsByKey()
    {
        press(Qt::Key_C);
        press(Qt::Key_Plus);
        QCOMPARE(window->probe.contraste(), 120);
        press(Qt::Key_L);
        press(Qt::Key_Minus);
        QCOMPARE(window->probe.lumiere(), -20);
        press(Qt::Key_R);
        press(Qt::Key_Up);
        QCOMPARE(window->probe.reglage(), 60);
        press(Qt::Key_Left);
        QCOMPARE(window->probe.reglage(), 50);
    }

    void focusKeyLocksWhileHeld()
    {
        QVERIFY(sendCameraKey(QEvent::KeyPress, Qt::Key_CameraFocus));
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Locked);
        QCOMPARE(device().record().locks, kivra::test::allLocks);
        sendCameraKey(QEvent::KeyRelease, Qt::Key_Up); // another key's release changes nothing
        QCOMPARE(window->probe.camera()->lockStatus(), QCamera::Locked);
        sendCameraKey(QEvent::KeyRelease, Qt::Key_CameraFocus);
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Unlocked);
    }

    // Auto-repeat of a held key sends pairs of release and press.
    void repeatedFocusKeyCountsAsHeld()
    {
        sendCameraKey(QEvent::KeyPress, Qt::Key_CameraFocus);
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Locked);
        QSignalSpy changes(
            window->probe.camera(),
            SIGNAL(lockStatusChanged(QCamera::LockStatus, QCamera::LockChangeReason)));
        for (const QEvent::Type type : {QEvent::KeyRelease, QEvent::KeyPress}) {
            QKeyEvent repeated(type, Qt::Key_CameraFocus, Qt::NoModifier, QString(), true);
            QCoreApplication::sendEvent(window.get(), &repeated);
            QVERIFY(repeated.isAccepted());
        }
        QCoreApplication::processEvents();
        QCOMPARE(changes.count(), 0);
        QCOMPARE(window->probe.camera()->lockStatus(), QCamera::Locked);
        sendCameraKey(QEvent::KeyRelease, Qt::Key_CameraFocus);
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Unlocked);
    }

    // As if the auto-repeat release had been taken for a real one.
    void repeatedFocusKeyLocksAgain()
    {
        sendCameraKey(QEvent::KeyPress, Qt::Key_CameraFocus);
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Locked);
        sendCameraKey(QEvent::KeyRelease, Qt::Key_CameraFocus);
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Unlocked);
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_CameraFocus, Qt::NoModifier, QString(), true);
        QCoreApplication::sendEvent(window.get(), &repeated);
        QTRY_COMPARE(window->probe.camera()->lockStatus(), QCamera::Locked);
    }

    void cameraKeyTakesAPictureWithoutAMessage()
    {
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
        QVERIFY(sendCameraKey(QEvent::KeyPress, Qt::Key_Camera));
        QTRY_COMPARE(TestCamera::instance().record().stills.size(), 1);
        QCOMPARE(window->messageText(), QString());
    }

    void heldKeyTakesOnePicture_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::newRow("shortcut") << int(Qt::Key_S) << int(Qt::ControlModifier);
        QTest::newRow("camera key") << int(Qt::Key_Camera) << int(Qt::NoModifier);
    }

    // The camera would refuse every request until it is ready again, each time with a box.
    void heldKeyTakesOnePicture()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QSignalSpy copies(QGuiApplication::clipboard(), &QClipboard::dataChanged);
        hold(key, Qt::KeyboardModifiers(modifiers));
        QCOMPARE(copies.count(), 1);
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
    }

    // Starting a camera takes time.
    void heldKeyStopsTheCameraOnce()
    {
        QSignalSpy changes(window->probe.camera(), SIGNAL(stateChanged(QCamera::State)));
        hold(Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(changes.count(), 1);
        hold(Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(changes.count(), 2);
    }

    void heldKeyActsOnce_data()
    {
        QTest::addColumn<QString>("action");
        QTest::newRow("black and white") << QStringLiteral("actionNoir_et_blanc");
        QTest::newRow("negative") << QStringLiteral("actionNegatif");
        QTest::newRow("two colours") << QStringLiteral("actionBicolore");
        QTest::newRow("next effect") << QStringLiteral("actionMode");
        QTest::newRow("next mode") << QStringLiteral("actionEffet");
        QTest::newRow("tool bar") << QStringLiteral("actionMenu_graphique");
        QTest::newRow("window size") << QStringLiteral("actionTailleFenetre");
        QTest::newRow("reset") << QStringLiteral("actionReinit");
    }

    // A picture that turns negative and back at each auto-repeat would flash.
    void heldKeyActsOnce()
    {
        QFETCH(QString, action);
        QAction *const held = window->action(qPrintable(action));
        const int keys = held->shortcut()[0];
        QSignalSpy triggered(held, &QAction::triggered);
        hold(keys & ~int(Qt::KeyboardModifierMask),
             Qt::KeyboardModifiers(keys & int(Qt::KeyboardModifierMask)));
        QCOMPARE(triggered.count(), 1);
    }

    void heldStepGoesOn()
    {
        window->trigger("actionLumiere");
        hold(Qt::Key_Up, Qt::NoModifier, 3);
        QCOMPARE(window->probe.lumiere(), 80);
    }

    void browsingWithoutStoredPicturesTellsTheUser_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<Focus>("focus");
        for (const auto &[focus, where] : places) {
            QTest::addRow("next%s", where) << int(Qt::Key_Space) << focus;
            QTest::addRow("previous%s", where) << int(Qt::Key_Backspace) << focus;
        }
    }

    void browsingWithoutStoredPicturesTellsTheUser()
    {
        QFETCH(int, key);
        QFETCH(Focus, focus);
        useFirst(focus);
        boxes->expect(kivra::test::openFailure);
        press(Qt::Key(key));
        QTRY_COMPARE(boxes->answered(), 1);
    }

    void unknownKeysArePassedOn()
    {
        QKeyEvent unknown(QEvent::KeyPress, Qt::Key_F24, Qt::NoModifier);
        QCoreApplication::sendEvent(window.get(), &unknown);
        QVERIFY(!unknown.isAccepted());
        QKeyEvent released(QEvent::KeyRelease, Qt::Key_F24, Qt::NoModifier);
        QCoreApplication::sendEvent(window.get(), &released);
        QVERIFY(!released.isAccepted());
    }

    void shortcuts_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("action");
        const struct
        {
            const char *action;
            Qt::Key key;
            int modifiers;
        } rows[] = {
            {"actionNegatif", Qt::Key_I, Qt::ControlModifier},
            {"actionNoir_et_blanc", Qt::Key_C, Qt::ControlModifier},
            {"actionBicolore", Qt::Key_B, Qt::ControlModifier},
            {"actionEffet", Qt::Key_F7, Qt::NoModifier},
            {"actionMode", Qt::Key_F6, Qt::NoModifier},
            {"actionTailleFenetre", Qt::Key_F5, Qt::NoModifier},
            {"actionReinit", Qt::Key_Z, Qt::ControlModifier},
            {"actionMenu_graphique", Qt::Key_M, Qt::ControlModifier},
            {"actionEnregistrer_image", Qt::Key_S, Qt::ControlModifier},
            {"actionStopCamera", Qt::Key_K, Qt::ControlModifier},
        };
        for (const auto &row : rows)
            QTest::newRow(row.action)
                << int(row.key) << row.modifiers << QString::fromLatin1(row.action);
    }

    void shortcuts()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(QString, action);
        QSignalSpy triggered(window->action(action.toLatin1().constData()), &QAction::triggered);
        press(Qt::Key(key), Qt::KeyboardModifiers(modifiers));
        QCOMPARE(triggered.count(), 1);
        QTRY_VERIFY(TestCamera::instance().record().stills.isEmpty() ||
                    window->probe.imageCapture()->isReadyForCapture());
    }

    void stopAndStartShareAKey()
    {
        press(Qt::Key_K, Qt::ControlModifier);
        QTRY_VERIFY(!TestCamera::instance().isRunning());
        press(Qt::Key_K, Qt::ControlModifier);
        QTRY_VERIFY(TestCamera::instance().isRunning());
    }

    // If both actions are enabled, Qt gives the key to neither.
    void sharedKeyIsAmbiguousWhenBothAreEnabled()
    {
        window->action("actionStartCamera")->setEnabled(true);
        QSignalSpy start(window->action("actionStartCamera"), &QAction::triggered);
        QSignalSpy stop(window->action("actionStopCamera"), &QAction::triggered);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("[Aa]mbiguous")));
        press(Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(start.count() + stop.count(), 0);
        QVERIFY(TestCamera::instance().isRunning());
    }

private:
    // QtTest has no characters for these keys. True if the window accepted the event.
    bool sendCameraKey(QEvent::Type type, Qt::Key key)
    {
        QKeyEvent event(type, key, Qt::NoModifier);
        event.ignore();
        QCoreApplication::sendEvent(window.get(), &event);
        return event.isAccepted();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QTest::keyClick(window->windowHandle(), key, modifiers);
        QCoreApplication::processEvents();
    }

    // Gives another widget the chance to keep the keys to itself.
    void useFirst(Focus focus)
    {
        if (focus == OnToolButton) {
            auto *const toolBar = window->find<QToolBar>("toolBar");
            toolBar->show();
            auto *const button = toolBar->widgetForAction(window->action("actionZoom"));
            QTest::mouseClick(button, Qt::LeftButton);
        } else if (focus == AfterMenu) {
            auto *const menu = window->find<QMenu>("menuReglages");
            menu->popup(window->mapToGlobal({50, 50}));
            menu->setActiveAction(window->action("actionZoom"));
            QTest::keyClick(menu, Qt::Key_Return);
            QTRY_VERIFY(!menu->isVisible());
        }
    }
};

KIVRA_TEST(TestKeys)
#include "test_keys.moc"
