#include "resources/resources.h"
#include "tests/support/testmain.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <cmath>

namespace {

const QStringList actionIcons = {
    QStringLiteral("Colours_RGB"),      QStringLiteral("Delete"),
    QStringLiteral("Information"),      QStringLiteral("Play"),
    QStringLiteral("ZoomIn"),           QStringLiteral("arrow_down"),
    QStringLiteral("arrow_left"),       QStringLiteral("arrow_up"),
    QStringLiteral("brightness"),       QStringLiteral("contrast"),
    QStringLiteral("resize"),           QStringLiteral("tool-node-editor"),
    QStringLiteral("opendocument.text")};

QDir sourceFolder()
{
    return QDir(QStringLiteral(KIVRA_ICON_FOLDER));
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The share of the picture that is drawn on, 0 (fully transparent) to 1.
double coverage(const QImage &picture)
{
    const QImage pixels = picture.convertToFormat(QImage::Format_ARGB32);
    qint64 alpha = 0;
    for (int y = 0; y < pixels.height(); ++y) {
        for (int x = 0; x < pixels.width(); ++x)
            alpha += qAlpha(pixels.pixel(x, y));
    }
    return static_cast<double>(alpha) / (255.0 * pixels.width() * pixels.height());
}

/// Relative luminance as the Web Content Accessibility Guidelines 2.1 define it, 0 to 1.
double luminance(const QColor &colour)
{
    const auto linear = [](double channel) {
        return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

/// Contrast ratio by the same guidelines, 1 to 21.
double contrast(const QColor &one, const QColor &other)
{
    const double a = luminance(one) + 0.05;
    const double b = luminance(other) + 0.05;
    return a > b ? a / b : b / a;
}

} // namespace

class TestResources : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        initialiseResources();
        initialiseResources();
    }

    void everyActionIconHasBothDensities_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("pixels");
        for (const QString &name : actionIcons) {
            QTest::addRow("%s", qPrintable(name)) << name + QStringLiteral(".png") << 24;
            QTest::addRow("%s@2x", qPrintable(name)) << name + QStringLiteral("@2x.png") << 48;
        }
    }

    void everyActionIconHasBothDensities()
    {
        QFETCH(const QString, file);
        QFETCH(const int, pixels);
        const QImage picture(QStringLiteral(":/icones/") + file);
        QVERIFY2(!picture.isNull(), "missing or no picture");
        QCOMPARE(picture.size(), QSize(pixels, pixels));
        const double drawn = coverage(picture);
        QVERIFY2(drawn > 0.08 && drawn < 0.75, qPrintable(QStringLiteral("covers %1").arg(drawn)));
    }

    void theProgramsIconHasEverySize()
    {
        const QList<int> sizes = {16, 24, 32, 48, 64, 128, 256};
        const QStringList files = applicationIconFiles();
        QCOMPARE(files.size(), sizes.size());
        for (int i = 0; i < sizes.size(); ++i) {
            const QImage picture(files[i]);
            QCOMPARE(picture.size(), QSize(sizes[i], sizes[i]));
            QVERIFY2(coverage(picture) > 0.8, qPrintable(files[i]));
            QVERIFY2(qAlpha(picture.pixel(0, 0)) < 128,
                     qPrintable(files[i])); // the tile's rounded corner
        }
        QCOMPARE(QImage(QStringLiteral(":/icones/kivra.png")), QImage(files[4]));
    }

    void everyPictureHasADrawingAndEveryDrawingItsPictures()
    {
        QStringList drawings = actionIcons;
        drawings << QStringLiteral("kivra") << QStringLiteral("kivra-small");
        QStringList pictures;
        for (const QString &name : actionIcons)
            pictures << name + QStringLiteral(".png") << name + QStringLiteral("@2x.png");
        for (const QString &file : applicationIconFiles())
            pictures << file.mid(static_cast<int>(qstrlen(":/icones/")));

        QStringList drawingFiles;
        for (const QString &name : drawings)
            drawingFiles << name + QStringLiteral(".svg");
        drawingFiles.sort();
        pictures.sort();
        const auto filesLike = [](const char *pattern) {
            QStringList files = sourceFolder().entryList({QLatin1String(pattern)}, QDir::Files);
            files.sort();
            return files;
        };
        QCOMPARE(filesLike("*.svg"), drawingFiles);
        QCOMPARE(filesLike("*.png"), pictures);

        QStringList compiledIn = QDir(QStringLiteral(":/icones")).entryList(QDir::Files);
        compiledIn.removeOne(QStringLiteral("kivra.png")); // a second name of one of the sizes
        compiledIn.sort();
        QCOMPARE(compiledIn, pictures);
        for (const QString &file : compiledIn)
            QCOMPARE(contentOf(QStringLiteral(":/icones/") + file),
                     contentOf(sourceFolder().filePath(file)));
    }

    void everyColourHoldsOnLightAndDarkToolBars_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString &name : actionIcons)
            QTest::addRow("%s", qPrintable(name)) << name;
    }

    void everyColourHoldsOnLightAndDarkToolBars()
    {
        QFETCH(const QString, name);
        const QString drawing =
            QString::fromUtf8(contentOf(sourceFolder().filePath(name + QStringLiteral(".svg"))));
        static const QRegularExpression colour(QStringLiteral("#[0-9a-f]{6}\\b"));
        auto found = colour.globalMatch(drawing);
        QVERIFY(found.hasNext());
        while (found.hasNext()) {
            const QString shade = found.next().captured();
            for (const char *toolBar : {"#f0f0f0", "#2d2d2d"}) {
                const double ratio = contrast(QColor(shade), QColor(QLatin1String(toolBar)));
                QVERIFY2(ratio >= 3.0, qPrintable(QStringLiteral("%1 on %2 has only %3")
                                                      .arg(shade, QLatin1String(toolBar))
                                                      .arg(ratio)));
            }
        }
    }
};

KIVRA_TEST(TestResources)

#include "test_resources.moc"
