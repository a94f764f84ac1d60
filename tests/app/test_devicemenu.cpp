// The cameras in the menu "Caméra": those that are there, that come, that go, and which one is
// open.

#include "tests/app/windowtest.h"
#include "tests/support/testmain.h"

#include <QMenu>

using kivra::test::WindowTest;

class TestDeviceMenu : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        plugInTwo();
        openWindow();
    }

    void oneActionForEachIdentifier()
    {
        window.reset();
        device().setDevices({{"un", QStringLiteral("Un")},
                             {"deux", QStringLiteral("Deux")},
                             {"un", QStringLiteral("Un encore")}});
        openWindow();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux")}));
        QCOMPARE(checked(), QStringLiteral("Un"));
    }

    void anAmpersandIsOne()
    {
        window.reset();
        device().setDevices({{"un", QStringLiteral("Loupe & Fils")}});
        openWindow();
        QCOMPARE(titles(), QStringList{QStringLiteral("Loupe && Fils")});
    }

    void whatComesIsLast()
    {
        device().setDevices({{"trois", QStringLiteral("Trois")},
                             {"un", QStringLiteral("Un")},
                             {"deux", QStringLiteral("Deux")}});
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux")}));
        openMenu();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux"),
                                        QStringLiteral("Trois")}));
        QCOMPARE(checked(), QStringLiteral("Un"));
        chooseDevice(2);
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(device().record().device, QByteArray("trois"));
    }

    void whatGoesKeepsItsPlace()
    {
        device().setDevices({{"un", QStringLiteral("Un")}});
        openMenu();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux")}));
        QVERIFY(entry(0)->isEnabled());
        QVERIFY(!entry(1)->isEnabled());
        plugInTwo();
        openMenu();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux")}));
        QVERIFY(entry(1)->isEnabled());
    }

    void whatComesBackElsewhereKeepsItsEntry()
    {
        device().setDevices({{"un", QStringLiteral("Un")}});
        openMenu();
        device().setDevices({{"un", QStringLiteral("Un")}, {"quatre", QStringLiteral("Deux")}});
        openMenu();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux")}));
        QVERIFY(entry(1)->isEnabled());
        chooseDevice(1);
        QTRY_VERIFY(device().isRunning());
        QCOMPARE(device().record().device, QByteArray("quatre"));
    }

    void aNewNameIsShown()
    {
        device().setDevices({{"un", QStringLiteral("Un")}, {"deux", QStringLiteral("Autre")}});
        openMenu();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Autre")}));
    }

    void checkMarkStaysWhileTheCameraIsAway()
    {
        boxes->expect(QStringLiteral("Camera error"));
        device().lose("un");
        openMenu();
        QCOMPARE(checked(), QStringLiteral("Un"));
        QVERIFY(!entry(0)->isEnabled());
        QVERIFY(entry(1)->isEnabled());
    }

    void entryFollowsTheOpenCamera()
    {
        boxes->expect(QStringLiteral("Camera error"));
        device().lose("un");
        device().bringBack({"neuf", QStringLiteral("Un")});
        openMenu();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux")}));
        QCOMPARE(entry(0)->data().toByteArray(), QByteArray("neuf"));
        QCOMPARE(checked(), QStringLiteral("Un"));
    }

    // Each of the two comes back where the other was.
    void entriesFollowTwoThatChangePlaces()
    {
        boxes->expect(QStringLiteral("Camera error"));
        device().lose("un");
        device().setDevices({{"un", QStringLiteral("Deux")}});
        device().bringBack({"deux", QStringLiteral("Un")});
        openMenu();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux")}));
        QCOMPARE(entry(0)->data().toByteArray(), QByteArray("deux"));
        QCOMPARE(entry(1)->data().toByteArray(), QByteArray("un"));
        QCOMPARE(checked(), QStringLiteral("Un"));
    }

    void firstCameraIsCheckedWhenItCame()
    {
        window.reset();
        device().setDevices({});
        boxes->expect(QStringLiteral("Camera error"));
        window = std::make_unique<kivra::test::Window>();
        QTRY_COMPARE(boxes->answered(), 1);
        plugInTwo();
        QTRY_VERIFY(device().isRunning());
        openMenu();
        QCOMPARE(titles(), (QStringList{QStringLiteral("Un"), QStringLiteral("Deux")}));
        QCOMPARE(checked(), QStringLiteral("Un"));
    }

    // Choosing a camera that is gone opens none; the check mark stays at what was chosen.
    void choiceOfWhatIsGone()
    {
        device().setDevices({{"un", QStringLiteral("Un")}});
        boxes->expect(QStringLiteral("Camera error"));
        entry(1)->trigger();
        openMenu();
        QCOMPARE(checked(), QStringLiteral("Deux"));
    }

private:
    QMenu *menu() const { return window->find<QMenu>("menuDevices"); }
    QList<QAction *> entries() const { return menu()->actions().mid(3); }
    QAction *entry(int number) const { return entries().at(number); }

    void openMenu() const
    {
        menu()->popup({0, 0});
        QTRY_VERIFY(menu()->isVisible());
        menu()->close();
    }

    QStringList titles() const
    {
        QStringList each;
        for (const QAction *action : entries())
            each += action->text();
        return each;
    }

    // The text of the only entry with a check mark; the texts of all such entries if there are
    // others.
    QString checked() const
    {
        QStringList each;
        for (const QAction *action : entries()) {
            if (action->isChecked())
                each += action->text();
        }
        return each.join(QLatin1Char('+'));
    }
};

KIVRA_TEST(TestDeviceMenu)
#include "test_devicemenu.moc"
