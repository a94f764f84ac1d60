// Notes of orientation that are broken, foreign or meant to do harm: the picture stays as it lies.

#include "rendu/orientation.h"
#include "tests/rendu/command.h"
#include "tests/support/testmain.h"

#include <QTest>

using kivra::rendu::orientationOf;
using kivra::test::Command;

namespace {

// The beginning of a JPEG with this TIFF structure as its note.
QByteArray noted(const QByteArray &tiff)
{
    const int length = 2 + 6 + tiff.size();
    return QByteArray("\xFF\xD8\xFF\xE1") + char(length >> 8) + char(length & 0xFF) +
           QByteArray("Exif\0\0", 6) + tiff + QByteArray("\xFF\xDA");
}

const QByteArray little("II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0", 22);
const QByteArray big("MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0", 22);

} // namespace

class TestOrientation : public QObject
{
    Q_OBJECT

private slots:
    void notes_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("orientation");
        QTest::newRow("little-endian") << noted(little) << 6;
        QTest::newRow("big-endian") << noted(big) << 6;
        QTest::newRow("a TIFF file") << little << 1;
        QTest::newRow("behind another segment")
            << "\xFF\xD8" + QByteArray("\xFF\xE0\0\x04JF", 6) + noted(big).mid(2) << 6;
        QTest::newRow("behind bytes that fill")
            << QByteArray("\xFF\xD8\xFF\xFF") + noted(big).mid(2) << 6;
        QTest::newRow("none") << QByteArray("\xFF\xD8\xFF\xE0\0\x04JF\xFF\xDA", 10) << 1;
        QTest::newRow("behind the picture's begin")
            << QByteArray("\xFF\xD8\xFF\xDA") + noted(big).mid(2) << 1;
        QTest::newRow("empty") << QByteArray() << 1;
        QTest::newRow("two bytes") << QByteArray("\xFF\xD8") << 1;
        QTest::newRow("a text") << QByteArray("II n'est pas une image") << 1;
        QTest::newRow("cut in its header") << noted(little.left(6)) << 1;
        QTest::newRow("cut before its value") << noted(little.left(16)) << 1;
        QTest::newRow("directory far away")
            << noted(QByteArray(little).replace(4, 4, "\xFF\xFF\xFF\xFF")) << 1;
        QTest::newRow("more entries than there are")
            << noted(QByteArray(little).replace(8, 2, "\xFF\xFF").replace(10, 1, "\x13")) << 1;
        QTest::newRow("value of another type")
            << noted(QByteArray(little).replace(12, 1, "\x04")) << 1;
        QTest::newRow("0, which is none")
            << noted(QByteArray(little).replace(18, 1, QByteArray(1, 0))) << 1;
        QTest::newRow("9, which is none") << noted(QByteArray(little).replace(18, 1, "\x09")) << 1;
        // What follows the segment does not belong to the note.
        QByteArray cut = noted(little);
        cut[5] = char(2 + 6 + 10);
        QTest::newRow("segment that ends before the entry") << cut << 1;
        QTest::newRow("segment of no length")
            << QByteArray("\xFF\xD8\xFF\xE0\0\0", 6) + noted(big).mid(2) << 1;
    }

    void notes()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, orientation);
        const Command command;
        QCOMPARE(orientationOf(command.file(QStringLiteral("vue.jpg"), content)), orientation);
    }

    void noFile()
    {
        const Command command;
        QCOMPARE(orientationOf(command.path(QStringLiteral("rien.jpg"))), 1);
        QCOMPARE(orientationOf(command.path()), 1);
    }

    void unknownNumbersLeaveThePicture()
    {
        const QImage picture = kivra::test::noise({3, 2}, 1);
        for (const int number : {0, 1, 9, 65535})
            QCOMPARE(kivra::rendu::upright(picture, number), picture);
    }
};

KIVRA_TEST(TestOrientation)
#include "test_orientation.moc"
