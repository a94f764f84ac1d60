// What users without a mouse or with poor sight need: names for a screen reader, a way to every
// command by keyboard, and readable letters.

#include "tests/app/windowtest.h"
#include "tests/support/testmain.h"

#include "dialogs/imagesettings.h"
#include "dialogs/preferences.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSlider>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>

using kivra::test::storeSetting;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

QString spokenName(QObject *object)
{
    const QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(object);
    return spoken ? spoken->text(QAccessible::Name) : QString();
}

QString spokenDescription(QObject *object)
{
    const QAccessibleInterface *const spoken = QAccessible::queryAccessibleInterface(object);
    return spoken ? spoken->text(QAccessible::Description) : QString();
}

// The commands of the tool bar that are in no menu, and the keys that do the same.
const std::pair<const char *, const char *> keysInstead[] = {
    {"actionCamera", "Ctrl+K"},
    {"actionIncCoef", "Up"},
    {"actionDecCoef", "Down"},
    {"actionResetCoef", "Left"},
};

bool hasKeyInstead(const QAction *action)
{
    return std::any_of(std::begin(keysInstead), std::end(keysInstead), [&](const auto &entry) {
        return action->objectName() == QLatin1String(entry.first);
    });
}

} // namespace

class TestAccessibility : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        window = std::make_unique<Window>();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
    }

    void partsOfTheWindowAreNamed()
    {
        QCOMPARE(spokenName(window.get()), QStringLiteral("Kivra"));
        QCOMPARE(spokenName(window->find<QWidget>("displayWidget")), QStringLiteral("Image"));
        QCOMPARE(spokenName(window->menuBar()), QStringLiteral("Menus"));
        QCOMPARE(spokenDescription(window->find<QToolBar>("toolBar")),
                 QStringLiteral("Barre d’outils"));
        QCOMPARE(spokenName(window->statusBar()), QStringLiteral("Barre d’état"));
    }

    void toolButtonsSayWhatTheyDo()
    {
        const auto *const toolBar = window->find<QToolBar>("toolBar");
        QStringList names;
        for (const QAction *action : toolBar->actions()) {
            auto *const button = toolBar->widgetForAction(const_cast<QAction *>(action));
            names += spokenName(button);
        }
        const QStringList expected = {
            QStringLiteral("Démarrer ou arrêter la caméra"),
            QStringLiteral("Changer rendu"),
            QStringLiteral("Changer effet"),
            QStringLiteral("Taille fenêtre"),
            QStringLiteral("Zoom"),
            QStringLiteral("Contraste"),
            QStringLiteral("Lumière"),
            QStringLiteral("Réglage courant"),
            QStringLiteral("Réglage choisi : valeur de départ"),
            QStringLiteral("Réglage choisi : plus"),
            QStringLiteral("Réglage choisi : moins"),
            QStringLiteral("Aide"),
            QStringLiteral("Quitter"),
        };
        QCOMPARE(names, expected);
    }

    void messageIsSpokenAndReadable()
    {
        storeSetting(QStringLiteral("preferences/displayMsg"), true);
        window->trigger("actionMode");
        auto *const label = window->find<QLabel>("msgDisplay");
        QCOMPARE(spokenName(label), QStringLiteral("Noir et blanc"));
        // Black letters on a light background, whatever the picture is.
        QVERIFY(label->autoFillBackground());
        const QColor background = label->palette().color(label->backgroundRole());
        QVERIFY(background.lightness() > 200 && background.alpha() > 128);
    }

    void preferencesAreNamed()
    {
        preferences dialog(window.get());
        QCOMPARE(spokenName(&dialog), QStringLiteral("Préférences"));
        for (auto *box : dialog.findChildren<QCheckBox *>()) {
            QCOMPARE(spokenName(box), box->text());
            const bool atStart = box->objectName() == QLatin1String("checkRestore");
            QCOMPARE(spokenDescription(box), atStart ? QStringLiteral("au démarrage")
                                                     : QStringLiteral("en fonctionnement"));
        }
    }

    void imageSettingsAreNamed()
    {
        ImageSettings dialog(window->probe.imageCapture(), nullptr);
        QCOMPARE(spokenName(&dialog), QStringLiteral("Photographie de la caméra"));
        const std::tuple<const char *, const char *, const char *> choices[] = {
            {"imageResolutionBox", "label_8", "Taille de l’image"},
            {"imageCodecBox", "label_6", "Format de l’image"},
        };
        for (const auto &[name, label, description] : choices) {
            auto *const box = dialog.findChild<QComboBox *>(QLatin1String(name));
            QCOMPARE(spokenDescription(box), QString::fromUtf8(description));
            const auto *const itsLabel = dialog.findChild<QLabel *>(QLatin1String(label));
            QCOMPARE(itsLabel->buddy(), box);
        }
        QCOMPARE(spokenName(dialog.findChild<QSlider *>()), QStringLiteral("Qualité de l’image"));
    }

    void everyCommandIsInAMenuOrHasAKey()
    {
        QList<QAction *> inMenus;
        for (const QMenu *menu : window->menuBar()->findChildren<QMenu *>())
            inMenus += menu->actions();
        for (QAction *action : window->findChildren<QAction *>()) {
            if (action->objectName().startsWith(QLatin1String("action")))
                QVERIFY2(inMenus.contains(action) || hasKeyInstead(action),
                         qPrintable(action->objectName()));
        }
    }

    void menusByKeys_data()
    {
        QTest::addColumn<int>("menu");
        const char *const names[] = {"menuFichier",     "menuDevices",  "menuMode",
                                     "menuTraitements", "menuReglages", "menuPreferences",
                                     "menuAide"};
        int number = 0;
        for (const char *name : names)
            QTest::newRow(name) << number++;
    }

    // Alt, then the arrows: each enabled entry becomes the current one.
    void menusByKeys()
    {
        QFETCH(int, menu);
        openMenu(menu);
        auto *const open = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(open);
        QCOMPARE(open->objectName(), QLatin1String(QTest::currentDataTag()));
        QSet<QAction *> reached;
        for (int step = 0; step < open->actions().size(); ++step) {
            reached += open->activeAction();
            QTest::keyClick(open, Qt::Key_Down);
        }
        for (QAction *entry : open->actions()) {
            if (!entry->isSeparator() && entry->isEnabled())
                QVERIFY2(reached.contains(entry), qPrintable(entry->text()));
        }
        QTest::keyClick(open, Qt::Key_Escape);
    }

    void returnChoosesAnEntry()
    {
        openMenu(3);
        QWidget *const open = QApplication::activePopupWidget();
        QTest::keyClick(open, Qt::Key_Down);
        QTest::keyClick(open, Qt::Key_Return);
        QVERIFY(window->action("actionAutomatique")->isChecked());
        QCOMPARE(window->probe.imageProcessing(), 1);
    }

    // Even before a menu opens, its title shows that it has the keyboard.
    void menuBarShowsWhereTheKeyboardIs()
    {
        QMenuBar *const bar = window->menuBar();
        const QImage before = bar->grab().toImage();
        goToMenuBar();
        const QImage first = bar->grab().toImage();
        QVERIFY(first != before);
        QTest::keyClick(bar, Qt::Key_Right);
        const QImage second = bar->grab().toImage();
        QVERIFY(second != first);
        QVERIFY(second != before);
    }

private:
    void goToMenuBar()
    {
        QTest::keyPress(window.get(), Qt::Key_Alt, Qt::AltModifier);
        QTest::keyRelease(window.get(), Qt::Key_Alt, Qt::NoModifier);
        QTRY_VERIFY(window->menuBar()->hasFocus());
    }

    void openMenu(int number)
    {
        goToMenuBar();
        for (int step = 0; step < number; ++step)
            QTest::keyClick(window->menuBar(), Qt::Key_Right);
        QTest::keyClick(window->menuBar(), Qt::Key_Down);
        QTRY_VERIFY(QApplication::activePopupWidget());
    }
};

KIVRA_TEST(TestAccessibility)
#include "test_accessibility.moc"
