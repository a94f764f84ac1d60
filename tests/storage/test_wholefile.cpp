// Writing a file whole, without waiting for the disk.

#include "storage/wholefile.h"
#include "tests/support/files.h"
#include "tests/support/patience.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using kivra::test::contentOf;
using kivra::test::pathOf;

namespace {

std::atomic<int> syncs{0};
std::atomic<int> syncsOfTheCaller{0};
const std::thread::id caller = std::this_thread::get_id();

// What a file system cannot do: fails with these error numbers, if they are not 0.
int exclusiveRenameError = 0;
int linkError = 0;
int renameError = 0;

int resultOf(int error, long call, const char *from, const char *to, unsigned int flags)
{
    if (error == 0)
        return int(syscall(call, AT_FDCWD, from, AT_FDCWD, to, flags));
    errno = error;
    return -1;
}

int countedSync(long call, int descriptor)
{
    ++syncs;
    if (std::this_thread::get_id() == caller)
        ++syncsOfTheCaller;
    return int(syscall(call, descriptor));
}

} // namespace

// Replace the C library's functions, for Qt's calls too.
extern "C" {
int fsync(int descriptor)
{
    return countedSync(SYS_fsync, descriptor);
}
int fdatasync(int descriptor)
{
    return countedSync(SYS_fdatasync, descriptor);
}
int renameat2(int, const char *from, int, const char *to, unsigned int flags)
{
    return resultOf(exclusiveRenameError, SYS_renameat2, from, to, flags);
}
int link(const char *from, const char *to)
{
    return resultOf(linkError, SYS_linkat, from, to, 0);
}
int rename(const char *from, const char *to)
{
    return resultOf(renameError, SYS_renameat2, from, to, 0);
}
}

class TestWholeFile : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        kivra::test::Sandbox::instance().reset();
        syncs = 0;
        syncsOfTheCaller = 0;
    }

    void cleanup() { exclusiveRenameError = linkError = renameError = 0; }

    void writesAndReplaces()
    {
        const QString path = pathOf(QStringLiteral("été.jpg"));
        for (const QByteArray &content :
             {QByteArray("one"), QByteArray(300000, 'x'), QByteArray()}) {
            QVERIFY(writeWholeFile(path, content));
            QCOMPARE(contentOf(path), content);
            QCOMPARE(kivra::test::Sandbox::instance().storedFiles(), QStringList(path));
        }
    }

    // If the caller waited, the live picture would stand still.
    void anotherThreadWaitsForTheDisk()
    {
        QVERIFY(writeWholeFile(pathOf(QStringLiteral("a")), "content"));
        QTRY_VERIFY_WITH_TIMEOUT(syncs.load() >= 2, kivra::test::patienceMs); // file and folder
        QCOMPARE(syncsOfTheCaller.load(), 0);
    }

    void whatCannotBeWrittenReplacesNone()
    {
        const QString path = pathOf(QStringLiteral("a"));
        QVERIFY(writeWholeFile(path, "kept"));
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit before = {};
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit few = before;
        few.rlim_cur = 10;
        setrlimit(RLIMIT_FSIZE, &few);
        const bool isWritten = writeWholeFile(path, QByteArray(100, 'x'));
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, SIG_DFL);
        QVERIFY(!isWritten);
        QCOMPARE(contentOf(path), QByteArray("kept"));
        QCOMPARE(kivra::test::Sandbox::instance().storedFiles(), QStringList(path));
    }

    void nowhere()
    {
        QVERIFY(!writeWholeFile(QStringLiteral("/nowhere/at/all"), "x"));
        QVERIFY(QDir().mkdir(pathOf(QStringLiteral("folder"))));
        QVERIFY(!writeWholeFile(pathOf(QStringLiteral("folder")), "x"));
        QVERIFY(QFileInfo(pathOf(QStringLiteral("folder"))).isDir());
        QVERIFY(kivra::test::Sandbox::instance().storedFiles().isEmpty());
    }

    void whatIsThereIsKeptOnRequest_data()
    {
        QTest::addColumn<int>("exclusiveRename");
        QTest::addColumn<int>("linking");
        QTest::newRow("disk") << 0 << 0;
        QTest::newRow("network") << EINVAL << 0;
        QTest::newRow("memory stick") << EINVAL << EPERM;
    }

    void whatIsThereIsKeptOnRequest()
    {
        QFETCH(int, exclusiveRename);
        QFETCH(int, linking);
        exclusiveRenameError = exclusiveRename;
        linkError = linking;
        const auto write = [](QFile &file) { return file.write("new") == 3; };
        const QString path = pathOf("a");
        QCOMPARE(makeWholeFile(path, Existing::Kept, write), 0);
        QCOMPARE(contentOf(path), QByteArray("new"));
        QVERIFY(writeWholeFile(path, "kept"));
        QCOMPARE(makeWholeFile(path, Existing::Kept, write), EEXIST);
        QCOMPARE(contentOf(path), QByteArray("kept"));
        QCOMPARE(makeWholeFile(path, Existing::Replaced, write), 0);
        QCOMPARE(contentOf(path), QByteArray("new"));
        QCOMPARE(kivra::test::Sandbox::instance().storedFiles(), QStringList(path));
    }

    void fileThatCannotBeReplacedStays()
    {
        const QString path = pathOf("a");
        QVERIFY(writeWholeFile(path, "kept"));
        renameError = EIO;
        QVERIFY(!writeWholeFile(path, "new"));
        QCOMPARE(contentOf(path), QByteArray("kept"));
        QCOMPARE(kivra::test::Sandbox::instance().storedFiles(), QStringList(path));
    }

    void reasonsOfFailure()
    {
        const auto write = [](QFile &file) { return file.write("new") == 3; };
        QCOMPARE(makeWholeFile(QStringLiteral("/nowhere/at/all"), Existing::Kept, write), ENOENT);
        const auto full = [](QFile &) {
            errno = ENOSPC;
            return false;
        };
        QCOMPARE(makeWholeFile(pathOf("a"), Existing::Kept, full), ENOSPC);
        QVERIFY(kivra::test::Sandbox::instance().storedFiles().isEmpty());
    }

    // No thread of Qt's may start while the application object is destroyed.
    void programEndsAfterTheSync()
    {
        QProcess program;
        program.start(QCoreApplication::applicationDirPath() + QStringLiteral("/endprobe"),
                      {pathOf(QStringLiteral("a"))});
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.readAllStandardOutput(), QByteArray("1"));
        QCOMPARE(program.exitCode(), 0);
    }

    // Permissions are those of any other file of the user's.
    void rightsFollowTheMask()
    {
        const mode_t mask = umask(027);
        QVERIFY(writeWholeFile(pathOf(QStringLiteral("a")), "x"));
        umask(mask);
        struct stat is = {};
        QCOMPARE(stat(QFile::encodeName(pathOf(QStringLiteral("a"))).constData(), &is), 0);
        QCOMPARE(int(is.st_mode & 0777), 0640);
    }
};

KIVRA_TEST(TestWholeFile)
#include "test_wholefile.moc"
