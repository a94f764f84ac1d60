// "cmake --install" into a temporary folder: where things are, what they say, and that the program
// starts from there.

#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <QDir>
#include <QDirIterator>
#include <QImageReader>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <sys/stat.h>

namespace {

const QString version = QStringLiteral(KIVRA_VERSION);

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return file.readAll();
}

QString source(const char *path)
{
    return QStringLiteral(KIVRA_SOURCE_FOLDER "/") + QLatin1String(path);
}

// The texts of all elements of this name, in their order.
QStringList textsOf(const QByteArray &document, const char *element)
{
    QXmlStreamReader xml(document);
    QStringList texts;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement &&
            xml.name() == QLatin1String(element))
            texts += xml.readElementText(QXmlStreamReader::SkipChildElements);
    }
    if (xml.hasError())
        qWarning("no XML: %s", qPrintable(xml.errorString()));
    return texts;
}

} // namespace

class TestInstall : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const mode_t mask = umask(0); // removes no permission from what is installed
        install(&everything, {});
        install(&programOnly, {QStringLiteral("--component"), QStringLiteral("program")});
        umask(mask);
    }

    void everythingIsInItsPlace()
    {
        const QString data = QStringLiteral(KIVRA_DATADIR);
        const QString icons = data + QStringLiteral("/icons/hicolor/");
        QStringList wanted = {
            QStringLiteral(KIVRA_BINDIR "/kivra"),
            QStringLiteral(KIVRA_LIBDIR "/kivra/kivra"),
            decoder(),
            QStringLiteral(KIVRA_BINDIR "/kivra-cameras"),
            QStringLiteral(KIVRA_BINDIR "/kivra-rendu"),
            QStringLiteral(KIVRA_LIBDIR "/kivra/kivra-rendu"),
            QStringLiteral(KIVRA_LIBDIR "/kivra/mediaservice/libkivra_v4l2camera.so"),
            plugin(),
            data + QStringLiteral("/applications/kivra.desktop"),
            data + QStringLiteral("/bash-completion/completions/kivra-rendu"),
            data + QStringLiteral("/doc/kivra-democamera/README.md"),
            data + QStringLiteral("/doc/kivra/administration.md"),
            data + QStringLiteral("/doc/kivra/cameras.md"),
            data + QStringLiteral("/doc/kivra/environment.md"),
            icons + QStringLiteral("scalable/apps/kivra.svg"),
            data + QStringLiteral("/man/fr/man1/kivra-cameras.1.gz"),
            data + QStringLiteral("/man/fr/man1/kivra-rendu.1.gz"),
            data + QStringLiteral("/man/fr/man1/kivra.1.gz"),
            data + QStringLiteral("/man/man1/kivra-cameras.1.gz"),
            data + QStringLiteral("/man/man1/kivra-rendu.1.gz"),
            data + QStringLiteral("/man/man1/kivra.1.gz"),
            metainfo()};
        for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
            const QString icon = QStringLiteral("%1x%1/apps/kivra.png").arg(size);
            wanted += icons + icon;
            QCOMPARE(QImageReader(installed(icons + icon)).size(), QSize(size, size));
        }
        wanted.sort();
        QCOMPARE(filesIn(everything), wanted);
    }

    void demonstrationIsAComponentOfItsOwn()
    {
        QStringList wanted = filesIn(everything);
        wanted.removeOne(plugin());
        wanted.removeOne(QStringLiteral(KIVRA_DATADIR "/doc/kivra-democamera/README.md"));
        QCOMPARE(filesIn(programOnly), wanted);
    }

    // Relative links hold wherever the folders are moved to.
    void commandsAreRelativeLinks()
    {
        for (const char *name : {"/kivra", "/kivra-rendu"}) {
            const QString link = installed(QStringLiteral(KIVRA_BINDIR) + QLatin1String(name));
            QVERIFY(QFileInfo(link).isSymLink());
            const QString program =
                installed(QStringLiteral(KIVRA_LIBDIR "/kivra") + QLatin1String(name));
            QCOMPARE(QFileInfo(link).canonicalFilePath(), QFileInfo(program).canonicalFilePath());
        }
    }

    // Started by its link, the command finds the decoder beside itself.
    void renduStarts()
    {
        QTemporaryDir folder;
        QProcess command;
        command.start(installed(QStringLiteral(KIVRA_BINDIR "/kivra-rendu")),
                      {QStringLiteral("-o"), folder.path(), source("docs/pictures/page.png")});
        QVERIFY(command.waitForFinished());
        QCOMPARE(command.exitCode(), 0);
        QVERIFY(QFileInfo::exists(folder.filePath(QStringLiteral("page.png"))));
    }

    // What the completion offers, and the option before it.
    void completion_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("offered");
        QTest::newRow("options") << "kivra-rendu --fo"
                                 << "--format --force";
        QTest::newRow("modes") << "kivra-rendu --effet te"
                               << "texte texte-manuscrit";
        QTest::newRow("effects") << "kivra-rendu --rendu n"
                                 << "normal noir-et-blanc negatif";
        QTest::newRow("formats") << "kivra-rendu --format p"
                                 << "png";
    }

    void completion()
    {
        QFETCH(QString, line);
        QFETCH(QString, offered);
        const QString script = QStringLiteral(
            "PATH=$2:$PATH; . \"$1\"; read -ra COMP_WORDS <<<\"$3\"; "
            "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kivra_rendu; echo ${COMPREPLY[@]}");
        QProcess bash;
        bash.start(
            QStringLiteral("bash"),
            {QStringLiteral("-c"), script, QStringLiteral("bash"),
             installed(QStringLiteral(KIVRA_DATADIR "/bash-completion/completions/kivra-rendu")),
             installed(QStringLiteral(KIVRA_BINDIR)), line});
        QVERIFY(bash.waitForFinished());
        QCOMPARE(QString::fromUtf8(bash.readAllStandardOutput()).trimmed(), offered);
    }

    void nobodyElseMayWrite()
    {
        QDirIterator files(everything.path(), QDir::AllEntries | QDir::NoDotAndDotDot,
                           QDirIterator::Subdirectories);
        const QStringList programs = {installed(QStringLiteral(KIVRA_LIBDIR "/kivra/kivra")),
                                      installed(decoder()),
                                      installed(QStringLiteral(KIVRA_LIBDIR "/kivra/kivra-rendu")),
                                      installed(QStringLiteral(KIVRA_BINDIR "/kivra-cameras"))};
        while (files.hasNext()) {
            const QString path = files.next();
            const QFile::Permissions is = QFile::permissions(path);
            QVERIFY2(!(is & (QFile::WriteGroup | QFile::WriteOther)), qPrintable(path));
            QVERIFY2(is & QFile::ReadOther, qPrintable(path));
            if (files.fileInfo().isFile())
                QCOMPARE(bool(is & QFile::ExeOther),
                         programs.contains(files.fileInfo().canonicalFilePath()));
        }
    }

    void noFileNamesTheFoldersOfTheBuild()
    {
        if (kivra::test::isInstrumented())
            QSKIP("what instruments the code names the sources");
        for (const QString &file : filesIn(everything)) {
            const QByteArray content = contentOf(installed(file));
            QVERIFY2(!content.contains(KIVRA_SOURCE_FOLDER), qPrintable(file));
            QVERIFY2(!content.contains(KIVRA_BUILD_FOLDER), qPrintable(file));
        }
    }

    void programStartsAndFindsTheDemonstration()
    {
        QVERIFY2(startedLog(everything, "KIVRA_DEMO_SIZE").contains("KIVRA_DEMO_SIZE"),
                 "the demonstration camera did not complain");
    }

    void programStartsWithoutTheDemonstration()
    {
        const QByteArray folder = QFile::encodeName(QDir::currentPath());
        QVERIFY(startedLog(programOnly, folder).contains(folder)); // its first words
    }

    // As an administrator asks which parts of its confinement hold.
    void decoderTellsItsConfinement()
    {
        QProcess check;
        check.start(installed(decoder()), {QStringLiteral("--check")});
        QVERIFY(check.waitForFinished());
        const QByteArray words = check.readAllStandardOutput();
        QCOMPARE(words.count('\n'), 7);
        QCOMPARE(words.count(": yes") + words.count(": NO"), 7);
    }

    void desktopEntryFits()
    {
        const QString entry = QString::fromUtf8(
            contentOf(installed(QStringLiteral(KIVRA_DATADIR "/applications/kivra.desktop"))));
        const auto value = [&](const char *key) {
            const QRegularExpression line(QLatin1Char('^') +
                                              QRegularExpression::escape(QLatin1String(key)) +
                                              QStringLiteral("=(.+)$"),
                                          QRegularExpression::MultilineOption);
            return line.match(entry).captured(1);
        };
        QCOMPARE(value("Exec"), QStringLiteral("kivra %f"));
        QCOMPARE(value("Icon"), QStringLiteral("kivra"));
        const QStringList types = value("MimeType").split(QLatin1Char(';'), Qt::SkipEmptyParts);
        QCOMPARE(types.size(), 7);
        for (const QString &type : types)
            QVERIFY2(QImageReader::supportedMimeTypes().contains(type.toLatin1()),
                     qPrintable(type));
        for (const char *key : {"GenericName[fr]", "Comment[fr]", "Keywords[fr]"})
            QVERIFY2(!value(key).isEmpty(), key);
    }

    void metainfoFits()
    {
        const QByteArray document = contentOf(installed(metainfo()));
        QVERIFY(document.contains("<release version=\"" KIVRA_VERSION "\""));
        QCOMPARE(textsOf(document, "launchable"), QStringList{QStringLiteral("kivra.desktop")});
        const QStringList pictures = textsOf(document, "image");
        QVERIFY(!pictures.isEmpty());
        for (const QString &picture : pictures) {
            const QString name = picture.mid(picture.lastIndexOf(QLatin1Char('/')) + 1);
            QVERIFY2(QFile::exists(source("docs/pictures/") + name), qPrintable(name));
        }
    }

    // Each text of the catalogue's page is there in both languages.
    void metainfoIsInTwoLanguages()
    {
        QXmlStreamReader xml(contentOf(installed(metainfo())));
        QMap<QString, int> texts;
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement)
                continue;
            const QStringList translated = {QStringLiteral("summary"), QStringLiteral("p"),
                                            QStringLiteral("li"), QStringLiteral("caption")};
            if (translated.contains(xml.name()))
                ++texts[xml.attributes().value(QStringLiteral("xml:lang")).toString()];
        }
        QCOMPARE(texts.value(QString()), texts.value(QStringLiteral("fr")));
        QCOMPARE(texts.size(), 2);
    }

    void manualsTellTheVersion()
    {
        const QStringList pages = {QStringLiteral("/man1/kivra.1.gz"),
                                   QStringLiteral("/fr/man1/kivra.1.gz"),
                                   QStringLiteral("/man1/kivra-cameras.1.gz"),
                                   QStringLiteral("/fr/man1/kivra-cameras.1.gz"),
                                   QStringLiteral("/man1/kivra-rendu.1.gz"),
                                   QStringLiteral("/fr/man1/kivra-rendu.1.gz")};
        for (const QString &page : pages) {
            QProcess gzip;
            gzip.start(
                QStringLiteral("gzip"),
                {QStringLiteral("-dc"), installed(QStringLiteral(KIVRA_DATADIR "/man") + page)});
            QVERIFY(gzip.waitForFinished());
            QVERIFY(gzip.readAllStandardOutput().contains("\"Kivra " KIVRA_VERSION "\""));
        }
    }

    void bundleOfMacOsFits()
    {
        const QByteArray document = contentOf(QStringLiteral(KIVRA_OTHER_SYSTEMS "/Info.plist"));
        QVERIFY(textsOf(document, "key").contains(QLatin1String("CFBundleExecutable")));
        QCOMPARE(textsOf(document, "string").count(version), 2);
        static const QRegularExpression question(
            QStringLiteral("<key>NSCameraUsageDescription</key>\\s*<string>(.+)</string>"));
        const QString reason = question.match(QString::fromUtf8(document)).captured(1);
        QVERIFY(!reason.isEmpty());
        const QByteArray line = "\"NSCameraUsageDescription\" = \"";
        QVERIFY(contentOf(source("packaging/macos/fr.lproj/InfoPlist.strings"))
                    .contains(line + reason.toUtf8() + "\";"));
        QVERIFY(contentOf(source("packaging/macos/en.lproj/InfoPlist.strings")).contains(line));
    }

    void resourcesOfWindowsFit()
    {
        const QByteArray script = contentOf(QStringLiteral(KIVRA_OTHER_SYSTEMS "/kivra.rc"));
        const QByteArray numbers = version.toLatin1().replace('.', ',') + ",0";
        QVERIFY(script.contains("FILEVERSION " + numbers));
        QVERIFY(script.contains("\"ProductVersion\", \"" KIVRA_VERSION "\""));
    }

    // A drawing that has changed reaches them through packaging/icons.
    void packedIconsAreTheDrawnOnes()
    {
        const QByteArray windows = contentOf(source("packaging/windows/kivra.ico"));
        const QByteArray macOs = contentOf(source("packaging/macos/kivra.icns"));
        for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
            const QByteArray drawn = contentOf(source("resources/icones/kivra-%1.png").arg(size));
            QVERIFY2(windows.contains(drawn), qPrintable(QString::number(size)));
            QVERIFY2(size == 24 || size == 48 || macOs.contains(drawn),
                     qPrintable(QString::number(size)));
        }
        QCOMPARE(QImageReader(source("packaging/windows/kivra.ico")).imageCount(), 7);
        QVERIFY(!QImage(source("packaging/macos/kivra.icns")).isNull());
    }

