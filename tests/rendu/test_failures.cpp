// Pictures that cannot be opened and results that cannot be written: a line each, and the rest goes
// on.

#include "decoding/picturefile.h"
#include "rendu/faults.h"
#include "tests/rendu/command.h"
#include "tests/support/patience.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QTest>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using kivra::test::Command;
using kivra::test::noise;
using kivra::test::patienceMs;
using kivra::test::words;

class TestFailures : public QObject
{
    Q_OBJECT

private slots:
    void whyNothingCanBeWritten_data()
    {
        QTest::addColumn<int>("error");
        QTest::addColumn<QString>("reason");
        const auto add = [](const char *name, int error, const char *reason) {
            QTest::newRow(name) << error << QString::fromUtf8(reason);
        };
        add("ENOSPC", ENOSPC, "le disque est plein");
        add("EDQUOT", EDQUOT, "le disque est plein");
        add("EFBIG", EFBIG, "le fichier serait trop gros");
        add("EACCES", EACCES, "le dossier n'est pas ouvert à l'écriture");
        add("EPERM", EPERM, "le dossier n'est pas ouvert à l'écriture");
        add("EROFS", EROFS, "le dossier n'est pas ouvert à l'écriture");
        add("ENOENT", ENOENT, "le dossier n'existe pas");
        add("ENOTDIR", ENOTDIR, "le dossier n'existe pas");
        add("EISDIR", EISDIR, "un dossier porte ce nom");
        add("ENAMETOOLONG", ENAMETOOLONG, "le nom est trop long");
        add("ENOMEM", ENOMEM, "la mémoire manque");
        add("another", EIO, "erreur 5 du système");
    }

    void whyNothingCanBeWritten()
    {
        QFETCH(int, error);
        QFETCH(QString, reason);
        QCOMPARE(kivra::rendu::writingFault(QStringLiteral("rien/a.png"), error),
                 QStringLiteral("« rien/a.png » ne peut pas être écrit : ") + reason);
    }

