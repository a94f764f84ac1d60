// Opening picture files: good ones of every format, and files made to do harm.

#include "decoding/decoder.h"
#include "decoding/picturefile.h"
#include "tests/decoding/faultyformat.h"
#include "tests/support/patience.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QImageReader>
#include <QImageWriter>
#include <csignal>
#include <future>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

using kivra::loadPicture;
using kivra::test::faultyPicture;
using kivra::test::gradient;
using kivra::test::Sandbox;

namespace {

QString pathOf(const QString &name)
{
    return Sandbox::instance().documents() + QLatin1Char('/') + name;
}

QString written(const QString &name, const QByteArray &content)
{
    QFile file(pathOf(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(name));
    return file.fileName();
}

QDir corpus()
{
    return QDir(QStringLiteral(KIVRA_CORPUS));
}

bool hasChildren()
{
    return waitpid(-1, nullptr, WNOHANG) >= 0;
}

} // namespace

class TestPictureFile : public QObject
{
    Q_OBJECT

private slots:
    // Qt converts large pictures in several threads, which then wait for more: in this process, not
    // in its children.
    void initTestCase()
    {
        QImage deep(1000, 1000, QImage::Format_RGBA64);
        deep.fill(Qt::red);
        QVERIFY(!deep.convertToFormat(QImage::Format_RGB32).isNull());
    }

    void init() { Sandbox::instance().reset(); }
    void cleanup() { QVERIFY(!hasChildren()); }

    void formats_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QImage::Format>("pixels");
        const std::pair<const char *, QImage::Format> kinds[] = {
            {"colour", QImage::Format_RGB32},         {"translucent", QImage::Format_ARGB32},
            {"grey", QImage::Format_Grayscale8},      {"indexed", QImage::Format_Indexed8},
            {"black and white", QImage::Format_Mono}, {"deep", QImage::Format_RGBA64}};
        for (const QByteArray &format : QImageWriter::supportedImageFormats()) {
            for (const auto &[name, pixels] : kinds)
                QTest::addRow("%s, %s", format.constData(), name) << format << pixels;
        }
    }

    // As Qt reads it into the same process, in the window's format.
    void formats()
    {
        QFETCH(QByteArray, format);
        QFETCH(QImage::Format, pixels);
        const QString path = pathOf(QStringLiteral("image.") + QString::fromLatin1(format));
        QImage picture = gradient({31, 70}).convertToFormat(pixels);
        if (pixels == QImage::Format_ARGB32)
            picture.setPixel(0, 3, 0x20406080);
        QVERIFY(picture.save(path, format.constData()));
        const QImage read = loadPicture(path);
        QCOMPARE(read.format(), QImage::Format_RGB32);
        KIVRA_COMPARE_PICTURES(read, QImage(path).convertToFormat(QImage::Format_RGB32));
    }

    // Their pixels are converted, by Qt's readers or by ours.
    void largePictures_data()
    {
        const QSize page(2480, 400);
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QImage::Format>("pixels");
        QTest::addColumn<QSize>("size");
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
        KIVRA_COMPARE_PICTURES(loadPicture(path, kivra::test::patienceMs),
                               QImage(path).convertToFormat(QImage::Format_RGB32));
    }

    void formatsThatOthersWrite()
    {
        const QByteArray svg = "<svg xmlns='http://www.w3.org/2000/svg' width='30' height='20'>"
                               "<rect width='30' height='20' fill='#ff0000'/></svg>";
        QImage red(30, 20, QImage::Format_RGB32);
        red.fill(0xffff0000);
        KIVRA_COMPARE_PICTURES(loadPicture(written(QStringLiteral("a.svg"), svg)), red);
        const QByteArray gif = QByteArray::fromHex("47494638396101000100800000"
                                                   "ff0000ffffff2c00000000010001000002024401003b");
        KIVRA_COMPARE_PICTURES(loadPicture(written(QStringLiteral("a.gif"), gif)),
                               red.copy(0, 0, 1, 1));
    }

    // A picture or none; this process is still here, and no child took more memory than it may.
    void hostileFiles()
    {
        const QStringList names = corpus().entryList(QDir::Files, QDir::Name);
        QVERIFY(names.size() > 80);
        for (const QString &name : names) {
            const QImage picture = loadPicture(corpus().filePath(name));
            QVERIFY(picture.isNull() || kivra::isDecodable(picture.size()));
            if (name.startsWith(QLatin1String("huge")))
                QVERIFY2(picture.isNull(), qPrintable(name));
        }
        rusage own = {};
        rusage children = {};
        getrusage(RUSAGE_SELF, &own);
        getrusage(RUSAGE_CHILDREN, &children);
        QVERIFY(children.ru_maxrss * 1024 < own.ru_maxrss * 1024 + kivra::mostDecodingBytes);
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
                                                        {"truncated.webp", {}},
                                                        {"loop.mng", {}},
                                                        {"scans.jpg", {}}};
        for (const auto &[name, size] : known)
            QTest::newRow(name) << QString::fromLatin1(name) << size;
    }

    void knownSizes()
    {
        QFETCH(QString, name);
        QFETCH(QSize, size);
        // How soon the largest is decoded is the machine's affair.
        const int mostMs = size.isValid() ? kivra::test::patienceMs : kivra::mostDecodingMs;
        QCOMPARE(loadPicture(corpus().filePath(name), mostMs).size(),
                 size.isValid() ? size : QSize(0, 0));
    }

    void faultyReader_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isPicture");
        QTest::newRow("well") << faultyPicture("well") << true;
        QTest::newRow("crash") << faultyPicture("crash") << false;
        QTest::newRow("wait") << faultyPicture("wait") << false;
        QTest::newRow("work") << faultyPicture("work") << false;
        QTest::newRow("leave") << faultyPicture("leave") << false;
        QTest::newRow("much memory") << faultyPicture("memory 1900") << true;
        QTest::newRow("too much memory") << faultyPicture("memory 2100") << false;
    }

    void faultyReader()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isPicture);
        QCOMPARE(!loadPicture(written(QStringLiteral("a"), content)).isNull(), isPicture);
        // And the next file is read as ever.
        const QString path = pathOf(QStringLiteral("good.png"));
        QVERIFY(gradient({20, 30}).save(path));
        KIVRA_COMPARE_PICTURES(loadPicture(path), gradient({20, 30}));
    }

    // The child gets a copy of the lock without the thread that would release it.
    void lockHeldByAnotherThread()
    {
        kivra::test::HeldLock &held = kivra::test::heldLock();
        std::promise<void> locked;
        std::thread other([&] {
            const std::lock_guard<std::mutex> lock(held.mutex);
            locked.set_value();
            held.awaitReader();
        });
        locked.get_future().wait();
        const QImage read = loadPicture(written(QStringLiteral("a"), faultyPicture("lock")));
        other.join();
        QCOMPARE(read.size(), QSize(1, 1));
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
        QFile sparse(pathOf(QStringLiteral("sparse.bmp")));
        QVERIFY(sparse.open(QIODevice::WriteOnly));
        QVERIFY(sparse.resize(kivra::mostFileBytes + 1));
        QVERIFY(loadPicture(sparse.fileName()).isNull());
    }

    // The reader of vector pictures opens what they refer to, and would wait at a pipe for ever.
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

    // The memory serves again, but not while a picture is in it.
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
        for (int i = 0; i < 100; ++i)
            QVERIFY(!loadPicture(path).isNull());
        QCOMPARE(openFiles(), before);
    }
};

KIVRA_TEST(TestPictureFile)
#include "test_picturefile.moc"
