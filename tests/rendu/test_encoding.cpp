// Pictures of two colours as bits, and the note in a file.

#include "rendu/encoding.h"
#include "rendu/mark.h"
#include "tests/rendu/command.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"

#include <QTest>

using kivra::test::Command;
using kivra::test::drawn;
using kivra::test::noise;
namespace rendu = kivra::rendu;

namespace {

QImage ofColours(const QSize &size, const QVector<QRgb> &colours)
{
    const QImage grain = noise(size, 3);
    return drawn(size, QImage::Format_RGB32, [&](int x, int y) {
        return colours[int((grain.pixel(x, y) >> 7U) % colours.size())];
    });
}

const QVector<QRgb> blackAndWhite = {qRgb(0, 0, 0), qRgb(255, 255, 255)};

} // namespace

class TestEncoding : public QObject
{
    Q_OBJECT

private slots:
    void bits()
    {
        for (int width = 1; width < 20; ++width) {
            const QImage picture = ofColours({width, 9}, blackAndWhite);
            const QImage bits = rendu::twoValued(picture);
            QCOMPARE(bits.format(), QImage::Format_Mono);
            KIVRA_COMPARE_PICTURES(bits.convertToFormat(QImage::Format_RGB32), picture);
        }
    }

    void lighterColourComesFirst()
    {
        const QRgb blue = qRgb(0, 0, 255);
        const QRgb yellow = qRgb(255, 255, 0);
        for (const QVector<QRgb> &colours : {QVector<QRgb>{blue, yellow}, {yellow, blue}}) {
            const QImage bits = rendu::twoValued(ofColours({30, 20}, colours));
            QCOMPARE(bits.colorTable(), (QVector<QRgb>{yellow, blue}));
        }
    }

    void plainPictures()
    {
        for (const QRgb colour : {qRgb(0, 0, 0), qRgb(255, 255, 255), qRgb(0, 100, 0)}) {
            const QImage picture = ofColours({11, 5}, {colour});
            const QImage bits = rendu::twoValued(picture);
            KIVRA_COMPARE_PICTURES(bits.convertToFormat(QImage::Format_RGB32), picture);
        }
    }

    void aThirdColourAnywhere()
    {
        for (const QPoint &place : {QPoint(0, 0), QPoint(29, 0), QPoint(15, 10), QPoint(29, 19)}) {
            QImage picture = ofColours({30, 20}, blackAndWhite);
            picture.setPixel(place, qRgb(1, 1, 1));
            QVERIFY(rendu::twoValued(picture).isNull());
        }
        QVERIFY(rendu::twoValued({}).isNull());
    }

    void pngHasABitAPixelForTwoColours()
    {
        const QByteArray file = rendu::pngOf(ofColours({30, 20}, blackAndWhite));
        constexpr int depthPlace = 24;
        QCOMPARE(int(file[depthPlace]), 1);
        QCOMPARE(int(rendu::pngOf(noise({30, 20}, 1))[depthPlace]), 8);
    }

    void markedFilesAreGoodFiles_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("PNG") << "page.png";
        QTest::newRow("JPEG") << "page.jpg";
    }

    void markedFilesAreGoodFiles()
    {
        QFETCH(QString, name);
        const Command command;
        const QImage picture = noise({30, 20}, 1);
        const QByteArray plain =
            name.endsWith(QLatin1String("png")) ? rendu::pngOf(picture) : rendu::jpegOf(picture);
        const QByteArray mark("kivra-rendu effet=texte");
        const QString path = command.file(name, rendu::withMark(plain, mark));
        KIVRA_COMPARE_PICTURES(command.result(name),
                               QImage::fromData(plain).convertToFormat(QImage::Format_RGB32));
        // Read as by any other program, which checks the sum, too.
        QVERIFY(QImage(path).text().contains(QString::fromLatin1(mark)));
        QVERIFY(rendu::bearsMark(path, mark));
        QVERIFY(!rendu::bearsMark(path, mark + "s"));
        QVERIFY(!rendu::bearsMark(path, mark.chopped(1)));
        QVERIFY(!rendu::bearsMark(command.file(name, plain), mark));
        QVERIFY(!rendu::bearsMark(command.path(QStringLiteral("rien.png")), mark));
    }
};

KIVRA_TEST(TestEncoding)
#include "test_encoding.moc"
