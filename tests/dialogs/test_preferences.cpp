#include "dialogs/preferences.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTimer>
#include <QTranslator>

using kivra::test::Sandbox;

namespace {

const QStringList boxNames{QStringLiteral("checkDisplayMsg"), QStringLiteral("checkDisplayStatus"),
                           QStringLiteral("checkRestore"), QStringLiteral("checkRawStore"),
                           QStringLiteral("checkSmallField")};
const QStringList keys{
    QStringLiteral("preferences/displayMsg"), QStringLiteral("preferences/displayStatus"),
    QStringLiteral("preferences/restore"), QStringLiteral("preferences/rawStore"),
    QStringLiteral("preferences/smallField")};

// What an empty store shows, in the order of the names above.
const QList<bool> defaults{true, false, false, true, true};

QSettings openStore()
{
    return QSettings(QStringLiteral("Orvane"), QStringLiteral("KivraQt"));
}

void setStore(const QString &key, const QVariant &value)
{
    QSettings store(QStringLiteral("Orvane"), QStringLiteral("KivraQt"));
    store.setValue(key, value);
}

// The store as another process reads it.
QStringList storeElsewhere()
{
    QProcess probe;
    probe.start(QCoreApplication::applicationDirPath() + QStringLiteral("/storeprobe"),
                QStringList());
    if (!probe.waitForFinished() || probe.exitCode() != 0)
        return {QStringLiteral("storeprobe failed: ") + probe.errorString()};
    return QString::fromUtf8(probe.readAllStandardOutput())
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList storeLines(const QList<bool> &values)
{
    QStringList lines;
    for (int i = 0; i < keys.count(); ++i)
        lines << keys[i] + (values[i] ? QStringLiteral("=true") : QStringLiteral("=false"));
    lines.sort();
    return lines;
}

QCheckBox *box(const preferences &dialog, int index)
{
    return dialog.findChild<QCheckBox *>(boxNames[index]);
}

QList<bool> shown(const preferences &dialog)
{
    QList<bool> states;
    for (int i = 0; i < boxNames.count(); ++i)
        states << box(dialog, i)->isChecked();
    return states;
}

QPushButton *button(const preferences &dialog, QDialogButtonBox::StandardButton which)
{
    return dialog.findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))->button(which);
}

void click(QWidget *widget)
{
    QTest::mouseClick(widget, Qt::LeftButton);
}

// A click at the text's start, where the box reacts whatever the length of its text.
void toggleByMouse(QCheckBox *box)
{
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(box->height() + 10, box->height() / 2));
}

void open(preferences &dialog)
{
    dialog.open();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
}

// Turns every text of one context into "<context>".
class ContextNamer : public QTranslator
{
public:
    QString translate(const char *context, const char *, const char *, int) const override
    {
        return QLatin1Char('<') + QLatin1String(context) + QLatin1Char('>');
    }
    bool isEmpty() const override { return false; }
};

} // namespace

class TestPreferences : public QObject
{
    Q_OBJECT

private slots:
    void init() { Sandbox::instance().reset(); }

    void formHasGivenPlacesAndTexts_data()
    {
        QTest::addColumn<QRect>("place");
        QTest::addColumn<QString>("text");
        QTest::newRow("buttonBox") << QRect(30, 240, 341, 32) << QString();
        QTest::newRow("label") << QRect(20, 10, 241, 21) << QStringLiteral("au démarrage");
        QTest::newRow("checkRestore")
            << QRect(40, 40, 221, 20) << QStringLiteral("retrouver les derniers réglages");
        QTest::newRow("label_2") << QRect(20, 70, 251, 21) << QStringLiteral("en fonctionnement");
        QTest::newRow("checkDisplayMsg")
            << QRect(40, 100, 221, 20) << QStringLiteral("afficher les messages");
        QTest::newRow("checkDisplayStatus")
            << QRect(40, 120, 221, 20) << QStringLiteral("afficher la barre de status");
        QTest::newRow("checkRawStore")
            << QRect(40, 140, 211, 20) << QStringLiteral("enregistrer les images brutes");
        QTest::newRow("checkSmallField")
            << QRect(40, 160, 111, 17) << QStringLiteral("champ réduit");
    }

    void formHasGivenPlacesAndTexts()
    {
        preferences dialog;
        open(dialog);
        const auto *widget = dialog.findChild<QWidget *>(QLatin1String(QTest::currentDataTag()),
                                                         Qt::FindDirectChildrenOnly);
        QVERIFY(widget);
        QTEST(widget->geometry(), "place");
        QTEST(widget->property("text").toString(), "text");
        if (qobject_cast<const QLabel *>(widget)) {
            QCOMPARE(widget->font().family(), QStringLiteral("Lucida Grande"));
            QCOMPARE(widget->font().pointSize(), 16);
        }
    }

