// Stills of the demonstration camera, chosen and taken by the window's own commands: the file on
// disk is what the dialog said.

#include "tests/app/windowtest.h"
#include "tests/support/patience.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <QComboBox>
#include <QDialog>
#include <QImageReader>
#include <QSlider>

using kivra::test::patienceMs;
using kivra::test::Sandbox;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

QString onlyStoredFile()
{
    const QStringList files = Sandbox::instance().storedFiles();
    return files.size() == 1 ? files.constFirst() : QString();
}

} // namespace

class TestRawCapture : public WindowTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCoreApplication::addLibraryPath(kivra::test::besideTheProgram());
        qputenv("KIVRA_DEMO_SIZE", "320x180");
    }

    void init()
    {
        begin();
        device().setDevices({}); // only the demonstration camera is left
        window = std::make_unique<Window>();
        QTRY_VERIFY_WITH_TIMEOUT(window->probe.imageCapture()->isReadyForCapture(), patienceMs);
    }

    void sizeAndFormat_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("resolution");
        QTest::addColumn<QByteArray>("writtenFormat");
        QTest::addColumn<QSize>("writtenSize");
        const QString jpeg = QStringLiteral("jpeg: Image JPEG (compacte)");
        const QString png = QStringLiteral("png: Image PNG (sans perte)");
        const QString anyFormat = QStringLiteral("Default image format");
        const QString anySize = QStringLiteral("Default Resolution");
        QTest::newRow("as the camera likes")
            << anyFormat << anySize << QByteArray("jpeg") << QSize(320, 180);
        QTest::newRow("size alone")
            << anyFormat << QStringLiteral("1280x720") << QByteArray("jpeg") << QSize(1280, 720);
        QTest::newRow("format alone") << png << anySize << QByteArray("png") << QSize(320, 180);
        QTest::newRow("both") << jpeg << QStringLiteral("1920x1080") << QByteArray("jpeg")
                              << QSize(1920, 1080);
        QTest::newRow("both, without loss")
            << png << QStringLiteral("640x360") << QByteArray("png") << QSize(640, 360);
    }

    void sizeAndFormat()
    {
        QFETCH(QString, format);
        QFETCH(QString, resolution);
        QFETCH(QByteArray, writtenFormat);
        QFETCH(QSize, writtenSize);
        choose(format, resolution, QMultimedia::NormalQuality);
        const QString path = takePicture();
        QVERIFY(path.endsWith(QLatin1String(".jpg")));
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        QCOMPARE(reader.format(), writtenFormat);
        QCOMPARE(reader.read().size(), writtenSize);
    }

    void qualityOrdersTheSizes()
    {
        QList<qint64> bytes;
        for (int quality = QMultimedia::VeryLowQuality; quality <= QMultimedia::VeryHighQuality;
             ++quality) {
            choose(QStringLiteral("jpeg: Image JPEG (compacte)"), QStringLiteral("640x360"),
                   quality);
            const QString path = takePicture();
            bytes += QFile(path).size();
            QVERIFY(QFile::remove(path));
        }
        for (int step = 1; step < bytes.size(); ++step)
            QVERIFY2(bytes.at(step - 1) < bytes.at(step), qPrintable(QString::number(step)));
    }

private:
    void choose(const QString &format, const QString &resolution, int quality)
    {
        boxes->expect(QStringLiteral("Dialog"), [&](QDialog *dialog) {
            const auto select = [dialog](const char *name, const QString &text) {
                auto *const box = dialog->findChild<QComboBox *>(QLatin1String(name));
                box->setCurrentText(text);
                QCOMPARE(box->currentText(), text);
            };
            select("imageCodecBox", format);
            select("imageResolutionBox", resolution);
            dialog->findChild<QSlider *>(QStringLiteral("imageQualitySlider"))->setValue(quality);
            QTest::keyClick(dialog, Qt::Key_Return);
        });
        window->trigger("actionImageSettings");
    }

    // Path of the picture that the window's command stored, the only one there.
    QString takePicture()
    {
        window->trigger("actionEnregistrer_image");
        const bool stored = QTest::qWaitFor(
            [&] {
                return !onlyStoredFile().isEmpty() &&
                       window->probe.imageCapture()->isReadyForCapture();
            },
            patienceMs);
        return stored ? onlyStoredFile() : QString();
    }
};

KIVRA_TEST(TestRawCapture)
#include "test_rawcapture.moc"
