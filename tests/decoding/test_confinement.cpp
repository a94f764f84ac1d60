// What the decoder program cannot do, tried by a picture's reader inside it, and how it looks from
// outside; on this kernel, and on one that lacks a part.

#include "decoding/confined/decoderprocess.h"
#include "decoding/confined/openedfile.h"
#include "decoding/picturedecoder.h"
#include "tests/decoding/faultyformat.h"
#include "tests/decoding/forbidden.h"
#include "tests/support/files.h"
#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

using kivra::PictureDecoder;
using namespace kivra::test;

namespace {

QString written(const QByteArray &content)
{
    return kivra::test::written(QStringLiteral("picture"), content);
}

QString variant(const char *name)
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/decoder-") +
           QLatin1String(name);
}

// What the program says about its confinement.
QByteArray checked(const QString &program)
{
    QProcess process;
    process.start(program, {QStringLiteral("--check")});
    process.waitForFinished();
    return process.exitCode() == 0 ? process.readAllStandardOutput() : QByteArray();
}

bool holds(const QByteArray &words, const char *part)
{
    return words.contains(QByteArray(part) + ": yes");
}

// The running decoders among the children of this process.
QList<int> decoders()
{
    QList<int> found;
    const QString self = QString::number(getpid());
    for (const QString &number :
         QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs)) {
        const QByteArray status =
            contentOf(QStringLiteral("/proc/") + number + QStringLiteral("/status"));
        if (status.contains("\nPPid:\t" + self.toLatin1() + '\n') &&
            status.startsWith("Name:\tkivra-decoder") && !status.contains("\nState:\tZ"))
            found += number.toInt();
    }
    return found;
}

// Waits until another decoder is the only one. The old one takes a moment to end, and the new one a
// moment to have its name.
bool isReplaced(const QList<int> &first)
{
    return QTest::qWaitFor(
        [&] {
            const QList<int> now = decoders();
            return now.size() == 1 && now != first;
        },
        patienceMs);
}

} // namespace

