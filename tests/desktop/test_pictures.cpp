// Stored pictures in a real window: stepping, storing, opening at the start, and the clipboard as
// another program sees it.

#include "tests/desktop/desktop.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QBuffer>
#include <QDate>
#include <QDir>
#include <QPainter>
#include <QSettings>

using kivra::test::Desktop;
using kivra::test::extentOf;
using kivra::test::filesBelow;
using kivra::test::patienceMs;
using kivra::test::Sandbox;

namespace {

const QColor liveColour(230, 40, 40);
const QColor markers[] = {QColor(20, 200, 60), QColor(220, 200, 40), QColor(40, 60, 220),
                          QColor(200, 40, 200)};

QString documents()
{
    return Sandbox::instance().documents();
}

// White, with a square that tells one picture from another.
QImage marked(const QColor &marker)
{
    QImage picture(320, 200, QImage::Format_RGB32);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    painter.fillRect(100, 50, 60, 60, marker);
    return picture;
}

QString stored(const QString &name, const QColor &marker)
{
    QString path = documents() + QStringLiteral("/TablinoQt/tableaux/") + name;
    QDir().mkpath(QFileInfo(path).path());
    if (!marked(marker).save(path, "png"))
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

// What another program gets from the clipboard in this format.
QByteArray clipboard(const QString &target)
{
    return outputOf(QStringLiteral("xclip"),
                    {QStringLiteral("-selection"), QStringLiteral("clipboard"),
                     QStringLiteral("-out"), QStringLiteral("-target"), target});
}

QStringList picturesOfThisMonth()
{
    return filesBelow(documents() + QStringLiteral("/TablinoQt/tableaux/") +
                      QDate::currentDate().toString(QStringLiteral("yyyy-MM")));
}

// The greatest difference of a channel between the same places of two pictures.
int greatestDifference(const QImage &one, const QImage &other)
{
    int greatest = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            greatest = std::max({greatest, std::abs(qRed(a) - qRed(b)),
                                 std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
        }
    }
    return greatest;
}

} // namespace

class TestPictures : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QDir folder(Sandbox::instance().home() + QStringLiteral("/frames"));
        folder.mkpath(QStringLiteral("."));
        marked(liveColour).save(folder.filePath(QStringLiteral("frame.png")));
        qputenv("KIVRA_DEMO_FOLDER", QFile::encodeName(folder.path()));
        qputenv("KIVRA_DEMO_SIZE", "320x200");
        qputenv("KIVRA_DEMO_RATE", "10");
        desktop = std::make_unique<Desktop>();
    }

    void init() { Sandbox::instance().reset(); }

    void cleanup()
    {
        desktop->keepScreenshot(QStringLiteral("pictures-") +
                                QString::fromLatin1(QTest::currentTestFunction()));
        QCOMPARE(desktop->close(), 0);
    }

    void cleanupTestCase() { desktop.reset(); }

    void spaceAndBackspaceStep()
    {
        stored(QStringLiteral("2024-11/im241105101500.jpg"), markers[0]);
        stored(QStringLiteral("2024-11/im241106101500.jpg"), markers[1]);
        stored(QStringLiteral("2025-01/im250107101500.jpg"), markers[2]);
        stored(QStringLiteral("2025-01/im250108101500.png"), markers[3]);
        startLive();
        desktop->key(QStringLiteral("space"));
        QTRY_VERIFY_WITH_TIMEOUT(shows(markers[3]), patienceMs);
        for (const int number : {2, 1, 0, 0}) {
            desktop->key(QStringLiteral("BackSpace"));
            QTRY_VERIFY_WITH_TIMEOUT(shows(markers[number]), patienceMs);
        }
        for (const int number : {1, 2, 3, 3}) {
            desktop->key(QStringLiteral("space"));
            QTRY_VERIFY_WITH_TIMEOUT(shows(markers[number]), patienceMs);
        }
    }

    // The file has what is on the screen, as JPEG. That keeps flat areas to a few steps of 255, but
    // rounds the colours of four pixels to one. So the pixels are compared only where nothing
    // changes within eight of them.
    void doubleClickStoresWhatIsOnTheScreen()
    {
        QSettings settings(QStringLiteral("Orvane"), QStringLiteral("KivraQt"));
        settings.setValue(QStringLiteral("preferences/rawStore"), false);
        settings.sync();
        startLive();
        const QRect marker = extentOf(desktop->screen(), liveColour);
        desktop->doubleClick(marker.center());
        QTRY_COMPARE_WITH_TIMEOUT(picturesOfThisMonth().size(), 1, patienceMs);
        QImage file;
        QTRY_VERIFY_WITH_TIMEOUT(file.load(picturesOfThisMonth().constFirst()), patienceMs);
        // The first press has shown the tool bar: the view is that much smaller and stays so.
        const QImage screen = desktop->screen();
        const QRect onScreen = extentOf(screen, liveColour);
        QCOMPARE(onScreen.size(), QSize(60, 60));
        const QRect inFile = flatArea(file);
        QVERIFY2(!inFile.isEmpty(), "no marker in the file");
        QVERIFY(qAbs(inFile.width() - 60) <= 2 && qAbs(inFile.height() - 60) <= 2);
        const int inset = 12;
        const QImage flat = file.copy(inFile.adjusted(inset, inset, -inset, -inset));
        const QImage shown =
            screen.copy(QRect(onScreen.topLeft() + QPoint(inset, inset), flat.size()));
        QVERIFY(greatestDifference(flat, shown) <= 4);
        const QPoint beside(-40, 30); // the white part of the picture
        const QSize sample(20, 20);
        QVERIFY(greatestDifference(file.copy(QRect(inFile.topLeft() + beside, sample)),
                                   screen.copy(QRect(onScreen.topLeft() + beside, sample))) <= 4);
    }

    void clipboardServesOtherPrograms()
    {
        startLive();
        desktop->key(QStringLiteral("ctrl+s"));
        QTRY_VERIFY_WITH_TIMEOUT(clipboard(QStringLiteral("TARGETS")).contains("image/png"),
                                 patienceMs);
        const QList<QByteArray> targets = clipboard(QStringLiteral("TARGETS")).split('\n');
        for (const char *target : {"image/png", "image/bmp", "image/jpeg", "image/tiff"})
            QVERIFY2(targets.contains(target), target);
        for (const char *format : {"png", "bmp", "jpeg"}) {
            const QByteArray content = clipboard(QStringLiteral("image/") + QLatin1String(format));
            const QImage picture = QImage::fromData(content, format);
            QVERIFY2(!picture.isNull(), format);
            QCOMPARE(flatArea(picture).isEmpty(), false);
        }
        // It goes on serving them while the program does other things.
        desktop->key(QStringLiteral("F6"));
        const QImage again = QImage::fromData(clipboard(QStringLiteral("image/png")), "png");
        QCOMPARE(extentOf(again, liveColour).size(), QSize(60, 60));
    }

    void pictureOfTheCommandLine()
    {
        const QString first = stored(QStringLiteral("premier été.png"), markers[0]);
        const QString second = stored(QStringLiteral("second.png"), markers[1]);
        QVERIFY(desktop->start({first, second}));
        QTRY_VERIFY_WITH_TIMEOUT(shows(markers[0]), patienceMs);
        QVERIFY(!shows(markers[1]));
        QVERIFY(!shows(liveColour));
    }

    void emptyArgumentShowsTheLivePicture()
    {
        QVERIFY(desktop->start({QString()}));
        QTRY_VERIFY_WITH_TIMEOUT(shows(liveColour), patienceMs);
    }

private:
    void startLive()
    {
        QVERIFY(desktop->start());
        QTRY_VERIFY_WITH_TIMEOUT(shows(liveColour), patienceMs);
    }

    bool shows(const QColor &marker) const
    {
        return !extentOf(desktop->screen(), marker).isEmpty();
    }

    // Where the marker is in a picture that compression has changed a little.
    static QRect flatArea(const QImage &picture)
    {
        QRect area;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                const QRgb pixel = picture.pixel(x, y);
                if (qRed(pixel) > 180 && qGreen(pixel) < 110 && qBlue(pixel) < 110)
                    area |= QRect(x, y, 1, 1);
            }
        }
        return area;
    }

    std::unique_ptr<Desktop> desktop;
};

KIVRA_TEST(TestPictures)
#include "test_pictures.moc"
