// A second run: finished results are not made again, those that would differ are.

#include "tests/rendu/command.h"
#include "tests/support/testmain.h"

#include <QDateTime>
#include <QFileInfo>
#include <QTest>

using kivra::test::Command;
using kivra::test::noise;
using kivra::test::words;

class TestResumption : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        command = std::make_unique<Command>();
        for (const char *name : {"a.png", "b.jpg", "c.tif"}) {
            command->picture(QLatin1String(name), noise({40, 30}, 1));
            command->age(QLatin1String(name), 100);
        }
    }

    void secondRunHasNothingToDo()
    {
        QCOMPARE(run("-o propre"), QStringLiteral("3 images rendues, 0 déjà faite, 0 échec\n"));
        for (const char *name : {"propre/a.png", "propre/b.jpg", "propre/c.png"})
            command->age(QLatin1String(name), 50);
        const QDateTime written = timeOf("propre/a.png");
        QCOMPARE(run("-o propre"), QStringLiteral("0 image rendue, 3 déjà faites, 0 échec\n"));
        QCOMPARE(status, 0);
        QCOMPARE(run("--force -o propre"),
                 QStringLiteral("0 image rendue, 3 déjà faites, 0 échec\n"));
        QCOMPARE(timeOf("propre/a.png"), written);
    }

    void missingResultIsMade()
    {
        run("-o propre");
        QVERIFY(QFile::remove(command->path(QStringLiteral("propre/b.jpg"))));
        QCOMPARE(run("-o propre"), QStringLiteral("1 image rendue, 2 déjà faites, 0 échec\n"));
    }

    void otherOptions_data()
    {
        QTest::addColumn<QString>("option");
        for (const char *option : {"--effet=texte", "--rendu=negatif", "--contraste=120",
                                   "--lumiere=20", "--reglage=60"})
            QTest::newRow(option) << option;
    }

    void otherOptions()
    {
        QFETCH(QString, option);
        run("-o propre");
        const QByteArray before = command->contentOf(QStringLiteral("propre/a.png"));
        const QByteArray line = option.toLatin1() + " -o propre";
        QCOMPARE(run(line.constData()), QStringLiteral("0 image rendue, 0 déjà faite, 3 échecs\n"));
        QCOMPARE(status, 2);
        QCOMPARE(command->contentOf(QStringLiteral("propre/a.png")), before);
        QCOMPARE(run(("--force " + line).constData()),
                 QStringLiteral("3 images rendues, 0 déjà faite, 0 échec\n"));
        QVERIFY(command->contentOf(QStringLiteral("propre/a.png")) != before);
    }

    void changedSource()
    {
        run("-o propre");
        command->age(QStringLiteral("a.png"), -100);
        QCOMPARE(run("-o propre"), QStringLiteral("0 image rendue, 2 déjà faites, 1 échec\n"));
        QCOMPARE(run("--force -o propre"),
                 QStringLiteral("1 image rendue, 2 déjà faites, 0 échec\n"));
    }

    // An older file has taken the source's place.
    void sourceOfAnotherSize()
    {
        run("-o propre");
        command->picture(QStringLiteral("a.png"), noise({44, 30}, 2));
        command->age(QStringLiteral("a.png"), 100);
        QCOMPARE(run("--force -o propre"),
                 QStringLiteral("1 image rendue, 2 déjà faites, 0 échec\n"));
        QCOMPARE(command->result(QStringLiteral("propre/a.png")).width(), 44);
    }

    // Such as that of another month: of the same name, size and time.
    void sourceInAnotherFolder()
    {
        for (const char *name : {"10/1.bmp", "11/1.bmp"}) {
            command->picture(QLatin1String(name), noise({40, 30}, unsigned(name[1])));
            command->age(QLatin1String(name), 100);
        }
        QCOMPARE(command->run(words("-o propre 10/1.bmp")), 0);
        QCOMPARE(command->run(words("--pdf a.pdf 10/1.bmp")), 0);
        const QByteArray before = command->contentOf(QStringLiteral("propre/1.png"));
        QCOMPARE(command->run(words("-o propre 11/1.bmp")), 2);
        QVERIFY(command->complaints.contains(QStringLiteral("existe déjà")));
        QCOMPARE(command->run(words("--pdf a.pdf 11/1.bmp")), 1);
        QCOMPARE(command->contentOf(QStringLiteral("propre/1.png")), before);
        QCOMPARE(command->run(words("--force -o propre 11/1.bmp")), 0);
        QVERIFY(command->contentOf(QStringLiteral("propre/1.png")) != before);
        QCOMPARE(command->run(words("-o propre 11/1.bmp")), 0);
        QVERIFY(command->out.contains(QStringLiteral("1 déjà faite")));
    }

    void documents()
    {
        QCOMPARE(run("--pdf a.pdf"), QStringLiteral("3 images rendues, 0 déjà faite, 0 échec\n"));
        const QByteArray before = command->contentOf(QStringLiteral("a.pdf"));
        QCOMPARE(run("--pdf a.pdf"), QStringLiteral("0 image rendue, 3 déjà faites, 0 échec\n"));
        QCOMPARE(status, 0);
        run("--effet texte --pdf a.pdf");
        QCOMPARE(status, 1);
        QCOMPARE(command->contentOf(QStringLiteral("a.pdf")), before);
        QCOMPARE(run("--effet texte --force --pdf a.pdf"),
                 QStringLiteral("3 images rendues, 0 déjà faite, 0 échec\n"));
        QVERIFY(command->contentOf(QStringLiteral("a.pdf")) != before);
        QCOMPARE(command->run(words("--effet texte --pdf a.pdf b.jpg a.png c.tif")), 1);
        command->age(QStringLiteral("b.jpg"), -100);
        run("--effet texte --pdf a.pdf");
        QCOMPARE(status, 1);
    }

    // The next run does not take it for finished.
    void documentThatLacksAPage()
    {
        QCOMPARE(command->run(words("--pdf a.pdf a.png rien.png")), 2);
        command->picture(QStringLiteral("rien.png"), noise({40, 30}, 1));
        command->age(QStringLiteral("rien.png"), 100);
        QCOMPARE(command->run(words("--pdf a.pdf a.png rien.png")), 1);
        QCOMPARE(command->run(words("--force --pdf a.pdf a.png rien.png")), 0);
    }

private:
    QString run(const char *options)
    {
        status = command->run(words(options) + words("a.png b.jpg c.tif"));
        return command->out;
    }

    QDateTime timeOf(const char *name) const
    {
        return QFileInfo(command->path(QLatin1String(name))).lastModified();
    }

    std::unique_ptr<Command> command;
    int status = -1;
};

KIVRA_TEST(TestResumption)
#include "test_resumption.moc"
