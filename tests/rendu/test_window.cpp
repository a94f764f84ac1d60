// Results are the window's, bit for bit: every entry of both menus, the coefficients, pictures from
// telephones. And what the entries are called.

#include "rendu/choices.h"
#include "tests/app/windowtest.h"
#include "tests/rendu/command.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

#include <QImageReader>
#include <QImageWriter>

using kivra::test::Command;
using kivra::test::drawn;
using kivra::test::noise;
using kivra::test::WindowTest;
namespace rendu = kivra::rendu;

namespace {

constexpr const char *modeActions[] = {
    "actionTrNormal",        "actionAutomatique",  "actionEclairage_difficile", "actionTexte",
    "actionTexte_manuscrit", "actionTableau_vert", "actionEffet_artistique",
};
constexpr const char *effectActions[] = {"actionNormal", "actionNoir_et_blanc", "actionNegatif",
                                         "actionBicolore"};

// The text in lower case, without accents, with hyphens.
QString named(const QString &text)
{
    QString name;
    for (const QChar letter : text.toLower().normalized(QString::NormalizationForm_D)) {
        if (letter.category() != QChar::Mark_NonSpacing)
            name += letter == QLatin1Char(' ') ? QLatin1Char('-') : letter;
    }
    return name;
}

// Strokes on paper in a shade, with some colour: no mode makes it plain.
QImage paper()
{
    const QImage grain = noise({123, 77}, 1);
    return drawn(grain.size(), QImage::Format_RGB32, [&](int x, int y) {
        const int paper = 90 + x + int(grain.pixel(x, y) & 15U);
        const bool isInk = (x / 3 + y / 5) % 4 == 0;
        return isInk ? qRgb(paper / 3, paper / 4, paper / 2) : qRgb(paper, paper - 9, paper - 20);
    });
}

} // namespace

class TestWindow : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        openWindow();
    }

    void entriesAreThoseOfTheMenus()
    {
        QCOMPARE(rendu::modeNames().size(), int(std::size(modeActions)));
        for (int mode = 0; mode < rendu::modeNames().size(); ++mode)
            QCOMPARE(rendu::modeNames()[mode], named(window->action(modeActions[mode])->text()));
        QCOMPARE(rendu::effectNames().size(), int(std::size(effectActions)));
        for (int effect = 0; effect < rendu::effectNames().size(); ++effect)
            QCOMPARE(rendu::effectNames()[effect],
                     named(window->action(effectActions[effect])->text()));
    }

    // The format matters only until the picture is read, before any effect: one effect is enough
    // for the others than PNG.
    void everyEntry_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<int>("effects");
        QTest::newRow("PNG") << "png" << int(rendu::effectNames().size());
        QTest::newRow("JPEG") << "jpg" << 1;
        QTest::newRow("TIFF") << "tif" << 1;
    }

    void everyEntry()
    {
        QFETCH(QString, suffix);
        QFETCH(int, effects);
        Command command;
        const QString source = command.picture(QStringLiteral("page.") + suffix, paper());
        window->open(source);
        for (int mode = 0; mode < rendu::modeNames().size(); ++mode) {
            for (int effect = 0; effect < effects; ++effect) {
                const QString folder = QStringLiteral("%1-%2").arg(mode).arg(effect);
                QCOMPARE(command.run({QStringLiteral("--effet"), rendu::modeNames()[mode],
                                      QStringLiteral("--rendu=") + rendu::effectNames()[effect],
                                      QStringLiteral("--format=png"), QStringLiteral("-o"), folder,
                                      source}),
                         0);
                KIVRA_COMPARE_PICTURES(command.result(folder + QStringLiteral("/page.png")),
                                       ofTheWindow(mode, effect));
            }
        }
    }

    void coefficients()
    {
        Command command;
        const QString source = command.picture(QStringLiteral("page.png"), paper());
        window->open(source);
        window->probe.setCoefficient(0, 172);
        window->probe.setCoefficient(1, -40);
        QCOMPARE(command.run({QStringLiteral("--effet=automatique"),
                              QStringLiteral("--contraste=172"), QStringLiteral("--lumiere=-40"),
                              QStringLiteral("--reglage=70"), QStringLiteral("-ofolder"), source}),
                 0);
        KIVRA_COMPARE_PICTURES(command.result(QStringLiteral("folder/page.png")),
                               ofTheWindow(1, 0));
    }

    void telephonesPictures_data()
    {
        QTest::addColumn<QString>("suffix");
        QTest::addColumn<int>("orientation");
        for (int orientation = 1; orientation <= 8; ++orientation) {
            QTest::addRow("JPEG %d", orientation) << "jpg" << orientation;
            QTest::addRow("TIFF %d", orientation) << "tif" << orientation;
        }
    }

    // The window does not turn files, so it is given the turned one.
    void telephonesPictures()
    {
        QFETCH(QString, suffix);
        QFETCH(int, orientation);
        Command command;
        const QString source = command.path(QStringLiteral("vue.") + suffix);
        static constexpr QImageIOHandler::Transformation transformations[] = {
            QImageIOHandler::TransformationNone,
            QImageIOHandler::TransformationMirror,
            QImageIOHandler::TransformationRotate180,
            QImageIOHandler::TransformationFlip,
            QImageIOHandler::TransformationFlipAndRotate90,
            QImageIOHandler::TransformationRotate90,
            QImageIOHandler::TransformationMirrorAndRotate90,
            QImageIOHandler::TransformationRotate270};
        QImageWriter writer(source);
        if (suffix == QLatin1String("tif"))
            writer.setTransformation(transformations[orientation - 1]);
        QVERIFY(writer.write(paper()));
        if (suffix == QLatin1String("jpg"))
            note(&command, QStringLiteral("vue.jpg"), orientation);

        QImageReader reader(source);
        QCOMPARE(reader.transformation(), transformations[orientation - 1]);
        reader.setAutoTransform(true);
        window->open(command.picture(QStringLiteral("tournee.png"), reader.read()));
        QCOMPARE(
            command.run({QStringLiteral("--effet=texte-manuscrit"), QStringLiteral("--format=png"),
                         QStringLiteral("-o"), QStringLiteral("propre"), source}),
            0);
        KIVRA_COMPARE_PICTURES(command.result(QStringLiteral("propre/vue.png")), ofTheWindow(4, 0));
    }

private:
    // Notes the orientation as a telephone does.
    static void note(Command *command, const QString &name, int orientation)
    {
        QByteArray tiff("MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 26);
        tiff[19] = char(orientation);
        const QByteArray segment = QByteArray("\xFF\xE1\0\x22"
                                              "Exif\0\0",
                                              10) +
                                   tiff;
        QByteArray file = command->contentOf(name);
        file.insert(2, segment);
        command->file(name, file);
    }

    // The window's rendering of the picture that it shows.
    QImage ofTheWindow(int mode, int effect)
    {
        QImage picture = window->probe.lastFrame();
        window->call("fProcessing", Q_ARG(QImage *, &picture), Q_ARG(int, mode),
                     Q_ARG(int, effect));
        return picture.convertToFormat(QImage::Format_RGB32);
    }
};

KIVRA_TEST(TestWindow)
#include "test_window.moc"
