// The program under a settings store of the whole system, as a school installs it: its values are
// the defaults of every account, and each account's own values come first.

#include "tests/desktop/desktop.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>

using kivra::test::Desktop;
using kivra::test::extentOf;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

namespace {

constexpr QSize pictureSize(320, 240);
const QColor frameColour(40, 200, 60);

QString folderOfStores(const char *name)
{
    return Sandbox::instance().home() + QLatin1Char('/') + QLatin1String(name);
}

void writeStore(const QString &folder, const QByteArray &content)
{
    const QDir place(folder + QStringLiteral("/Orvane"));
    place.mkpath(QStringLiteral("."));
    QFile file(place.filePath(QStringLiteral("KivraQt.conf")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("no store in %s", qPrintable(folder));
}

} // namespace

class TestSystemStore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QDir folder(Sandbox::instance().home() + QStringLiteral("/frames"));
        folder.mkpath(QStringLiteral("."));
        QImage frame(pictureSize, QImage::Format_RGB32);
        frame.fill(frameColour);
        QVERIFY(frame.save(folder.filePath(QStringLiteral("frame.png"))));
        qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(folder.path()));
        qputenv("KIVRA_DEMO_SIZE", "320x240");
        qputenv("KIVRA_DEMO_RATE", "5");
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(folderOfStores("school") + QLatin1Char(':') +
                                                     folderOfStores("system")));
        desktop = std::make_unique<Desktop>();
    }

    void init()
    {
        Sandbox::instance().reset();
        for (const char *name : {"school", "system"})
            QDir(folderOfStores(name) + QStringLiteral("/Orvane")).removeRecursively();
    }

    void cleanup() { QCOMPARE(desktop->close(), 0); }
    void cleanupTestCase() { desktop.reset(); }

    void valuesInForce_data()
    {
        QTest::addColumn<QByteArray>("school");
        QTest::addColumn<QByteArray>("system");
        QTest::addColumn<QByteArray>("user");
        QTest::addColumn<QSize>("shown");
        const QByteArray none;
        const QByteArray larger = "[preferences]\nrestore=true\nsmallField=false\n"
                                  "[params]\nzoom=150\n";
        const QByteArray smaller = "[params]\nzoom=50\n";
        QTest::newRow("no store") << none << none << none << pictureSize;
        QTest::newRow("the system's") << none << larger << none << QSize(480, 360);
        QTest::newRow("the system's first folder") << smaller << larger << none << QSize(160, 120);
        QTest::newRow("a user's number") << none << larger << smaller << QSize(160, 120);
        QTest::newRow("a user who wants no restoring")
            << none << larger << QByteArray("[preferences]\nrestore=false\n") << pictureSize;
        QTest::newRow("a user who wants the reduced field")
            << none << larger << QByteArray("[preferences]\nsmallField=true\n") << QSize(240, 180);
    }

    void valuesInForce()
    {
        QFETCH(QByteArray, school);
        QFETCH(QByteArray, system);
        QFETCH(QByteArray, user);
        QFETCH(QSize, shown);
        if (!school.isEmpty())
            writeStore(folderOfStores("school"), school);
        if (!system.isEmpty())
            writeStore(folderOfStores("system"), system);
        if (!user.isEmpty())
            writeStore(folderOfStores("config"), user);
        QVERIFY(desktop->start());
        QTRY_COMPARE_WITH_TIMEOUT(extentOf(desktop->screen(), frameColour).size(), shown,
                                  patienceMs);
    }

private:
    std::unique_ptr<Desktop> desktop;
};

KIVRA_TEST(TestSystemStore)
#include "test_systemstore.moc"
