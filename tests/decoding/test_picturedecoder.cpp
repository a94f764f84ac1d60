// Opening picture files: good ones of every format, and files made to do harm.

#include "decoding/picturedecoder.h"
#include "tests/decoding/faultyformat.h"
#include "tests/support/files.h"
#include "tests/support/memory.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QImageReader>
#include <QImageWriter>
#include <QSignalSpy>
#include <sys/stat.h>
#include <sys/wait.h>

using kivra::DecodingLimits;
using kivra::PictureDecoder;
using kivra::test::faultyPicture;
using kivra::test::gradient;
using kivra::test::pathOf;
using kivra::test::Sandbox;
using kivra::test::written;

namespace {

// Added to what a picture itself takes: the start of the decoder program counts.
constexpr qint64 startMs = 400;

QDir corpus()
{
    return QDir(QStringLiteral(KIVRA_CORPUS));
}

bool hasChildren()
{
    return waitpid(-1, nullptr, WNOHANG) >= 0;
}

} // namespace

class TestPictureDecoder : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Sandbox::instance().reset();
        decoder = std::make_unique<PictureDecoder>();
    }

    void cleanup()
    {
        decoder.reset();
        QTRY_VERIFY(!hasChildren());
    }

    void formats_data()
    {
        QTest::addColumn<QByteArray>("format");
        for (const QByteArray &format : QImageWriter::supportedImageFormats())
            QTest::addRow("%s", format.constData()) << format;
    }

    // Pictures are as Qt reads them in this process, in the window's format.
    void formats()
    {
        QFETCH(QByteArray, format);
        const QString path = pathOf(QStringLiteral("image.") + QString::fromLatin1(format));
        for (const QImage::Format pixels :
             {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_Grayscale8,
              QImage::Format_Indexed8, QImage::Format_Mono, QImage::Format_RGBA64}) {
            QImage picture = gradient({31, 70}).convertToFormat(pixels);
            if (pixels == QImage::Format_ARGB32)
                picture.setPixel(0, 3, 0x20406080);
            QVERIFY(picture.save(path, format.constData()));
            const QImage read = loadPicture(path);
            QCOMPARE(read.format(), QImage::Format_RGB32);
            KIVRA_COMPARE_PICTURES(read, QImage(path).convertToFormat(QImage::Format_RGB32));
        }
    }

    // Qt's readers or ours convert the pixels of these.
    void largePictures_data()
    {
        const QSize page(2480, 400);
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QImage::Format>("pixels");
        QTest::addColumn<QSize>("size");
        QTest::newRow("JPEG") << QByteArray("jpg") << QImage::Format_RGB32 << QSize(2479, 431);
        QTest::newRow("grey JPEG") << QByteArray("jpg") << QImage::Format_Grayscale8 << page;
        QTest::newRow("grey PNG") << QByteArray("png") << QImage::Format_Grayscale8 << page;
        QTest::newRow("deep grey PNG") << QByteArray("png") << QImage::Format_Grayscale16 << page;
        QTest::newRow("deep PNG") << QByteArray("png") << QImage::Format_RGBA64 << page;
        QTest::newRow("deep TIFF") << QByteArray("tiff") << QImage::Format_RGBX64 << page;
        QTest::newRow("icon") << QByteArray("ico") << QImage::Format_ARGB32 << QSize(250, 250);
    }

    void largePictures()
    {
        QFETCH(QByteArray, format);
        QFETCH(QImage::Format, pixels);
        QFETCH(QSize, size);
        const QString path = pathOf(QStringLiteral("picture"));
        QVERIFY(gradient(size).convertToFormat(pixels).save(path, format.constData()));
        KIVRA_COMPARE_PICTURES(loadPicture(path),
                               QImage(path).convertToFormat(QImage::Format_RGB32));
    }

    // Formats that Qt reads and does not write, a red picture each.
    void formatsThatOthersWrite_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("svg") << QByteArray("<svg xmlns='http://www.w3.org/2000/svg' width='3' "
                                           "height='2'><rect width='3' height='2' "
                                           "fill='#ff0000'/></svg>");
        QTest::newRow("gif") << QByteArray::fromHex(
            "47494638396103000200800000ff0000ffffff2c00000000030002000002040408102800"
            "3b");
        QTest::newRow("svgz") << QByteArray::fromHex(
            "1f8b08000000000002036dcc3d0e80200c40e1ab903874a30436035c468192e04fa0b11e"
            "5fdd9ddfcbe7c755d4bdb57d0420e6734614112d4e1fbda035c6e07b8092ba320570a028"
            "d5421cc042f43d2dfc9b54aead0598727e050318fdc7c4077e547f2b6e000000");
        QTest::newRow("mng") << QByteArray::fromHex(
            "8a4d4e470d0a1a0a0000001c4d4844520000000300000002000000000000000000000000"
            "00000000000000010e1647dc0000000d49484452000000030000000208020000001216f1"
            "4d000000104944415478da63f8cfc000410c70160041d205fb6ff116c70000000049454e"
            "44ae426082000000004d454e442120f7d5");
        QTest::newRow("tga") << QByteArray::fromHex("000002000000000000000000030002001820") +
                                    QByteArray::fromHex("0000ff").repeated(6) + QByteArray(8, 0) +
                                    QByteArray("TRUEVISION-XFILE.", 18);
    }

    void formatsThatOthersWrite()
    {
        QFETCH(QByteArray, content);
        QImage red(3, 2, QImage::Format_RGB32);
        red.fill(0xffff0000);
        const QString path =
            written(QStringLiteral("a.") + QLatin1String(QTest::currentDataTag()), content);
        KIVRA_COMPARE_PICTURES(loadPicture(path), red);
    }

    // None of the formats that Qt knows here is left out.
    void allFormatsAreTried()
    {
        QList<QByteArray> tried = QImageWriter::supportedImageFormats();
        tried += {"svg", "gif", "svgz", "mng", "tga"};
        for (const QByteArray &format : QImageReader::supportedImageFormats())
            QVERIFY2(tried.contains(format) || format == "faulty", format.constData());
    }

    // The confined decoder still finds fonts.
    void vectorPictureWithText()
    {
        const QByteArray svg =
            "<svg xmlns='http://www.w3.org/2000/svg' width='120' height='40'>"
            "<rect width='120' height='40' fill='#ffffff'/>"
            "<text x='5' y='28' font-family='sans-serif' font-size='24'>été</text>"
            "<text x='60' y='28' font-family='monospace' font-size='13'>x</text></svg>";
        const QString path = written(QStringLiteral("a.svg"), svg);
        const QImage read = loadPicture(path);
        KIVRA_COMPARE_PICTURES(read, QImage(path).convertToFormat(QImage::Format_RGB32));
        const auto isInked = [&](const QRect &part) {
            QImage blank(part.size(), QImage::Format_RGB32);
            blank.fill(Qt::white);
            return read.copy(part) != blank;
        };
        QVERIFY(isInked({0, 0, 55, 40}));
        QVERIFY(isInked({58, 0, 60, 40}));
    }

    // The account's configuration of fonts, in its usual place and where a variable says.
    void configuredFonts_data()
    {
        QTest::addColumn<bool>("isByVariable");
        QTest::newRow("usual place") << false;
        QTest::newRow("variable") << true;
    }

    void configuredFonts()
    {
        QFETCH(bool, isByVariable);
        const QByteArray systems =
            isByVariable ? "<include>/etc/fonts/fonts.conf</include>" : QByteArray();
        const QString path = written(
            QStringLiteral("letters.conf"),
            "<?xml version='1.0'?><!DOCTYPE fontconfig SYSTEM 'fonts.dtd'><fontconfig>" + systems +
                "<match><test name='family'><string>Tableau</string></test>"
                "<edit name='family' mode='assign' binding='strong'>"
                "<string>DejaVu Sans Mono</string></edit></match></fontconfig>");
        const QString folder = Sandbox::instance().home() + QStringLiteral("/config/fontconfig");
        if (isByVariable) {
            qputenv("FONTCONFIG_FILE", QFile::encodeName(path));
        } else {
            QVERIFY(QDir().mkpath(folder));
            QVERIFY(QFile::copy(path, folder + QStringLiteral("/fonts.conf")));
        }
        const QImage configured = wordIn("Tableau");
        const QImage fixed = wordIn("DejaVu Sans Mono");
        const QImage other = wordIn("DejaVu Sans");
        qunsetenv("FONTCONFIG_FILE");
        QDir(folder).removeRecursively();
        KIVRA_COMPARE_PICTURES(configured, fixed);
        QVERIFY(configured != other);
    }

    void knownSizes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("size");
        const std::pair<const char *, QSize> known[] = {{"png-named.jpg", {24, 18}},
                                                        {"jpeg-named.png", {24, 18}},
                                                        {"svg-named.gif", {20, 10}},
                                                        {"largest.png", {16384, 8192}},
                                                        {"strip.png", {1000000, 1}},
                                                        {"one-row-too-large.png", {}},
                                                        {"empty", {}},
                                                        {"text.jpg", {}},
                                                        {"header-only.png", {}},
                                                        {"truncated.webp", {}}};
        for (const auto &[name, size] : known)
            QTest::newRow(name) << QString::fromLatin1(name) << size;
    }

    void knownSizes()
    {
        QFETCH(QString, name);
        QFETCH(QSize, size);
        QCOMPARE(loadPicture(corpus().filePath(name)).size(), size.isValid() ? size : QSize(0, 0));
    }

    void faultyReader_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isPicture");
        QTest::newRow("well") << faultyPicture("well") << true;
        QTest::newRow("crash") << faultyPicture("crash") << false;
        QTest::newRow("wait") << faultyPicture("wait") << false;
        QTest::newRow("work") << faultyPicture("work") << false;
        // Less than the system's limit, which counts whole seconds.
        QTest::newRow("too much work") << faultyPicture("work 900") << false;
        QTest::newRow("leave") << faultyPicture("leave") << false;
        QTest::newRow("much memory") << faultyPicture("memory 1900") << true;
        QTest::newRow("too much memory") << faultyPicture("memory 2100") << false;
    }

    void faultyReader()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isPicture);
        decoder = impatient(startMs);
        QCOMPARE(!loadPicture(written(QStringLiteral("a"), content)).isNull(), isPicture);
        // And the next file is read as ever.
        const QString path = pathOf(QStringLiteral("good.png"));
        QVERIFY(gradient({20, 30}).save(path));
        KIVRA_COMPARE_PICTURES(loadPicture(path), gradient({20, 30}));
    }

    // Each picture has the whole time, however much earlier pictures have used.
    void limitIsThatOfOnePicture()
    {
        decoder = impatient(startMs + 300);
        const QString path = written(QStringLiteral("a"), faultyPicture("work 250"));
        for (int number = 0; number < 4; ++number)
            QVERIFY(!loadPicture(path).isNull());
    }

    void twoAtATime()
    {
        PictureDecoder other;
        const QString path = pathOf(QStringLiteral("good.png"));
        QVERIFY(gradient({20, 30}).save(path));
        QSignalSpy opened(decoder.get(), &PictureDecoder::finished);
        decoder->open(written(QStringLiteral("a"), faultyPicture("wait")));
        KIVRA_COMPARE_PICTURES(other.load(path), gradient({20, 30}));
        QVERIFY(decoder->isBusy());
        decoder->cancel();
        QVERIFY(!decoder->isBusy());
        KIVRA_COMPARE_PICTURES(loadPicture(path), gradient({20, 30}));
        QCOMPARE(opened.count(), 1);
    }

    // The event loop goes on meanwhile, and the last request counts.
    void requestReplacesTheOneBefore()
    {
        const QString path = pathOf(QStringLiteral("good.png"));
        QVERIFY(gradient({20, 30}).save(path));
        QSignalSpy opened(decoder.get(), &PictureDecoder::finished);
        decoder->open(written(QStringLiteral("a"), faultyPicture("work")));
        QCoreApplication::processEvents();
        decoder->open(pathOf(QStringLiteral("nothing.png")));
        decoder->open(path);
        QCOMPARE(opened.count(), 0);
        QTRY_COMPARE(opened.count(), 1);
        KIVRA_COMPARE_PICTURES(opened.constFirst().constFirst().value<QImage>(),
                               gradient({20, 30}));
        QVERIFY(!decoder->isBusy());
    }

    void givenUpAtOnce()
    {
        const QString path = pathOf(QStringLiteral("good.png"));
        QVERIFY(gradient({20, 30}).save(path));
        QSignalSpy opened(decoder.get(), &PictureDecoder::finished);
        decoder->prepare();
        decoder->open(path);
        decoder->cancel();
        QVERIFY(!decoder->isBusy());
        KIVRA_COMPARE_PICTURES(loadPicture(path), gradient({20, 30}));
        QCOMPARE(opened.count(), 1);
    }

    void failureIsToldLater()
    {
        QSignalSpy opened(decoder.get(), &PictureDecoder::finished);
        decoder->open(pathOf(QStringLiteral("nothing.png")));
        QCOMPARE(opened.count(), 0);
        QTRY_COMPARE(opened.count(), 1);
        QVERIFY(opened.constFirst().constFirst().value<QImage>().isNull());
    }

    void programThatIsMissing()
    {
        const QString path = pathOf(QStringLiteral("good.png"));
        QVERIFY(gradient({20, 30}).save(path));
        PictureDecoder lost(pathOf(QStringLiteral("no program")), {});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cannot be opened")));
        QVERIFY(lost.load(path).isNull());
        PictureDecoder dumb(QStringLiteral("/bin/true"), {});
        QVERIFY(dumb.load(path).isNull());
        PictureDecoder mute(QStringLiteral("/bin/cat"), {});
        QVERIFY(mute.load(path).isNull());
    }

    void fewerPixelsAllowed()
    {
        const QString path = pathOf(QStringLiteral("good.png"));
        QVERIFY(gradient({20, 30}).save(path));
        QSignalSpy opened(decoder.get(), &PictureDecoder::finished);
        decoder->open(path, 599);
        decoder->wait();
        decoder->open(path, 599);
        decoder->allow(600);
        decoder->wait();
        QCOMPARE(opened.count(), 2);
        QVERIFY(opened.at(0).constFirst().value<QImage>().isNull());
        QVERIFY(!opened.at(1).constFirst().value<QImage>().isNull());
    }

    // A size that the header does not tell, or tells wrongly, comes after the decoding.
    void sizeThatIsToldLate()
    {
        QCOMPARE(loadPicture(written(QStringLiteral("a"), faultyPicture("size 70 50"))).size(),
                 QSize(70, 50));
        QCOMPARE(loadPicture(written(QStringLiteral("b"), faultyPicture("size 16384 8192"))).size(),
                 QSize(16384, 8192));
        QVERIFY(
            loadPicture(written(QStringLiteral("c"), faultyPicture("size 16384 8193"))).isNull());
    }

    void fileStateTellsChanges()
    {
        const QString path = pathOf(QStringLiteral("good.png"));
        QVERIFY(gradient({20, 30}).save(path));
        QVERIFY(!loadPicture(path).isNull());
        const kivra::FileState before = decoder->fileState();
        QVERIFY(before.isFile());
        QVERIFY(before == kivra::stateOf(path));
        QVERIFY(gradient({200, 300}).save(path));
        QVERIFY(!(before == kivra::stateOf(path)));
        QVERIFY(!kivra::stateOf(Sandbox::instance().documents()).isFile());
    }

    void noRegularFile()
    {
        QVERIFY(loadPicture(QString()).isNull());
        QVERIFY(loadPicture(pathOf(QStringLiteral("nothing.png"))).isNull());
        QVERIFY(loadPicture(Sandbox::instance().documents()).isNull());
        for (const char *device : {"/dev/zero", "/dev/null", "/dev/tty", "/proc/self/mem"})
            QVERIFY(loadPicture(QLatin1String(device)).isNull());
        const QString pipe = pathOf(QStringLiteral("pipe.png"));
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(loadPicture(pipe).isNull());
        const QString large = pathOf(QStringLiteral("large.bmp"));
        QVERIFY(gradient({20, 30}).save(large));
        QVERIFY(QFile::resize(large, kivra::mostFileBytes));
        QVERIFY(!loadPicture(large).isNull());
        QVERIFY(QFile::resize(large, kivra::mostFileBytes + 1));
        QVERIFY(loadPicture(large).isNull());
    }

    // The reader of vector pictures opens the files that they refer to, and would block on a pipe
    // for ever.
    void pictureThatRefersToAPipe()
    {
        const QString pipe = pathOf(QStringLiteral("pipe"));
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const QByteArray svg = "<svg xmlns='http://www.w3.org/2000/svg' "
                               "xmlns:xlink='http://www.w3.org/1999/xlink' width='30' height='20'>"
                               "<image width='9' height='9' xlink:href='" +
                               QFile::encodeName(pipe) + "'/></svg>";
        loadPicture(written(QStringLiteral("a.svg"), svg));
    }

    // A film chosen by mistake: its first bytes tell, and the rest is not read.
    void film()
    {
        QFile film(pathOf(QStringLiteral("film.jpg")));
        QVERIFY(film.open(QIODevice::WriteOnly));
        QVERIFY(film.resize(kivra::mostFileBytes));
        const qint64 before = kivra::test::residentMemory();
        QVERIFY(loadPicture(film.fileName()).isNull());
        QVERIFY(kivra::test::residentMemory() - before < kivra::mostFileBytes / 16);
    }

    void links()
    {
        const QString path = pathOf(QStringLiteral("image.png"));
        QVERIFY(gradient({20, 30}).save(path));
        QVERIFY(QFile::link(path, pathOf(QStringLiteral("link"))));
        KIVRA_COMPARE_PICTURES(loadPicture(pathOf(QStringLiteral("link"))), gradient({20, 30}));
        QVERIFY(QFile::remove(path));
        QVERIFY(loadPicture(pathOf(QStringLiteral("link"))).isNull());
    }

    void nameWithoutSuffix()
    {
        QVERIFY(gradient({20, 30}).save(pathOf(QStringLiteral("été au lac.png"))));
        KIVRA_COMPARE_PICTURES(loadPicture(pathOf(QStringLiteral("été au lac"))),
                               gradient({20, 30}));
        QVERIFY(loadPicture(pathOf(QStringLiteral("été au lac.jpg"))).isNull());
        QVERIFY(gradient({30, 20}).save(pathOf(QStringLiteral("leçon 2.1.png"))));
        KIVRA_COMPARE_PICTURES(loadPicture(pathOf(QStringLiteral("leçon 2.1"))),
                               gradient({30, 20}));
    }

    void noNameIsNoPicture()
    {
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(Sandbox::instance().documents()));
        QVERIFY(gradient({20, 30}).save(QStringLiteral(".png")));
        const QImage picture = loadPicture(QString());
        QVERIFY(QDir::setCurrent(previous));
        QVERIFY(picture.isNull());
    }

    void rowsThatAFileLacksAreBlack()
    {
        const QString path = pathOf(QStringLiteral("image.bmp"));
        QImage white(40, 40, QImage::Format_RGB32);
        white.fill(Qt::white);
        QVERIFY(white.save(path));
        KIVRA_COMPARE_PICTURES(loadPicture(path), white); // leaves its pixels in the memory
        QFile file(path);
        QVERIFY(file.resize(54 + 40 * 120 / 2));
        white.detach();
        for (int y = 0; y < 20; ++y)
            std::fill_n(reinterpret_cast<QRgb *>(white.scanLine(y)), 40, 0xff000000); // from below
        KIVRA_COMPARE_PICTURES(loadPicture(path), white);
    }

    // The memory is used again, but not while a picture is in it.
    void picturesKeepTheirPixels()
    {
        QList<QImage> pictures;
        for (int number = 0; number < 8; ++number) {
            const QString path = pathOf(QString::number(number) + QLatin1String(".png"));
            QVERIFY(gradient({50 + number * 40, 60}).save(path));
            pictures += loadPicture(path);
        }
        for (int number = 0; number < 8; ++number)
            KIVRA_COMPARE_PICTURES(pictures.at(number), gradient({50 + number * 40, 60}));
    }

    // More pictures than one decoder program decodes.
    void manyPictures()
    {
        const QString path = pathOf(QStringLiteral("image.png"));
        QVERIFY(gradient({200, 300}).save(path));
        const auto openFiles = [] {
            return QDir(QStringLiteral("/proc/self/fd"))
                .entryList(QDir::Files | QDir::System)
                .size();
        };
        QVERIFY(!loadPicture(path).isNull());
        const int before = openFiles();
        for (int i = 0; i < 450; ++i)
            QVERIFY(!loadPicture(path).isNull());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(openFiles(), before);
    }

private:
    QImage loadPicture(const QString &path) const { return decoder->load(path); }

    QImage wordIn(const QByteArray &font) const
    {
        return loadPicture(
            written(QStringLiteral("a.svg"),
                    "<svg xmlns='http://www.w3.org/2000/svg' width='120' height='40'>"
                    "<rect width='120' height='40' fill='#ffffff'/>"
                    "<text x='5' y='28' font-size='24' font-family='" +
                        font + "'>mille</text></svg>"));
    }

    static std::unique_ptr<PictureDecoder> impatient(qint64 processorMs)
    {
        constexpr qint64 stillMs = 1500; // a busy machine makes it wait, too
        return std::make_unique<PictureDecoder>(PictureDecoder::installedProgram(),
                                                DecodingLimits{processorMs, stillMs});
    }

    std::unique_ptr<PictureDecoder> decoder;
};

KIVRA_TEST(TestPictureDecoder)
#include "test_picturedecoder.moc"