    void everyBadFile_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("told");
        QTest::newRow("missing") << "rien.png"
                                 << "n'existe pas";
        QTest::newRow("folder") << "dossier.png"
                                << "dossier";
        QTest::newRow("pipe") << "tube.png"
                              << "ordinaire";
        QTest::newRow("device") << "/dev/zero"
                                << "ordinaire";
        QTest::newRow("broken link") << "lien.png"
                                     << "n'existe pas";
        QTest::newRow("empty") << "vide.png"
                               << "ouvrir";
        QTest::newRow("text") << "texte.png"
                              << "ouvrir";
        QTest::newRow("begin of a picture") << "debut.png"
                                            << "ouvrir";
        QTest::newRow("larger than any picture") << "grosse.png"
                                                 << "trop gros";
        QTest::newRow("no suffix, as another file has") << "texte"
                                                        << "n'existe pas";
    }

    void everyBadFile()
    {
        QFETCH(QString, source);
        QFETCH(QString, told);
        Command command;
        command.picture(QStringLiteral("bonne.png"), noise({20, 10}, 1));
        command.file(QStringLiteral("vide.png"), {});
        command.file(QStringLiteral("texte.png"), "rien à voir");
        command.file(QStringLiteral("debut.png"),
                     command.contentOf(QStringLiteral("bonne.png")).left(40));
        command.file(QStringLiteral("grosse.png"), {});
        QVERIFY(
            QFile::resize(command.path(QStringLiteral("grosse.png")), kivra::mostFileBytes + 1));
        QDir(command.path()).mkdir(QStringLiteral("dossier.png"));
        QVERIFY(
            QFile::link(QStringLiteral("nulle-part"), command.path(QStringLiteral("lien.png"))));
        QCOMPARE(
            mkfifo(QFile::encodeName(command.path(QStringLiteral("tube.png"))).constData(), 0600),
            0);
        for (const QString &order :
             {source + QStringLiteral(" bonne.png"), QStringLiteral("bonne.png ") + source}) {
            QDir(command.path(QStringLiteral("propre"))).removeRecursively();
            QCOMPARE(command.run((QStringLiteral("-o propre ") + order).split(QLatin1Char(' '))),
                     2);
            QVERIFY2(command.complaints.contains(told), qPrintable(command.complaints));
            QVERIFY(command.complaints.contains(source));
            QCOMPARE(command.complaintLines(), 1);
            QCOMPARE(command.filesIn(QStringLiteral("propre")),
                     QStringList(QStringLiteral("bonne.png")));
        }
    }

    // As after an update that went wrong.
    void withoutTheDecoder()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QVERIFY(QFile::copy(Command::program(), command.path(QStringLiteral("seul"))));
        QProcess process;
        process.setWorkingDirectory(command.path());
        process.start(command.path(QStringLiteral("seul")),
                      {QStringLiteral("-o"), QStringLiteral("propre"), QStringLiteral("page.png")});
        QVERIFY(process.waitForFinished(patienceMs));
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(Command::complaintsOf(&process).contains(QStringLiteral("kivra-decoder » manque")));
        QVERIFY(!QDir(command.path(QStringLiteral("propre"))).exists());
    }

    void unreadableFile()
    {
        if (geteuid() == 0)
            QSKIP("root reads everything");
        Command command;
        const QString path = command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QFile::setPermissions(path, {});
        QCOMPARE(command.run(words("-o propre page.png")), 2);
        QVERIFY(command.complaints.contains(QStringLiteral("lecture")));
    }

    // Files that crash readers, mislead them or ask for all memory; each under a name of its own.
    // Without those that use up the minute that a picture may take.
    void hostileFiles()
    {
        Command command;
        command.picture(QStringLiteral("zz.png"), noise({20, 10}, 1));
        QStringList arguments = {QStringLiteral("-o"), QStringLiteral("propre")};
        const QStringList names = QDir(QStringLiteral(KIVRA_CORPUS)).entryList(QDir::Files);
        QVERIFY(names.size() > 50);
        const QStringList slow = words("huge.mng largest.png loop.mng scans.jpg");
        for (const QString &name : names) {
            if (slow.contains(name))
                continue;
            const QString copy = QStringLiteral("%1.").arg(arguments.size()) + name;
            QVERIFY(QFile::copy(QStringLiteral(KIVRA_CORPUS "/") + name, command.path(copy)));
            arguments += copy;
        }
        arguments += QStringLiteral("zz.png");
        QCOMPARE(command.run(arguments), 2);
        const int done = command.filesIn(QStringLiteral("propre")).size();
        QCOMPARE(done + command.complaintLines(), names.size() - slow.size() + 1);
        for (const QString &result : command.filesIn(QStringLiteral("propre")))
            QVERIFY2(!command.result(QStringLiteral("propre/") + result).isNull(),
                     qPrintable(result));
        QVERIFY(QFileInfo::exists(command.path(QStringLiteral("propre/zz.png"))));
    }

    void noRightToTheFolder()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QCOMPARE(command.run(words("-o /proc/self page.png")), 2); // for root too
        QCOMPARE(command.complaintLines(), 1);
        QCOMPARE(command.run(words("-o /proc/rien page.png")), 1);
        QCOMPARE(command.run(words("--pdf /proc/self/a.pdf page.png")), 1);
        QCOMPARE(command.run(words("--pdf rien/a.pdf page.png")), 1);
    }

    void folderInThePlace()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QDir(command.path()).mkpath(QStringLiteral("propre/page.png"));
        QDir(command.path()).mkpath(QStringLiteral("cours.pdf"));
        for (const char *line : {"-o propre page.png", "--force -o propre page.png"}) {
            QCOMPARE(command.run(words(line)), 2);
            QVERIFY2(command.complaints.contains(QStringLiteral("un dossier porte ce nom")),
                     qPrintable(command.complaints));
        }
        QCOMPARE(command.run(words("--force --pdf cours.pdf page.png")), 1);
        QVERIFY(command.complaints.contains(QStringLiteral("un dossier porte ce nom")));
    }

    void nameThatIsNoText()
    {
        Command command;
        const QByteArray name = QFile::encodeName(command.path(QStringLiteral("lat"))) + "\xE9.png";
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QCOMPARE(link(QFile::encodeName(command.path(QStringLiteral("page.png"))).constData(),
                      name.constData()),
                 0);
        QCOMPARE(command.run(words("-o propre --files-from -"), name), 2);
        QVERIFY2(command.complaints.contains(QStringLiteral("UTF-8")),
                 qPrintable(command.complaints));
        QCOMPARE(unlink(name.constData()), 0);
    }

    void tooWideForJpeg()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({65501, 2}, 1));
        command.picture(QStringLiteral("mince.png"), noise({65500, 2}, 1));
        QCOMPARE(command.run(words("--format jpg -o propre page.png mince.png")), 2);
        QVERIFY2(command.complaints.contains(QStringLiteral("trop grande")),
                 qPrintable(command.complaints));
        QCOMPARE(command.complaintLines(), 1);
        QCOMPARE(command.filesIn(QStringLiteral("propre")), QStringList("mince.jpg"));
        QCOMPARE(command.run(words("--pdf a.pdf page.png")), 2);
        QVERIFY(command.complaints.contains(QStringLiteral("trop grande")));
    }

    void fullDisk_data()
    {
        QTest::addColumn<QString>("where");
        QTest::newRow("folder") << "-o disque";
        QTest::newRow("document") << "--pdf disque/a.pdf";
    }

    // A file system of 64 KiB, too small for several pictures of 30 KiB and more.
    void fullDisk()
    {
        QFETCH(QString, where);
        const QStringList ownMounts{QStringLiteral("-r"), QStringLiteral("-m")};
        if (QProcess::execute(QStringLiteral("unshare"), ownMounts + QStringList("true")) != 0)
            QSKIP("no file system can be made here");
        Command command;
        QDir(command.path()).mkdir(QStringLiteral("disque"));
        QStringList arguments = {QStringLiteral("-q"), QStringLiteral("-j2")};
        arguments += where.split(QLatin1Char(' '));
        for (unsigned int number = 0; number < 5; ++number)
            arguments +=
                command.picture(QStringLiteral("%1.png").arg(number), noise({160, 100}, number));
        const QString script = QStringLiteral("mount -t tmpfs -o size=64k none disque || exit 77\n"
                                              "\"$@\"; status=$?; ls -A disque; exit $status");
        const int status =
            command.runBy(QStringLiteral("unshare"),
                          ownMounts + QStringList{QStringLiteral("sh"), QStringLiteral("-c"),
                                                  script, QStringLiteral("sh")},
                          arguments);
        if (status == 77)
            QSKIP("no file system can be made here");
        QCOMPARE(status, 2);
        QVERIFY2(command.complaints.contains(QStringLiteral("plein")),
                 qPrintable(command.complaints));
        QVERIFY2(!command.out.contains(QLatin1String(".part")), qPrintable(command.out));
        QVERIFY(!command.out.contains(QLatin1String("a.pdf")));
        const int results = command.out.count(QLatin1String(".png"));
        QVERIFY(where.startsWith(QLatin1String("--pdf")) || results == 1);
    }
};

KIVRA_TEST(TestFailures)
#include "test_failures.moc"
