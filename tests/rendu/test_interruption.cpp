// Ctrl+C at any moment: whole files, no process, and the next run goes on from there.

#include "tests/rendu/command.h"
#include "tests/support/patience.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QTest>
#include <csignal>
#include <random>

using kivra::test::Command;
using kivra::test::noise;
using kivra::test::patienceMs;

namespace {

constexpr int pictures = 80;

// How many decoders that were started in this test's home still run.
int decodersLeft()
{
    const QByteArray home = "HOME=" + QFile::encodeName(kivra::test::Sandbox::instance().home());
    int count = 0;
    for (const QString &process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        const QString folder = QStringLiteral("/proc/") + process;
        QFile name(folder + QStringLiteral("/comm"));
        QFile environment(folder + QStringLiteral("/environ"));
        if (!name.open(QIODevice::ReadOnly) || !name.readAll().startsWith("kivra-decoder"))
            continue;
        if (environment.open(QIODevice::ReadOnly) && environment.readAll().contains(home))
            ++count;
    }
    return count;
}

// The process may have ended while the test looked at its files.
bool hasEnded(QProcess *process)
{
    return process->state() == QProcess::NotRunning || process->waitForFinished(patienceMs);
}

} // namespace

class TestInterruption : public QObject
{
    Q_OBJECT

private slots:
    void atRandomMoments_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<int>("status");
        QTest::newRow("Ctrl+C") << SIGINT << 130;
        QTest::newRow("wish to end") << SIGTERM << 143;
        QTest::newRow("end of the terminal") << SIGHUP << 129;
    }

    void atRandomMoments()
    {
        QFETCH(int, number);
        QFETCH(int, status);
        Command command;
        const QStringList sources = makeSources(command).mid(0, 50);
        QCOMPARE(command.run(QStringList{QStringLiteral("-o"), QStringLiteral("entier")} + sources),
                 0);
        const QStringList arguments =
            QStringList{QStringLiteral("-j2"), QStringLiteral("-o"), QStringLiteral("propre")} +
            sources;
        std::mt19937 random(static_cast<unsigned int>(number));
        QDir(command.path()).mkdir(QStringLiteral("propre"));
        for (int goal = 0; goal < sources.size(); goal += 1 + int(random() % 13)) {
            QProcess process;
            command.start(&process, arguments);
            // Interrupts at some moment of the work on the next picture; by then, the command may
            // have ended.
            QVERIFY(QTest::qWaitFor(
                [&] {
                    const int done = command.filesIn(QStringLiteral("propre")).size();
                    return (done >= goal && decodersLeft() > 0) ||
                           process.state() == QProcess::NotRunning;
                },
                patienceMs));
            if (process.state() == QProcess::Running)
                ::kill(pid_t(process.processId()), number);
            QVERIFY(hasEnded(&process));
            QCOMPARE(process.exitStatus(), QProcess::NormalExit);
            QVERIFY2(process.exitCode() == status || process.exitCode() == 0,
                     qPrintable(QString::number(process.exitCode())));
            QVERIFY(Command::complaintsOf(&process).isEmpty());
            QTRY_COMPARE_WITH_TIMEOUT(decodersLeft(), 0, patienceMs);
            compareWithUninterrupted(command);
        }
        const int done = command.filesIn(QStringLiteral("propre")).size();
        QCOMPARE(command.run(arguments), 0);
        QVERIFY2(command.out.contains(QStringLiteral("%1 déjà faite").arg(done)),
                 qPrintable(command.out));
        QCOMPARE(command.filesIn(QStringLiteral("propre")).size(), sources.size());
        compareWithUninterrupted(command);
    }

    // Each thread has a decoder.
    void noMoreThreadsThanAskedFor()
    {
        Command command;
        const QStringList sources = makeSources(command);
        QTRY_COMPARE_WITH_TIMEOUT(decodersLeft(), 0, patienceMs);
        QProcess process;
        command.start(&process, QStringList{QStringLiteral("-j1"), QStringLiteral("-o"),
                                            QStringLiteral("propre")} +
                                    sources);
        int most = 0;
        QVERIFY(QTest::qWaitFor(
            [&] {
                most = qMax(most, decodersLeft());
                return process.state() == QProcess::NotRunning;
            },
            patienceMs));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(most, 1);
    }

    void ofADocument()
    {
        Command command;
        const QStringList once =
            QStringList{QStringLiteral("--pdf"), QStringLiteral("a.pdf")} + makeSources(command);
        const QStringList arguments = once + makeSources(command) + makeSources(command);
        const QStringList before = command.filesIn({});
        QProcess process;
        command.start(&process, arguments);
        QTRY_VERIFY_WITH_TIMEOUT(decodersLeft() > 0, patienceMs);
        ::kill(pid_t(process.processId()), SIGINT);
        QVERIFY(hasEnded(&process));
        QCOMPARE(process.exitCode(), 130);
        QTRY_COMPARE_WITH_TIMEOUT(decodersLeft(), 0, patienceMs);
        QCOMPARE(command.filesIn({}), before);
        QCOMPARE(command.run(once), 0);
    }

    // The signal goes to the terminal's whole group, as Ctrl+C does: the decoders end by
    // themselves.
    void ofTheWholeGroup()
    {
        Command command;
        const QString list = makeSources(command).join(QLatin1Char('\n'));
        command.file(QStringLiteral("liste"), QFile::encodeName(list));
        // With job control, a command in the background has a group of its own.
        const QString script =
            QStringLiteral("set -m; \"$1\" -q -o propre --files-from liste & group=$!\n"
                           "while [ -z \"$(ls -A propre 2>/dev/null)\" ]; do :; done\n"
                           "kill -INT -- -$group; wait $group");
        QProcess process;
        process.setWorkingDirectory(command.path());
        process.start(QStringLiteral("bash"),
                      {QStringLiteral("-c"), script, QStringLiteral("bash"), Command::program()});
        QVERIFY(hasEnded(&process));
        QCOMPARE(process.exitCode(), 130);
        QVERIFY(
            !process.readAllStandardError().contains("kivra-rendu : ")); // bash tells of its job
        QTRY_COMPARE_WITH_TIMEOUT(decodersLeft(), 0, patienceMs);
        for (const QString &name : command.filesIn(QStringLiteral("propre")))
            QVERIFY(name.endsWith(QLatin1String(".png")));
    }

    // Ignored as by nohup, or by shells for commands in the background.
    void ignoredSignalsStayIgnored()
    {
        Command command;
        makeSources(command);
        const QString script =
            QStringLiteral("trap '' INT; \"$1\" -q -o propre ???.png & echo $!; wait $!");
        QProcess process;
        process.setWorkingDirectory(command.path());
        process.start(QStringLiteral("sh"),
                      {QStringLiteral("-c"), script, QStringLiteral("sh"), Command::program()});
        QTRY_VERIFY_WITH_TIMEOUT(!command.filesIn(QStringLiteral("propre")).isEmpty(), patienceMs);
        QCOMPARE(::kill(process.readAllStandardOutput().trimmed().toInt(), SIGINT), 0);
        QVERIFY(hasEnded(&process));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(command.filesIn(QStringLiteral("propre")).size(), pictures);
    }

private:
    static QStringList makeSources(const Command &command)
    {
        QStringList sources;
        constexpr int different = 4;
        for (int i = 0; i < different; ++i) {
            const QString name = QStringLiteral("vue%1.png").arg(i);
            command.picture(name, noise({150, 100}, unsigned(i)));
            command.age(name, 100);
        }
        for (int i = 0; i < pictures; ++i) {
            sources += QStringLiteral("%1.png").arg(i, 3, 10, QLatin1Char('0'));
            QFile::link(QStringLiteral("vue%1.png").arg(i % different),
                        command.path(sources.last()));
        }
        return sources;
    }

    // Each result is there, and whole.
    static void compareWithUninterrupted(const Command &command)
    {
        for (const QString &name : command.filesIn(QStringLiteral("propre")))
            QVERIFY2(command.contentOf(QStringLiteral("propre/") + name) ==
                         command.contentOf(QStringLiteral("entier/") + name),
                     qPrintable(name));
    }
};

KIVRA_TEST(TestInterruption)
#include "test_interruption.moc"
