// What the command line may say, and what the command answers.

#include "rendu/choices.h"
#include "tests/rendu/command.h"
#include "tests/support/testmain.h"

#include <QTest>

using kivra::test::Command;
using kivra::test::noise;
using kivra::test::words;

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void helpAndVersion()
    {
        Command command;
        for (const char *option : {"--help", "-h", "--hel"}) {
            QCOMPARE(command.run({QLatin1String(option)}), 0);
            for (const char *told : {"--effet", "--rendu", "--contraste", "--lumiere", "--reglage",
                                     "--output", "--format", "--pdf", "--force", "--files-from",
                                     "--jobs", "--quiet", "--help", "--version", "--list"})
                QVERIFY2(command.out.contains(QLatin1String(told)), told);
        }
        for (const char *option : {"--version", "-V"}) {
            QCOMPARE(command.run({QLatin1String(option)}), 0);
            QCOMPARE(command.out, QStringLiteral("kivra-rendu " KIVRA_VERSION "\n"));
        }
        QVERIFY(command.complaints.isEmpty());
    }

    void list()
    {
        Command command;
        QCOMPARE(command.run({QStringLiteral("--list")}), 0);
        for (const QString &name : kivra::rendu::modeNames() + kivra::rendu::effectNames())
            QVERIFY(command.out.contains(QStringLiteral("\n  %1\n").arg(name)));
    }

    void wrongUse_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("named");
        QTest::newRow("nothing") << ""
                                 << "-o";
        QTest::newRow("no picture") << "-o propre"
                                    << "image";
        QTest::newRow("nowhere to go") << "page.png"
                                       << "-o";
        QTest::newRow("two places") << "-o propre --pdf a.pdf page.png"
                                    << "--pdf";
        QTest::newRow("a format of pages") << "--format png --pdf a.pdf page.png"
                                           << "--format";
        QTest::newRow("a picture in place of the document") << "--force --pdf page.png page.png"
                                                            << ".pdf";
        QTest::newRow("unknown") << "--rien -o propre page.png"
                                 << "--rien";
        QTest::newRow("unknown letter") << "-qx -o propre page.png"
                                        << "-x";
        QTest::newRow("unknown letter before others") << "--force -xq -o propre page.png"
                                                      << "« -x »";
        QTest::newRow("letter beyond ASCII") << "-é -o propre page.png"
                                             << "« -é »";
        QTest::newRow("ambiguous") << "--fo -o propre page.png"
                                   << "--fo";
        QTest::newRow("value missing") << "page.png -o"
                                       << "-o";
        QTest::newRow("value too many") << "--force=oui -o propre page.png"
                                        << "--force";
        QTest::newRow("no such mode") << "--effet sepia -o propre page.png"
                                      << "sepia";
        QTest::newRow("no such effect") << "--rendu texte -o propre page.png"
                                        << "--rendu";
        QTest::newRow("no such format") << "--format gif -o propre page.png"
                                        << "gif";
        QTest::newRow("contrast too low") << "--contraste 9 -o propre page.png"
                                          << "10 à 1000";
        QTest::newRow("contrast too high") << "--contraste 1001 -o propre page.png"
                                           << "10 à 1000";
        QTest::newRow("brightness too low") << "--lumiere=-101 -o propre page.png"
                                            << "-100 à 100";
        QTest::newRow("brightness too high") << "--lumiere 101 -o propre page.png"
                                             << "-100 à 100";
        QTest::newRow("setting too low") << "--reglage=-1 -o propre page.png"
                                         << "0 à 100";
        QTest::newRow("setting too high") << "--reglage 101 -o propre page.png"
                                          << "0 à 100";
        QTest::newRow("no number") << "--lumiere 1x -o propre page.png"
                                   << "1x";
        QTest::newRow("no job") << "-j0 -o propre page.png"
                                << "-j";
        QTest::newRow("list without a name") << "--files-from= -o propre page.png"
                                             << "--files-from";
        QTest::newRow("no list") << "--files-from rien.txt -o propre"
                                 << "rien.txt";
        QTest::newRow("name of a file") << "-o page.png/a page.png"
                                        << "page.png/a";
    }

    void wrongUse()
    {
        QFETCH(QString, line);
        QFETCH(QString, named);
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QCOMPARE(command.run(line.split(QLatin1Char(' '), Qt::SkipEmptyParts)), 1);
        QVERIFY2(command.complaints.contains(named), qPrintable(command.complaints));
        QVERIFY(command.complaints.startsWith(QStringLiteral("kivra-rendu : ")));
        QVERIFY(command.out.isEmpty());
        QCOMPARE(command.filesIn({}), QStringList(QStringLiteral("page.png")));
        QVERIFY(!QFileInfo::exists(command.path(QStringLiteral("propre"))));
    }

    void endsOfTheRanges()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QCOMPARE(command.run(words("--contraste 10 --lumiere -100 --reglage 0 -o bas page.png")),
                 0);
        QCOMPARE(
            command.run(words("--contraste 1000 --lumiere 100 --reglage 100 -o haut page.png")), 0);
    }

    void listsOfNames()
    {
        Command command;
        for (const char *name : {"é à.png", "--force.png", "b.png"})
            command.picture(QString::fromUtf8(name), noise({20, 10}, 1));
        const QByteArray names("é à.png\n\nb.png");
        QCOMPARE(command.run(words("-o propre --files-from - -- --force.png"), names), 0);
        const QStringList all = {QStringLiteral("--force.png"), QStringLiteral("b.png"),
                                 QStringLiteral("é à.png")};
        QCOMPARE(command.filesIn(QStringLiteral("propre")), all);
        command.file(QStringLiteral("liste.txt"), names);
        QCOMPARE(command.run(words("-o autre --files-from=liste.txt")), 0);
        QCOMPARE(command.filesIn(QStringLiteral("autre")), all.mid(1));
        command.file(QStringLiteral("suite.txt"), "./--force.png\n");
        QCOMPARE(command.run(words("-o tout --files-from=suite.txt --files-from=liste.txt")), 0);
        QCOMPARE(command.filesIn(QStringLiteral("tout")), all);
        command.file(QStringLiteral("ailleurs.txt"), QByteArray(names).replace("\n", "\r\n"));
        QCOMPARE(command.run(words("-o ailleurs --files-from=ailleurs.txt")), 0);
        QCOMPARE(command.filesIn(QStringLiteral("ailleurs")), all.mid(1));
    }

    void namesThatBeginWithAColon()
    {
        Command command;
        command.picture(QStringLiteral("a.png"), noise({20, 10}, 1));
        QVERIFY(QFile::copy(command.path(QStringLiteral("a.png")),
                            command.path(QStringLiteral("./:a.png"))));
        QCOMPARE(command.run(words("-o :propre :a.png")), 0);
        QCOMPARE(command.filesIn(QStringLiteral(":propre")), QStringList(":a.png"));
        command.file(QStringLiteral("./:liste"), ":a.png\n");
        QCOMPARE(command.run(words("--pdf :a.pdf --files-from :liste")), 0);
        QVERIFY(command.contentOf(QStringLiteral(":a.pdf")).startsWith("%PDF"));
    }

    // As in a scheduled job, which has no language set.
    void namesWithoutALanguage()
    {
        Command command;
        command.picture(QStringLiteral("été.png"), noise({20, 10}, 1));
        QCOMPARE(command.runBy(
                     QStringLiteral("env"), {QStringLiteral("LC_ALL=C")},
                     {QStringLiteral("-o"), QStringLiteral("propre"), QStringLiteral("été.png")}),
                 0);
        QCOMPARE(command.filesIn(QStringLiteral("propre")), QStringList(QStringLiteral("été.png")));
    }

    void whatIsSaid()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QCOMPARE(command.run(words("-o propre page.png rien.png")), 2);
        QCOMPARE(command.out, QStringLiteral("1 image rendue, 0 déjà faite, 1 échec\n"));
        QCOMPARE(command.complaints,
                 QStringLiteral("kivra-rendu : rien.png : ce fichier n'existe pas\n"));
        QCOMPARE(command.run(words("-q -o autre page.png rien.png")), 2);
        QVERIFY(command.out.isEmpty());
        QCOMPARE(command.complaintLines(), 1);
    }

    // A terminal would obey the control characters in a name.
    void namesThatATerminalObeys()
    {
        Command command;
        command.run({QStringLiteral("-o"), QStringLiteral("propre"), QStringLiteral("\033[2Ja\n")});
        QVERIFY(!command.complaints.contains(QLatin1Char('\033')));
        QCOMPARE(command.complaintLines(), 1);
    }

    void progressOnATerminalOnly()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QProcess terminal;
        terminal.setWorkingDirectory(command.path());
        terminal.start(QStringLiteral("script"),
                       {QStringLiteral("-qec"),
                        Command::program() + QStringLiteral(" -o propre page.png"),
                        QStringLiteral("/dev/null")});
        QVERIFY(terminal.waitForFinished());
        QVERIFY(QString::fromUtf8(terminal.readAll()).contains(QStringLiteral("\r1 sur 1")));
    }
};

KIVRA_TEST(TestOptions)
#include "test_options.moc"