    void formHasNoOtherWidgets()
    {
        preferences dialog;
        open(dialog);
        QCOMPARE(dialog.objectName(), QStringLiteral("preferences"));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Dialog"));
        QCOMPARE(dialog.size(), QSize(379, 277));
        QVERIFY(!dialog.layout());
        QStringList names;
        const auto widgets = dialog.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
        for (const QWidget *widget : widgets)
            names << widget->objectName();
        QCOMPARE(names.join(QLatin1Char(' ')),
                 QStringLiteral("buttonBox label label_2 checkRestore checkDisplayMsg "
                                "checkDisplayStatus checkRawStore checkSmallField"));
        const auto *buttons = dialog.findChild<QDialogButtonBox *>();
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QCOMPARE(buttons->orientation(), Qt::Horizontal);
    }

    void textsAreTranslatedInTheirContext()
    {
        ContextNamer translator;
        QCoreApplication::installTranslator(&translator);
        const preferences dialog;
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(dialog.windowTitle(), QStringLiteral("<preferences>"));
        QCOMPARE(box(dialog, 0)->text(), QStringLiteral("<preferences>"));
        QCOMPARE(dialog.findChild<QLabel *>(QStringLiteral("label_2"))->text(),
                 QStringLiteral("<preferences>"));
    }

    void emptyStoreShowsTheDefaults()
    {
        const preferences dialog;
        QCOMPARE(shown(dialog), defaults);
    }

