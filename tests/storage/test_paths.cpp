#include "storage/paths.h"
#include "tests/storage/clockreading.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFileInfo>

using kivra::test::readAt;
using kivra::test::Sandbox;

namespace {

const QString noDocuments =
    QStringLiteral("There is no Documents folder; pictures are stored in the current folder.");

QString documents()
{
    return Sandbox::instance().documents();
}

void expectMissingDocuments()
{
    QTest::ignoreMessage(QtWarningMsg, qPrintable(noDocuments));
}

void writeFile(const QString &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

// Another current folder for as long as this lives, empty at first.
class ElsewhereFolder
{
public:
    ElsewhereFolder() { QDir::setCurrent(folder.path()); }
    ~ElsewhereFolder() { QDir::setCurrent(previous); }
    Q_DISABLE_COPY(ElsewhereFolder)

    QString path() const { return QDir(folder.path()).canonicalPath(); }

private:
    QString previous = QDir::currentPath();
    QTemporaryDir folder;
};

} // namespace

class TestPaths : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QFile::remove(documents()); // a file or a link that a test left
        Sandbox::instance().reset();
    }

    void cleanup() { QFile::remove(documents()); }

    void documentsFolderEndsInASlash() { QCOMPARE(getMyDocPath(), documents() + QLatin1Char('/')); }

    void namesOnADay_data()
    {
        QTest::addColumn<QString>("instant");
        QTest::addColumn<QString>("month");
        QTest::addColumn<QString>("file");
        const auto row = [](const char *instant, const char *month, const char *file) {
            QTest::newRow(instant) << QString::fromUtf8(instant) << QString::fromUtf8(month)
                                   << QString::fromUtf8(file);
        };
        row("2025-03-14 09:30:05", "2025-03", "im250314093005.jpg");
        row("2025-01-02 03:04:05", "2025-01", "im250102030405.jpg");
        row("2025-02-02 03:04:05", "2025-02", "im250202030405.jpg");
        row("2025-04-02 03:04:05", "2025-04", "im250402030405.jpg");
        row("2025-05-02 03:04:05", "2025-05", "im250502030405.jpg");
        row("2025-06-02 03:04:05", "2025-06", "im250602030405.jpg");
        row("2025-07-02 03:04:05", "2025-07", "im250702030405.jpg");
        row("2025-08-02 03:04:05", "2025-08", "im250802030405.jpg");
        row("2025-09-02 03:04:05", "2025-09", "im250902030405.jpg");
        row("2025-10-02 03:04:05", "2025-10", "im251002030405.jpg");
        row("2025-11-02 03:04:05", "2025-11", "im251102030405.jpg");
        row("2025-12-02 03:04:05", "2025-12", "im251202030405.jpg");
        row("2025-03-14 00:00:00", "2025-03", "im250314000000.jpg");
        row("2025-03-14 23:59:59", "2025-03", "im250314235959.jpg");
        row("2024-02-29 12:00:00", "2024-02", "im240229120000.jpg");
        row("2025-12-31 23:59:59", "2025-12", "im251231235959.jpg");
        row("2026-01-01 00:00:00", "2026-01", "im260101000000.jpg");
        row("2005-06-07 08:09:10", "2005-06", "im050607080910.jpg");
        row("2099-12-31 23:59:59", "2099-12", "im991231235959.jpg");
        row("2100-01-01 00:00:00", "2100-01", "im1000101000000.jpg");
    }

    void namesOnADay()
    {
        QFETCH(const QString, instant);
        QFETCH(const QString, month);
        QFETCH(const QString, file);
        QCOMPARE(readAt(QStringLiteral("monthDir"), instant).text, month);
        QCOMPARE(readAt(QStringLiteral("daytimeFile"), instant).text, file);
    }

    void namesAreInLocalTime()
    {
        const auto reading =
            readAt(QStringLiteral("daytimeFile"), QStringLiteral("2025-03-01 00:10:00"), {},
                   QStringLiteral("<+14>-14"));
        QCOMPARE(reading.text, QStringLiteral("im250301001000.jpg"));
    }

    void fileNameReadsTheClockForEachField()
    {
        // The clock moves by 400 days, one hour, one minute and one second at each reading.
        const int step = ((400 * 24 + 1) * 60 + 1) * 60 + 1;
        const auto reading =
            readAt(QStringLiteral("daytimeFile"), QStringLiteral("2025-01-01 08:00:00"),
                   QStringLiteral("i%1").arg(step));
        QDateTime clock = reading.before;
        QVERIFY(clock.isValid());
        QString expected = QStringLiteral("im");
        for (const char *field : {"yy", "MM", "dd", "hh", "mm", "ss"}) {
            clock = clock.addSecs(step);
            expected += clock.toString(QLatin1String(field));
        }
        QCOMPARE(reading.text, expected + QStringLiteral(".jpg"));
        QCOMPARE(reading.after, clock.addSecs(step));
    }

    void monthFolderReadsTheClockForEachField()
    {
        const qint64 step = 32LL * 24 * 3600;
        const auto reading =
            readAt(QStringLiteral("monthDir"), QStringLiteral("2025-10-15 08:00:00"),
                   QStringLiteral("i%1").arg(step));
        QVERIFY(reading.before.isValid());
        const QString expected = reading.before.addSecs(step).toString(QStringLiteral("yyyy-")) +
                                 reading.before.addSecs(2 * step).toString(QStringLiteral("MM"));
        QCOMPARE(reading.text, expected);
        QCOMPARE(reading.after, reading.before.addSecs(3 * step));
    }

    void fileNameKeepsPrefixAndSuffix()
    {
        const QString name = daytimeFile(QStringLiteral("é %1 "), QStringLiteral(" %s.png"));
        QVERIFY2(QRegExp(QStringLiteral("é %1 \\d{12,13} %s\\.png")).exactMatch(name),
                 qPrintable(name));
        QVERIFY(QRegExp(QStringLiteral("\\d{12,13}")).exactMatch(daytimeFile({}, {})));
    }

    void rootFolderIsCreated()
    {
        createDirRacine();
        QVERIFY(QFileInfo(documents() + QStringLiteral("/TablinoQt")).isDir());
        QCOMPARE(QDir(documents()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).count(), 1);
        createDirRacine();
        QVERIFY(QFileInfo(storageRoot()).isDir());
    }

    void allThreeLevelsAreCreatedAtOnce()
    {
        const QString path = checkAndCreateDir(QStringLiteral("tableaux"));
        QCOMPARE(path, documents() + QStringLiteral("/TablinoQt/tableaux/") + monthDir());
        QVERIFY(QFileInfo(path).isDir());
    }

    void existingFolderKeepsItsPictures()
    {
        const QString picture =
            checkAndCreateDir(QStringLiteral("tableaux")) + QStringLiteral("/a");
        writeFile(picture);
        QCOMPARE(checkAndCreateDir(QStringLiteral("tableaux")) + QStringLiteral("/a"), picture);
        QVERIFY(QFileInfo::exists(picture));
    }

    void getDirCreatesNothing()
    {
        const QString path = getDir(QStringLiteral("tableaux"));
        QCOMPARE(path, documents() + QStringLiteral("/TablinoQt/tableaux/") + monthDir());
        QVERIFY(QDir(documents()).isEmpty());
    }

    void otherCategoriesAreOtherFolders()
    {
        const QString path = checkAndCreateDir(QStringLiteral("été 2025"));
        QCOMPARE(path, documents() + QStringLiteral("/TablinoQt/été 2025/") + monthDir());
        QVERIFY(QFileInfo(path).isDir());
    }

    void withoutDocumentsFolderPathsAreRelative()
    {
        QVERIFY(QDir().rmdir(documents()));
        const ElsewhereFolder elsewhere;
        expectMissingDocuments();
        QCOMPARE(getMyDocPath(), QString());
        expectMissingDocuments();
        QCOMPARE(getDir(QStringLiteral("tableaux")),
                 QStringLiteral("TablinoQt/tableaux/") + monthDir());
        expectMissingDocuments();
        const QString path = checkAndCreateDir(QStringLiteral("tableaux"));
        QCOMPARE(path, QStringLiteral("TablinoQt/tableaux/") + monthDir());
        QCOMPARE(QDir(path).canonicalPath(), elsewhere.path() + QLatin1Char('/') + path);
        QVERIFY(!QFileInfo::exists(documents()));
    }

    void withoutDocumentsFolderTheRootIsRelative()
    {
        QVERIFY(QDir().rmdir(documents()));
        const ElsewhereFolder elsewhere;
        expectMissingDocuments();
        createDirRacine();
        QVERIFY(QFileInfo(elsewhere.path() + QStringLiteral("/TablinoQt")).isDir());
    }

    void fileInPlaceOfDocumentsIsNoFolder()
    {
        QVERIFY(QDir().rmdir(documents()));
        writeFile(documents());
        expectMissingDocuments();
        QCOMPARE(getMyDocPath(), QString());
    }

    void danglingLinkInPlaceOfDocumentsIsNoFolder()
    {
        QVERIFY(QDir().rmdir(documents()));
        QVERIFY(QFile::link(QStringLiteral("/nowhere/at/all"), documents()));
        expectMissingDocuments();
        QCOMPARE(getMyDocPath(), QString());
    }

    void linkToAFolderIsFollowed()
    {
        QTemporaryDir target;
        QVERIFY(QDir().rmdir(documents()));
        QVERIFY(QFile::link(target.path(), documents()));
        const QString path = checkAndCreateDir(QStringLiteral("tableaux"));
        QVERIFY(path.startsWith(documents()));
        QVERIFY(QDir(target.path() + QStringLiteral("/TablinoQt/tableaux/") + monthDir()).exists());
    }

    // Nobody creates folders in the process file system, not even root.
    void folderThatRefusesIsNotReported()
    {
        QVERIFY(QDir().rmdir(documents()));
        QVERIFY(QFile::link(QStringLiteral("/proc/self"), documents()));
        createDirRacine();
        const QString path = checkAndCreateDir(QStringLiteral("tableaux"));
        QCOMPARE(path, documents() + QStringLiteral("/TablinoQt/tableaux/") + monthDir());
        QVERIFY(!QFileInfo::exists(path));
    }

    void fileInPlaceOfTheRootIsNotReported()
    {
        writeFile(documents() + QStringLiteral("/TablinoQt"));
        createDirRacine();
        const QString path = checkAndCreateDir(QStringLiteral("tableaux"));
        QCOMPARE(path, documents() + QStringLiteral("/TablinoQt/tableaux/") + monthDir());
        QVERIFY(!QFileInfo::exists(path));
        QVERIFY(QFileInfo(documents() + QStringLiteral("/TablinoQt")).isFile());
    }
};

KIVRA_TEST(TestPaths)
#include "test_paths.moc"
