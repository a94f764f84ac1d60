// The dialogs and boxes of the running program, used by X's keys and mouse. What they did is
// checked from outside: in the file of the settings store, in the stills on disk, in what the
// browser is told.

#include "tests/desktop/desktop.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QImageReader>

using kivra::test::Desktop;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The user's store as any program reads it; empty when nothing is stored.
QByteArray storeFile()
{
    return contentOf(Sandbox::instance().home() + QStringLiteral("/config/Orvane/KivraQt.conf"));
}

QByteArray storeWith(bool displayMsg, bool displayStatus, bool rawStore, bool restore,
                     bool smallField)
{
    const auto line = [](const char *key, bool value) {
        return QByteArray(key) + (value ? "=true\n" : "=false\n");
    };
    return "[preferences]\n" + line("displayMsg", displayMsg) +
           line("displayStatus", displayStatus) + line("rawStore", rawStore) +
           line("restore", restore) + line("smallField", smallField);
}

QString storedPicture()
{
    return Sandbox::instance().storedFiles().value(0);
}

// The ways to leave a dialog without accepting it, as keys.
void addWaysOut(const QString &toCancelButton)
{
    QTest::addColumn<QString>("keys");
    QTest::newRow("Escape") << QStringLiteral("Escape");
    QTest::newRow("closed by the window manager") << QStringLiteral("alt+F4");
    QTest::newRow("Cancel") << toCancelButton;
}

} // namespace

class TestDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("KIVRA_DEMO_SIZE", "320x180");
        qputenv("KIVRA_DEMO_RATE", "5");
        placeBrowser();
        desktop = std::make_unique<Desktop>();
    }

    void init()
    {
        Sandbox::instance().reset();
        QFile::remove(visited());
        QVERIFY(desktop->start());
        QVERIFY(desktop->waitForMainWindow());
    }

    void cleanup()
    {
        desktop->keepScreenshot(QStringLiteral("dialogs_") +
                                QLatin1String(QTest::currentTestFunction()));
        QCOMPARE(desktop->close(), 0);
    }

    void cleanupTestCase() { desktop.reset(); }

    void tabAndSpaceReachEachPreference_data()
    {
        QTest::addColumn<int>("tabs");
        QTest::addColumn<QByteArray>("stored");
        // The two buttons come first; then the boxes, from top to bottom.
        QTest::newRow("none") << 0 << storeWith(true, false, true, false, true);
        QTest::newRow("restore") << 2 << storeWith(true, false, true, true, true);
        QTest::newRow("messages") << 3 << storeWith(false, false, true, false, true);
        QTest::newRow("status line") << 4 << storeWith(true, true, true, false, true);
        QTest::newRow("raw pictures") << 5 << storeWith(true, false, false, false, true);
        QTest::newRow("reduced field") << 6 << storeWith(true, false, true, false, false);
    }

    void tabAndSpaceReachEachPreference()
    {
        QFETCH(int, tabs);
        QFETCH(QByteArray, stored);
        openPreferences();
        for (int tab = 0; tab < tabs; ++tab)
            desktop->key(QStringLiteral("Tab"));
        if (tabs > 0)
            desktop->key(QStringLiteral("space"));
        QCOMPARE(storeFile(), QByteArray());
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        QTRY_COMPARE_WITH_TIMEOUT(storeFile(), stored, patienceMs);
    }

    void mouseTogglesPreferences()
    {
        openPreferences();
        for (const int y : {50, 110, 130, 150, 168})
            desktop->clickInDialog({60, y});
        desktop->keepScreenshot(QStringLiteral("preferences"));
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        QTRY_COMPARE_WITH_TIMEOUT(storeFile(), storeWith(false, true, false, true, false),
                                  patienceMs);
    }

    void preferencesLeftWithoutOkWriteNothing_data()
    {
        // From the first box back to Cancel.
        addWaysOut(QStringLiteral("shift+Tab space"));
    }

    void preferencesLeftWithoutOkWriteNothing()
    {
        QFETCH(QString, keys);
        openPreferences();
        desktop->key(QStringLiteral("Tab Tab space"));
        desktop->key(keys);
        QVERIFY(desktop->waitForMainWindow());
        QCOMPARE(storeFile(), QByteArray());

        // What is stored stays, and the dialog shows it at its next use: one box has changed, the
        // others have not.
        openPreferences();
        desktop->key(QStringLiteral("Tab Tab Tab space Return"));
        QVERIFY(desktop->waitForMainWindow());
        const QByteArray stored = storeWith(false, false, true, false, true);
        QTRY_COMPARE_WITH_TIMEOUT(storeFile(), stored, patienceMs);
        openPreferences();
        desktop->key(QStringLiteral("Tab Tab space"));
        desktop->key(keys);
        QVERIFY(desktop->waitForMainWindow());
        QTRY_COMPARE_WITH_TIMEOUT(storeFile(), stored, patienceMs);
        openPreferences();
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        QTRY_COMPARE_WITH_TIMEOUT(storeFile(), stored, patienceMs);
    }

    void imageSettingsByKeys()
    {
        openImageSettings();
        // Resolution, format, quality: the order of the tab key.
        desktop->key(QStringLiteral("Down Down Tab Down Down Tab Right"));
        desktop->keepScreenshot(QStringLiteral("imagesettings"));
        desktop->key(QStringLiteral("Return"));
        QVERIFY(desktop->waitForMainWindow());
        expectStill("png", {640, 360});

        // The dialog opens on this choice. Changes the format alone.
        openImageSettings();
        desktop->key(QStringLiteral("Tab Up Return"));
        QVERIFY(desktop->waitForMainWindow());
        expectStill("jpeg", {640, 360});
    }

    void imageSettingsLeftWithoutOkChangeNothing_data()
    {
        // From the resolution over format and quality to OK and Cancel.
        addWaysOut(QStringLiteral("Tab Tab Tab Tab space"));
    }

    void imageSettingsLeftWithoutOkChangeNothing()
    {
        QFETCH(QString, keys);
        openImageSettings();
        desktop->key(QStringLiteral("Down Down"));
        desktop->key(keys);
        QVERIFY(desktop->waitForMainWindow());
        expectStill("jpeg", {320, 180});
    }

    void boxes_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("keys");
        for (const char *command : {"F3", "F4"}) {
            for (const char *keys : {"Return", "space", "Escape", "alt+F4"})
                QTest::addRow("%s and %s", command, keys)
                    << QString::fromLatin1(command) << QString::fromLatin1(keys);
        }
    }

    void boxes()
    {
        QFETCH(QString, command);
        QFETCH(QString, keys);
        desktop->key(command);
        QVERIFY(desktop->waitForDialog());
        desktop->keepScreenshot(QStringLiteral("box_") + command);
        QCOMPARE(desktop->nameOf(desktop->activeWindow()), QStringLiteral("Kivra"));
        desktop->key(keys);
        QVERIFY(desktop->waitForMainWindow());
        QVERIFY(desktop->running());
        QCOMPARE(storeFile(), QByteArray());
    }

    // The browser fails, and the program says nothing about it.
    void helpOpensTheManual()
    {
        desktop->key(QStringLiteral("F1"));
        QTRY_COMPARE_WITH_TIMEOUT(
            contentOf(visited()),
            QByteArray("http://" KIVRA_DOWNLOAD_HOST "/downloads/notice-KvQt.pdf\n"), patienceMs);
        QVERIFY(desktop->waitForMainWindow());
    }