    void eachKeyShowsInItsBox_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("checked");
        for (int i = 0; i < keys.count(); ++i) {
            const auto row = [i](const char *what, const QVariant &stored, bool checked) {
                QTest::addRow("%s %s", qPrintable(keys[i]), what) << i << stored << checked;
            };
            row("true", true, true);
            row("false", false, false);
            row("1", 1, true);
            row("0", 0, false);
            row("text", QStringLiteral("oui"), true);
            row("empty text", QString(QLatin1String("")), false);
        }
    }

    void eachKeyShowsInItsBox()
    {
        QFETCH(const int, index);
        QFETCH(const QVariant, stored);
        QFETCH(const bool, checked);
        setStore(keys[index], stored);
        QList<bool> expected = defaults;
        expected[index] = checked;
        const preferences dialog;
        QCOMPARE(shown(dialog), expected);
    }

    void systemWideStoreIsTheFallback()
    {
        const QDir system(Sandbox::instance().home() + QStringLiteral("/system/Orvane"));
        QVERIFY(system.mkpath(QStringLiteral(".")));
        QFile file(system.filePath(QStringLiteral("KivraQt.conf")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[preferences]\ndisplayMsg=false\nrestore=true\n");
        file.close();
        setStore(QStringLiteral("preferences/restore"), false);
        QList<bool> states;
        {
            const preferences dialog;
            states = shown(dialog);
        }
        QVERIFY(QDir(system).removeRecursively());
        QCOMPARE(states, (QList<bool>{false, false, false, true, true}));
    }

    void okWithoutChangesWritesAllFive()
    {
        QCOMPARE(storeElsewhere(), QStringList());
        preferences dialog;
        open(dialog);
        click(button(dialog, QDialogButtonBox::Ok));
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.isVisible());
        QCOMPARE(storeElsewhere(), storeLines(defaults));
    }

    void okWritesWhatWasClicked_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < boxNames.count(); ++i)
            QTest::newRow(qPrintable(boxNames[i])) << i;
    }

    void okWritesWhatWasClicked()
    {
        QFETCH(const int, index);
        preferences dialog;
        open(dialog);
        toggleByMouse(box(dialog, index));
        QCOMPARE(storeElsewhere(), QStringList());
        click(button(dialog, QDialogButtonBox::Ok));
        QList<bool> expected = defaults;
        expected[index] = !expected[index];
        QCOMPARE(storeElsewhere(), storeLines(expected));
    }

    void okLeavesOtherKeysAlone()
    {
        setStore(QStringLiteral("params/zoom"), 150);
        setStore(QStringLiteral("preferences/unknown"), QStringLiteral("kept"));
        preferences dialog;
        open(dialog);
        click(button(dialog, QDialogButtonBox::Ok));
        QStringList expected = storeLines(defaults);
        expected << QStringLiteral("params/zoom=150") << QStringLiteral("preferences/unknown=kept");
        expected.sort();
        QCOMPARE(storeElsewhere(), expected);
    }

    void okWritesAfterTheDialogWasAccepted()
    {
        preferences dialog;
        open(dialog);
        bool writtenAtAccept = true;
        connect(&dialog, &QDialog::accepted, this, [&writtenAtAccept] {
            writtenAtAccept = openStore().contains(QStringLiteral("preferences/displayMsg"));
        });
        click(button(dialog, QDialogButtonBox::Ok));
        QVERIFY(!writtenAtAccept);
        QVERIFY(openStore().contains(QStringLiteral("preferences/displayMsg")));
    }

    void execReturnsAfterTheStoreWasWritten()
    {
        preferences dialog;
        QTimer::singleShot(0, &dialog, [&dialog] {
            QVERIFY(dialog.isModal());
            toggleByMouse(box(dialog, 2));
            click(button(dialog, QDialogButtonBox::Ok));
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(storeElsewhere(), storeLines({true, false, true, true, true}));
    }

    void nextDialogShowsWhatWasWritten()
    {
        preferences first;
        open(first);
        for (int i = 0; i < boxNames.count(); ++i)
            toggleByMouse(box(first, i));
        const QList<bool> states = shown(first);
        QCOMPARE(states, (QList<bool>{false, true, true, false, false}));
        click(button(first, QDialogButtonBox::Ok));
        const preferences second;
        QCOMPARE(shown(second), states);
    }

    void enterIsOk()
    {
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
            Sandbox::instance().reset();
            preferences dialog;
            open(dialog);
            box(dialog, 1)->setFocus();
            QTest::keyClick(dialog.focusWidget(), key);
            QCOMPARE(dialog.result(), int(QDialog::Accepted));
            QCOMPARE(storeElsewhere(), storeLines(defaults));
        }
    }

    void cancelWritesNothing()
    {
        const QList<bool> stored{false, true, false, true, false};
        for (int i = 0; i < keys.count(); ++i)
            setStore(keys[i], stored[i]);
        preferences dialog;
        open(dialog);
        for (int i = 0; i < boxNames.count(); ++i)
            toggleByMouse(box(dialog, i));
        QCOMPARE(shown(dialog), (QList<bool>{true, false, true, false, true}));
        click(button(dialog, QDialogButtonBox::Cancel));
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        QVERIFY(!dialog.isVisible());
        QCOMPARE(storeElsewhere(), storeLines(stored));
    }

    void cancelLeavesAnEmptyStoreEmpty()
    {
        preferences dialog;
        open(dialog);
        toggleByMouse(box(dialog, 0));
        click(button(dialog, QDialogButtonBox::Cancel));
        QCOMPARE(storeElsewhere(), QStringList());
    }

    void escapeWritesNothing()
    {
        preferences dialog;
        open(dialog);
        toggleByMouse(box(dialog, 0));
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Escape);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        QCOMPARE(storeElsewhere(), QStringList());
    }

    void closingWritesNothing()
    {
        preferences dialog;
        open(dialog);
        const QSignalSpy rejected(&dialog, &QDialog::rejected);
        toggleByMouse(box(dialog, 0));
        dialog.close();
        QCOMPARE(rejected.count(), 1);
        QCOMPARE(storeElsewhere(), QStringList());
    }

    void tabVisitsEveryBox()
    {
        preferences dialog;
        open(dialog);
        QStringList visited;
        for (int i = 0; i < 7; ++i) {
            visited << dialog.focusWidget()->objectName();
            QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
        }
        visited.removeAll(QString()); // the two buttons
        QCOMPARE(visited.join(QLatin1Char(' ')),
                 QStringLiteral("checkRestore checkDisplayMsg checkDisplayStatus checkRawStore "
                                "checkSmallField"));
        const QWidget *first = dialog.focusWidget();
        QVERIFY(qobject_cast<const QPushButton *>(first));
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Backtab);
        QCOMPARE(dialog.focusWidget()->objectName(), QStringLiteral("checkSmallField"));
    }

    void spaceTogglesTheBoxThatHasTheFocus()
    {
        preferences dialog;
        open(dialog);
        for (int step = 0; step < 7 && dialog.focusWidget() != box(dialog, 1); ++step)
            QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Space);
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
        QCOMPARE(storeElsewhere(), storeLines({true, true, false, true, true}));
    }

    // A file stands where the store's folder would be.
    void storeThatCannotBeWrittenIsNoObstacle()
    {
        QDir folder(Sandbox::instance().home() + QStringLiteral("/config/Orvane"));
        QVERIFY(folder.removeRecursively());
        QFile obstacle(folder.path());
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        preferences dialog;
        open(dialog);
        click(button(dialog, QDialogButtonBox::Ok));
        QVERIFY(obstacle.remove());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.isVisible());
    }
};

KIVRA_TEST(TestPreferences)
#include "test_preferences.moc"