class TestConfinement : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // A library may have opened descriptors that programs inherit; a decoder must not keep this
        // one.
        QVERIFY(open("/", O_RDONLY | O_DIRECTORY) >= 0);
        const QByteArray words = checked(PictureDecoder::installedProgram());
        QVERIFY(!words.isEmpty());
        hasFileRules = holds(words, "no files but libraries and fonts");
        hasCallFilter = holds(words, "no network, programs, processes, tracing");
        for (const char *part :
             {"no new privileges", "not to be looked into, no core", "limit of memory",
              "limits of files", "first to go when memory is short"})
            QVERIFY2(holds(words, part), part);
        if (!hasFileRules || !hasCallFilter)
            qWarning("this kernel lacks a part: %s", words.constData());
    }

    void init() { Sandbox::instance().reset(); }

    void cleanup()
    {
        shared.reset();
        QTRY_VERIFY(decoders().isEmpty());
    }

    void forbidden_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QByteArray>("deed");
        QTest::addColumn<QList<int>>("errors");
        const QString all = PictureDecoder::installedProgram();
        const QString noFileRules = variant("without-file-rules");
        const QString noCallFilter = variant("without-call-filter");
        for (const Deed &deed : forbiddenDeeds()) {
            const QList<int> errors = errorsOf(deed.guard);
            addRow("all parts", all, deed, errors);
            if (deed.guard == Guard::SystemCalls || deed.guard == Guard::Either)
                addRow("no Landlock", noFileRules, deed, errors);
            if (deed.guard == Guard::Files || deed.guard == Guard::Either)
                addRow("no seccomp", noCallFilter, deed, errors);
        }
    }

    void forbidden()
    {
        QFETCH(QString, program);
        QFETCH(QByteArray, deed);
        QFETCH(QList<int>, errors);
        PictureDecoder decoder(program, {});
        const QImage outcome = decoder.load(written(faultyPicture("try " + deed)));
        QCOMPARE(outcome.width(), 1); // refused
        if (!errors.isEmpty())
            QVERIFY2(errors.contains(outcome.height()), strerror(outcome.height()));
    }

    // An unknown name does not count as refused.
    void triesAreCounted()
    {
        PictureDecoder decoder;
        QCOMPARE(decoder.load(written(faultyPicture("try nothing"))).width(), 3);
    }

    void eachPartIsIndependent()
    {
        const QByteArray noFileRules = checked(variant("without-file-rules"));
        QVERIFY(!holds(noFileRules, "no files but libraries and fonts"));
        QCOMPARE(holds(noFileRules, "no network, programs, processes, tracing"), hasCallFilter);
        const QByteArray noCallFilter = checked(variant("without-call-filter"));
        QCOMPARE(holds(noCallFilter, "no files but libraries and fonts"), hasFileRules);
        QVERIFY(!holds(noCallFilter, "no network, programs, processes, tracing"));
        for (const QByteArray &words : {noFileRules, noCallFilter})
            QCOMPARE(words.count(": yes"), words.count('\n') - words.count(": NO"));
    }

    void picturesOpenWithoutAPart_data()
    {
        QTest::addColumn<QString>("program");
        QTest::newRow("no Landlock") << variant("without-file-rules");
        QTest::newRow("no seccomp") << variant("without-call-filter");
    }

    void picturesOpenWithoutAPart()
    {
        QFETCH(QString, program);
        PictureDecoder decoder(program, {});
        QVERIFY(gradient({20, 30}).save(pathOf(QStringLiteral("a.png"))));
        KIVRA_COMPARE_PICTURES(decoder.load(pathOf(QStringLiteral("a.png"))), gradient({20, 30}));
        QCOMPARE(decoders().size(), 1);
        const QString status = QStringLiteral("/proc/%1/status").arg(decoders().constFirst());
        QVERIFY(contentOf(status).contains("\nNoNewPrivs:\t1\n"));
    }

    // What the system says of the running program, for each of its threads.
    void openedFilesAreNotInherited()
    {
        const kivra::OpenedFile opened = kivra::openFile(QCoreApplication::applicationFilePath());
        QVERIFY(opened.descriptor.isOpen());
        QVERIFY((fcntl(opened.descriptor.get(), F_GETFD) & FD_CLOEXEC) != 0);
    }

    void runningDecoder()
    {
        const int decoder = startedDecoder();
        const QString folder = QStringLiteral("/proc/%1/").arg(decoder);
        const QStringList threads =
            QDir(folder + QStringLiteral("task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QVERIFY(!threads.isEmpty());
        for (const QString &thread : threads) {
            const QByteArray status =
                contentOf(folder + QStringLiteral("task/") + thread + QStringLiteral("/status"));
            QVERIFY(status.contains("\nNoNewPrivs:\t1\n"));
            QCOMPARE(status.contains("\nSeccomp:\t2\n"), hasCallFilter);
        }
        QCOMPARE(contentOf(folder + QStringLiteral("oom_score_adj")), QByteArray("1000\n"));
    }

    void limitsOfTheRunningDecoder()
    {
        const QByteArray limits =
            contentOf(QStringLiteral("/proc/%1/limits").arg(startedDecoder()));
        const auto limit = [&](const char *name, int field) {
            const QRegularExpression line(QLatin1String(name) + QStringLiteral(" +(\\S+) +(\\S+)"));
            return line.match(QString::fromLatin1(limits)).captured(field);
        };
        QCOMPARE(limit("Max core file size", 2), QStringLiteral("0"));
        QCOMPARE(limit("Max file size", 2), QStringLiteral("0"));
        QCOMPARE(limit("Max open files", 2), QStringLiteral("64"));
        const qulonglong memory = limit("Max address space", 2).toULongLong();
        QVERIFY(memory >= qulonglong(kivra::mostDecodingBytes));
        const int processor = limit("Max cpu time", 1).toInt();
        QVERIFY2(processor >= 60 && processor < 90, qPrintable(QString::number(processor)));
        QCOMPARE(limit("Max cpu time", 2), QStringLiteral("unlimited"));
    }

    // The system's limit counts from the start of the process, so each request raises it.
    void processorLimitMovesOn()
    {
        PictureDecoder decoder;
        const auto limit = [] {
            const QByteArray limits =
                contentOf(QStringLiteral("/proc/%1/limits").arg(decoders().constFirst()));
            static const QRegularExpression line(QStringLiteral("Max cpu time +(\\d+)"));
            return line.match(QString::fromLatin1(limits)).captured(1).toInt();
        };
        QVERIFY(!decoder.load(written(faultyPicture("work 1500"))).isNull());
        const int first = limit();
        QVERIFY(!decoder.load(written(faultyPicture("well"))).isNull());
        QVERIFY2(limit() >= first + 1, qPrintable(QString::number(limit())));
    }

    // No other process of the same user may look inside; root may look anywhere.
    void descriptorsOfTheRunningDecoder()
    {
        const QString folder = QStringLiteral("/proc/%1/fd").arg(startedDecoder());
        if (geteuid() != 0) {
            QVERIFY(QDir(folder).entryList(QDir::AllEntries | QDir::System).isEmpty());
            return;
        }
        QStringList targets;
        for (int number = 0; number < 64; ++number) {
            char target[256] = {};
            const QByteArray link = QFile::encodeName(folder) + '/' + QByteArray::number(number);
            if (readlink(link.constData(), target, sizeof target - 1) > 0)
                targets += QString::fromLocal8Bit(target);
        }
        // A sanitizer reports on the error stream, wherever that leads.
        const bool isReported =
            isSanitized() &&
            QFile::symLinkTarget(QStringLiteral("/proc/self/fd/2")) != QStringLiteral("/dev/null");
        QCOMPARE(targets.count(QStringLiteral("/dev/null")), isReported ? 2 : 3);
        QCOMPARE(targets.filter(QStringLiteral("socket:")).size(), 1);
        targets = targets.filter(QRegularExpression(
            QStringLiteral("^(?!/dev/null|socket:|anon_inode:\\[eventfd\\]|/memfd:kivra|pipe:)")));
        if (!isInstrumented())
            QVERIFY2(targets.isEmpty(), qPrintable(targets.join(QLatin1Char(' '))));
    }

    // A decoder that the system has ended between two pictures costs no picture.
    void decoderThatHasEnded()
    {
        PictureDecoder decoder;
        const QString path = written(faultyPicture("well"));
        QVERIFY(!decoder.load(path).isNull());
        const QList<int> before = decoders();
        QCOMPARE(before.size(), 1);
        kill(before.constFirst(), SIGKILL);
        QTRY_VERIFY(decoders().isEmpty());
        QVERIFY(!decoder.load(path).isNull());
        QVERIFY(decoders() != before);
    }

    void decoderStaysAndIsReplacedAfterAFailure()
    {
        PictureDecoder decoder;
        decoder.prepare();
        QTRY_COMPARE(decoders().size(), 1);
        const QList<int> first = decoders();
        QVERIFY(!decoder.load(written(faultyPicture("well"))).isNull());
        QVERIFY(!decoder.load(written(faultyPicture("size 9 9"))).isNull());
        QCOMPARE(decoders(), first);
        QVERIFY(decoder.load(pathOf(QStringLiteral("nothing"))).isNull()); // it was not even asked
        QCOMPARE(decoders(), first);
        QVERIFY(decoder.load(written("no picture")).isNull());
        QVERIFY(isReplaced(first));
    }

    // What readers and fonts leave in memory adds up.
    void decoderIsRenewedNowAndThen()
    {
        PictureDecoder decoder;
        const QString path = written(faultyPicture("well"));
        QVERIFY(!decoder.load(path).isNull());
        const QList<int> first = decoders();
        for (int number = 0; number < 200; ++number)
            QVERIFY(!decoder.load(path).isNull());
        QVERIFY(isReplaced(first));
    }

    // A killed viewer cannot end its decoder: the system does, when the thread that started it
    // ends.
    void systemEndsTheDecoderWithItsViewer()
    {
        std::unique_ptr<kivra::DecoderProcess> process;
        std::thread([&] {
            process = kivra::DecoderProcess::start(PictureDecoder::installedProgram());
            const QString status = QStringLiteral("/proc/%1/status").arg(process->id());
            const QDeadlineTimer patience(patienceMs);
            while (!contentOf(status).contains("\nNoNewPrivs:\t1\n") && !patience.hasExpired())
                std::this_thread::yield();
        }).join();
        QTRY_VERIFY(decoders().isEmpty());
    }

    void noDecoderOutlivesItsViewer()
    {
        {
            PictureDecoder decoder;
            decoder.open(written(faultyPicture("wait")));
            QTRY_COMPARE(decoders().size(), 1);
        }
        QTRY_VERIFY(decoders().isEmpty());
    }

    // A decoder must not see the session's secrets.
    void environmentIsNotPassedOn()
    {
        qputenv("KIVRA_SECRET", "42");
        const QByteArray environment =
            contentOf(QStringLiteral("/proc/%1/environ").arg(startedDecoder()));
        qunsetenv("KIVRA_SECRET");
        QVERIFY(!environment.contains("KIVRA_SECRET"));
        QVERIFY(!environment.contains("DISPLAY"));
    }

    // The report also arrives if it goes to a file.
    void checkGoesToAFile()
    {
        QProcess process;
        process.setStandardOutputFile(pathOf(QStringLiteral("words")));
        process.start(PictureDecoder::installedProgram(), {QStringLiteral("--check")});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(contentOf(pathOf(QStringLiteral("words"))),
                 checked(PictureDecoder::installedProgram()));
    }

    // Started by hand, it says what it is for.
    void startedByHand()
    {
        QProcess process;
        process.start(PictureDecoder::installedProgram(), QStringList());
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 2);
        QVERIFY(process.readAllStandardError().contains("--check"));
    }

private:
    QList<int> errorsOf(Guard guard) const
    {
        switch (guard) {
        case Guard::Files:
            return {EACCES};
        case Guard::SystemCalls:
            return {ENOSYS};
        case Guard::Either:
        case Guard::Start:
            return {};
        }
        return {};
    }

    void addRow(const char *parts, const QString &program, const Deed &deed,
                const QList<int> &errors) const
    {
        const bool isGuarded = (deed.guard == Guard::Files && hasFileRules) ||
                               (deed.guard == Guard::SystemCalls && hasCallFilter) ||
                               (deed.guard == Guard::Either && hasFileRules && hasCallFilter) ||
                               deed.guard == Guard::Start;
        if (isGuarded)
            QTest::addRow("%s, %s", parts, deed.name) << program << QByteArray(deed.name) << errors;
    }

    // The process number of a decoder that has confined itself. It lives until the next call of
    // this, or the end of the test function.
    int startedDecoder()
    {
        shared = std::make_unique<PictureDecoder>();
        if (shared->load(written(faultyPicture("well"))).isNull())
            qFatal("no picture");
        return decoders().value(0);
    }

    bool hasFileRules = false;
    bool hasCallFilter = false;
    std::unique_ptr<PictureDecoder> shared;
};

KIVRA_TEST(TestConfinement)
#include "test_confinement.moc"
