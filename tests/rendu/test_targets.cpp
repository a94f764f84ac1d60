// How results are named, and which files they may not replace.

#include "tests/rendu/command.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QImageReader>
#include <QTest>

using kivra::test::Command;
using kivra::test::noise;
using kivra::test::words;

namespace {

// The last step of a JPEG's first table: 99 in the standard's table, a fifth of it at quality 90.
int coarsestStep(const QByteArray &jpeg)
{
    const int table = jpeg.indexOf("\xFF\xDB");
    constexpr int entries = 64;
    constexpr int headBytes = 5;
    return table < 0 ? 0 : uchar(jpeg[table + headBytes + entries - 1]);
}

} // namespace

class TestTargets : public QObject
{
    Q_OBJECT

private slots:
    void names_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("target");
        QTest::newRow("PNG") << "page.png"
                             << ""
                             << "page.png";
        QTest::newRow("JPEG") << "page.jpg"
                              << ""
                              << "page.jpg";
        QTest::newRow("capitals") << "IMG.JPG"
                                  << ""
                                  << "IMG.JPG";
        QTest::newRow("long suffix") << "page.jpeg"
                                     << ""
                                     << "page.jpeg";
        QTest::newRow("two suffixes") << "page.2026.jpg"
                                      << ""
                                      << "page.2026.jpg";
        QTest::newRow("TIFF") << "page.tif"
                              << ""
                              << "page.png";
        QTest::newRow("BMP") << "page.bmp"
                             << ""
                             << "page.png";
        QTest::newRow("JPEG to PNG") << "page.jpg"
                                     << "png"
                                     << "page.png";
        QTest::newRow("PNG to JPEG") << "page.png"
                                     << "jpg"
                                     << "page.jpg";
        QTest::newRow("JPEG to JPEG") << "page.jpeg"
                                      << "jpg"
                                      << "page.jpeg";
        QTest::newRow("TIFF to JPEG") << "page.tif"
                                      << "jpg"
                                      << "page.jpg";
        QTest::newRow("accents and spaces") << "été à l'école.png"
                                            << ""
                                            << "été à l'école.png";
    }

    void names()
    {
        QFETCH(QString, source);
        QFETCH(QString, format);
        QFETCH(QString, target);
        Command command;
        QStringList arguments = {QStringLiteral("-o"), QStringLiteral("propre/"),
                                 command.picture(source, noise({20, 10}, 1))};
        if (!format.isEmpty())
            arguments.prepend(QStringLiteral("--format=") + format);
        QCOMPARE(command.run(arguments), 0);
        QCOMPARE(command.filesIn(QStringLiteral("propre")), QStringList(target));
        QImageReader reader(command.path(QStringLiteral("propre/") + target));
        reader.setDecideFormatFromContent(true);
        QCOMPARE(reader.format(),
                 QByteArray(target.endsWith(QLatin1String("png")) ? "png" : "jpeg"));
        if (reader.format() == "jpeg")
            QCOMPARE(coarsestStep(command.contentOf(QStringLiteral("propre/") + target)), 20);
    }

    void nameWithoutASuffixOfAPicture()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QVERIFY(QFile::rename(command.path(QStringLiteral("page.png")),
                              command.path(QStringLiteral("page.2026"))));
        QCOMPARE(command.run(words("-o propre page.2026")), 0);
        QCOMPARE(command.filesIn(QStringLiteral("propre")),
                 QStringList(QStringLiteral("page.2026.png")));
    }

    void folderIsMade()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        QCOMPARE(command.run(words("-o un/deux/trois page.png")), 0);
        QCOMPARE(command.filesIn(QStringLiteral("un/deux/trois")).size(), 1);
    }

    void twoOfOneName_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("folders") << "-o propre a/page.png b/page.png c.png";
        QTest::newRow("formats") << "-o propre --format=png a/page.png page.jpg c.png";
        QTest::newRow("kept and changed") << "-o propre a/page.png page.bmp c.png";
        QTest::newRow("twice the same") << "-o propre c.png c.png";
        QTest::newRow("missing ones too") << "-o propre c.png rien/c.png";
    }

    void twoOfOneName()
    {
        QFETCH(QString, line);
        Command command;
        for (const char *name : {"a/page.png", "b/page.png", "page.jpg", "page.bmp", "c.png"})
            command.picture(QLatin1String(name), noise({20, 10}, 1));
        QCOMPARE(command.run(line.split(QLatin1Char(' '))), 1);
        QCOMPARE(command.complaintLines(), 1);
        QVERIFY(!QFileInfo::exists(command.path(QStringLiteral("propre"))));
    }

    // Sources stay, under whatever path and with whatever option.
    void sourcesStay_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("same folder") << "-o . page.png";
        QTest::newRow("by another path") << "-o a/.. page.png";
        QTest::newRow("one that is another's result") << "-o a b/page.png a/page.bmp a/page.png";
        QTest::newRow("link to the folder") << "-o lien page.png";
        QTest::newRow("link to the file") << "-o liens page.png";
        QTest::newRow("second name of the file") << "-o noms page.png";
        QTest::newRow("a document") << "--pdf page.png page.png";
        QTest::newRow("a document by a link") << "--pdf liens/page.png page.png";
    }

    void sourcesStay()
    {
        QFETCH(QString, line);
        Command command;
        for (const char *name : {"page.png", "a/page.png", "a/page.bmp", "b/page.png"})
            command.picture(QLatin1String(name), noise({20, 10}, 1));
        for (const char *folder : {"liens", "noms"})
            QDir(command.path()).mkdir(QLatin1String(folder));
        const QString source = command.path(QStringLiteral("page.png"));
        QVERIFY(QFile::link(QStringLiteral("."), command.path(QStringLiteral("lien"))));
        QVERIFY(QFile::link(source, command.path(QStringLiteral("liens/page.png"))));
        QCOMPARE(QProcess::execute(QStringLiteral("ln"),
                                   {source, command.path(QStringLiteral("noms/page.png"))}),
                 0);
        const QByteArray content = command.contentOf(QStringLiteral("page.png"));
        for (const QString &option : {QString(), QStringLiteral("--force ")}) {
            QCOMPARE(command.run((option + line).split(QLatin1Char(' '))), 1);
            QVERIFY(command.complaintLines() >= 1);
            QCOMPARE(command.contentOf(QStringLiteral("page.png")), content);
            QCOMPARE(command.filesIn(QStringLiteral("a")), words("page.bmp page.png"));
        }
    }

    void otherFilesStayWithoutForce()
    {
        Command command;
        const QImage picture = noise({20, 10}, 1);
        command.picture(QStringLiteral("page.png"), picture);
        command.picture(QStringLiteral("autre.png"), picture);
        command.file(QStringLiteral("propre/page.png"), "kept");
        QCOMPARE(command.run(words("-o propre page.png autre.png")), 2);
        QVERIFY(command.complaints.contains(QStringLiteral("--force")));
        QCOMPARE(command.complaintLines(), 1);
        QCOMPARE(command.contentOf(QStringLiteral("propre/page.png")), QByteArray("kept"));
        KIVRA_COMPARE_PICTURES(command.result(QStringLiteral("propre/autre.png")), picture);
        QCOMPARE(command.run(words("--force -o propre page.png")), 0);
        KIVRA_COMPARE_PICTURES(command.result(QStringLiteral("propre/page.png")), picture);
    }

    void slashesAfterTheFolderAreNotTold()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({20, 10}, 1));
        command.file(QStringLiteral("p/page.png"), "kept");
        QCOMPARE(command.run(words("-o p// page.png")), 2);
        QVERIFY2(command.complaints.contains(QStringLiteral("p/page.png")),
                 qPrintable(command.complaints));
    }
};

KIVRA_TEST(TestTargets)
#include "test_targets.moc"