private:
    static QString plugin()
    {
        return QStringLiteral(KIVRA_LIBDIR "/kivra/mediaservice/libkivra_democamera.so");
    }

    static QString decoder() { return QStringLiteral(KIVRA_LIBDIR "/kivra/kivra-decoder"); }

    static QString metainfo()
    {
        return QStringLiteral(KIVRA_DATADIR "/metainfo/example.orvane.kivra.metainfo.xml");
    }

    QString installed(const QString &path) const { return everything.path() + path; }

    static void install(QTemporaryDir *to, const QStringList &options)
    {
        QProcess cmake;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DESTDIR"), to->path());
        cmake.setProcessEnvironment(environment);
        cmake.start(QStringLiteral(KIVRA_CMAKE),
                    QStringList{QStringLiteral("--install"), QStringLiteral(KIVRA_BUILD_FOLDER)} +
                        options);
        if (!cmake.waitForFinished() || cmake.exitCode() != 0)
            qFatal("cmake --install fails: %s", cmake.readAllStandardError().constData());
    }

    static QStringList filesIn(const QTemporaryDir &root)
    {
        QStringList files;
        QDirIterator tree(root.path(), QDir::Files | QDir::System, QDirIterator::Subdirectories);
        while (tree.hasNext())
            files += tree.next().mid(root.path().size());
        files.sort();
        return files;
    }

    // What the installed command writes to its log until the log contains \a expected. A size that
    // the demonstration camera cannot use makes that camera complain; nothing else complains of it.
    static QByteArray startedLog(const QTemporaryDir &root, const QByteArray &expected)
    {
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("KIVRA_DEMO_SIZE"), QStringLiteral("none"));
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(root.path() + QStringLiteral(KIVRA_BINDIR "/kivra"), QStringList());
        QByteArray log;
        const bool told = QTest::qWaitFor(
            [&] {
                log += program.readAll();
                return log.contains(expected) || program.state() == QProcess::NotRunning;
            },
            60000);
        if (!told)
            qWarning("not in the log: %s", expected.constData());
        program.kill();
        program.waitForFinished();
        return log + program.readAll();
    }

    QTemporaryDir everything;
    QTemporaryDir programOnly;
};

KIVRA_TEST(TestInstall)
#include "test_install.moc"