private:
    static QString visited() { return Sandbox::instance().home() + QStringLiteral("/visited"); }

    // Puts a program of its own first in the search path, under the name of the one by which the
    // desktop opens addresses. It notes each address, and fails.
    static void placeBrowser()
    {
        const QDir folder(Sandbox::instance().home() + QStringLiteral("/programs"));
        folder.mkpath(QStringLiteral("."));
        QFile browser(folder.filePath(QStringLiteral("xdg-open")));
        if (!browser.open(QIODevice::WriteOnly))
            qFatal("no browser");
        browser.write("#!/bin/sh\necho \"$1\" >>'" + QFile::encodeName(visited()) + "'\nexit 1\n");
        browser.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        qputenv("PATH", QFile::encodeName(folder.path()) + ':' + qgetenv("PATH"));
    }

    // To the left of the first menu comes the last one, then the last but one. That opens with its
    // first entry chosen; the second one is wanted.
    void openPreferences()
    {
        desktop->clickInWindow({20, 10});
        desktop->key(QStringLiteral("Left Left Down Return"));
        QVERIFY(desktop->waitForDialog());
    }

    void openImageSettings()
    {
        desktop->key(QStringLiteral("F8"));
        QVERIFY(desktop->waitForDialog());
    }

    // Takes a picture, checks its format and size, and removes it.
    void expectStill(const QByteArray &format, const QSize &size)
    {
        desktop->key(QStringLiteral("ctrl+s"));
        QTRY_VERIFY_WITH_TIMEOUT(!storedPicture().isEmpty(), patienceMs);
        const QString path = storedPicture();
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        QCOMPARE(reader.format(), format);
        QCOMPARE(reader.size(), size);
        QVERIFY(QFile::remove(path));
    }

    std::unique_ptr<Desktop> desktop;
};

KIVRA_TEST(TestDialogs)
#include "test_dialogs.moc"
