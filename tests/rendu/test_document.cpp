// The document: its pages and their order, what the pictures become, and how large it is.

#include "rendu/choices.h"
#include "rendu/encoding.h"
#include "tests/rendu/command.h"
#include "tests/support/pictures.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>
#include <QRegularExpression>
#include <QTest>
#include <QtEndian>

using kivra::test::Command;
using kivra::test::isSanitized;
using kivra::test::noise;
using kivra::test::words;

namespace {

struct Object
{
    QByteArray head;
    QByteArray stream;
};

// The objects of the document with this word in their heads, in their order.
std::vector<Object> objectsOf(const QByteArray &document, const char *word)
{
    static const QRegularExpression begin(QStringLiteral("(\\d+) 0 obj\\n"));
    static const QRegularExpression length(QStringLiteral("/Length (\\d+) 0 R"));
    const QString text = QLatin1String(document.constData(), document.size());
    std::vector<Object> objects;
    for (auto found = begin.globalMatch(text); found.hasNext();) {
        const int at = found.next().capturedEnd();
        const int streamAt = text.indexOf(QLatin1String("stream"), at);
        const int end = text.indexOf(QLatin1String("endobj"), at);
        Object object{document.mid(at, (streamAt >= 0 && streamAt < end ? streamAt : end) - at),
                      {}};
        if (!object.head.contains(word))
            continue;
        const auto referred = length.match(QLatin1String(object.head));
        if (referred.hasMatch()) {
            const QRegularExpression number(
                QStringLiteral("\\n%1 0 obj\\n(\\d+)\\n").arg(referred.captured(1)));
            const int bytes = number.match(text).captured(1).toInt();
            const int first = document.indexOf('\n', streamAt) + 1;
            object.stream = document.mid(first, bytes);
        }
        objects.push_back(object);
    }
    return objects;
}

QByteArray littleEndian(quint32 number)
{
    QByteArray bytes(4, 0);
    qToLittleEndian(number, bytes.data());
    return bytes;
}

// Decodes G4 data with another decoder, as a fax in black and white.
QImage decodedG4(const QByteArray &g4, const QSize &size)
{
    QByteArray entries;
    int count = 0;
    const auto add = [&](int tag, quint32 value) {
        entries += littleEndian(quint32(tag) | 4U << 16U) + littleEndian(1) + littleEndian(value);
        ++count;
    };
    const quint32 dataAt = 8 + 2 + 8 * 12 + 4;
    add(256, quint32(size.width()));
    add(257, quint32(size.height()));
    add(258, 1);
    add(259, 4); // G4
    add(262, 0); // white is 0
    add(273, dataAt);
    add(278, quint32(size.height()));
    add(279, quint32(g4.size()));
    const QByteArray file =
        QByteArray("II*\0\x08\0\0\0", 8) + char(count) + '\0' + entries + littleEndian(0) + g4;
    return QImage::fromData(file, "tiff").convertToFormat(QImage::Format_RGB32);
}

// The size of the file that libtiff makes of these bits.
int bytesOfLibtiff(const QImage &bits)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    QImageWriter writer(&file, "tiff");
    writer.setCompression(1);
    if (!writer.write(bits))
        return 0;
    return file.data().size();
}

QImage writtenPage(const QSize &size)
{
    QImage page(size, QImage::Format_RGB32);
    page.fill(qRgb(230, 228, 220));
    QPainter painter(&page);
    QFont font = painter.font();
    font.setPixelSize(24);
    painter.setFont(font);
    for (int y = 40; y < size.height(); y += 36)
        painter.drawText(20, y, QStringLiteral("Le voyage d'une goutte d'eau, ligne %1.").arg(y));
    return page;
}

} // namespace

class TestDocument : public QObject
{
    Q_OBJECT

private slots:
    void pagesStandAsTheirPictures()
    {
        Command command;
        command.picture(QStringLiteral("haut.png"), noise({30, 60}, 1));
        command.picture(QStringLiteral("large.png"), noise({60, 30}, 2));
        command.picture(QStringLiteral("carre.png"), noise({40, 40}, 3));
        QCOMPARE(command.run(words("-j4 --pdf a.pdf large.png haut.png carre.png haut.png")), 0);
        const auto pages = objectsOf(command.contentOf(QStringLiteral("a.pdf")), "/Type /Page\n");
        QCOMPARE(int(pages.size()), 4);
        const char *const across = "[ 0 0 841.89";
        const char *const upright = "[ 0 0 595.27";
        const char *const boxes[] = {across, upright, upright, upright};
        for (std::size_t i = 0; i < pages.size(); ++i)
            QVERIFY2(pages[i].head.contains(boxes[i]), pages[i].head.constData());
    }

    void orderIsAsGiven()
    {
        Command command;
        QStringList arguments = {QStringLiteral("-j8"), QStringLiteral("--pdf"),
                                 QStringLiteral("a.pdf")};
        // Large pictures come first, so they are finished last.
        for (int width = 40; width > 0; --width)
            arguments += command.picture(QStringLiteral("%1.png").arg(width),
                                         noise({width * 10, 20}, unsigned(width)));
        QCOMPARE(command.run(arguments), 0);
        const auto images =
            objectsOf(command.contentOf(QStringLiteral("a.pdf")), "/Subtype /Image");
        QCOMPARE(int(images.size()), 40);
        for (int i = 0; i < 40; ++i)
            QVERIFY(images[std::size_t(i)].head.contains(
                QStringLiteral("/Width %1\n").arg((40 - i) * 10).toLatin1()));
    }

    void twoValuedModesAreG4_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("texte") << "--effet texte";
        QTest::newRow("texte-manuscrit") << "--effet texte-manuscrit";
        QTest::newRow("tableau-vert") << "--effet tableau-vert";
        QTest::newRow("texte bicolore") << "--effet texte --rendu bicolore";
        QTest::newRow("texte negatif") << "--effet texte --rendu negatif";
    }

    void twoValuedModesAreG4()
    {
        QFETCH(QString, options);
        Command command;
        command.picture(QStringLiteral("page.png"), writtenPage({803, 1101}));
        const QStringList chosen = options.split(QLatin1Char(' '));
        QCOMPARE(command.run(chosen + words("--pdf a.pdf page.png")), 0);
        QCOMPARE(command.run(chosen + words("-o propre page.png")), 0);
        const auto images =
            objectsOf(command.contentOf(QStringLiteral("a.pdf")), "/CCITTFaxDecode");
        QCOMPARE(int(images.size()), 1);
        const QImage bits =
            kivra::rendu::twoValued(command.result(QStringLiteral("propre/page.png")));
        QVERIFY(!bits.isNull());
        QImage fax = bits;
        fax.setColorTable({qRgb(255, 255, 255), qRgb(0, 0, 0)});
        KIVRA_COMPARE_PICTURES(decodedG4(images[0].stream, bits.size()),
                               fax.convertToFormat(QImage::Format_RGB32));
        const int theirs = bytesOfLibtiff(fax);
        QVERIFY(theirs > 1000);
        QVERIFY2(images[0].stream.size() * 100 <= theirs * 105,
                 qPrintable(QStringLiteral("%1 and %2").arg(images[0].stream.size()).arg(theirs)));
    }

    void coloursOfBits()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), writtenPage({200, 100}));
        QCOMPARE(command.run(words("--effet tableau-vert --pdf a.pdf page.png")), 0);
        const QByteArray document = command.contentOf(QStringLiteral("a.pdf"));
        QVERIFY(document.contains("1 1 1 rg")); // white is lighter than the board
        QVERIFY(document.contains("/Mask"));
        QCOMPARE(command.run(words("--effet texte --pdf b.pdf page.png")), 0);
        QVERIFY(!command.contentOf(QStringLiteral("b.pdf")).contains("/Mask"));
    }

    void otherPicturesAreJpeg()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({60, 40}, 1));
        QCOMPARE(command.run(words("--effet automatique --pdf a.pdf page.png")), 0);
        QCOMPARE(command.run(words("--effet automatique --format jpg -o propre page.png")), 0);
        const auto images = objectsOf(command.contentOf(QStringLiteral("a.pdf")), "/DCTDecode");
        QCOMPARE(int(images.size()), 1);
        KIVRA_COMPARE_PICTURES(
            QImage::fromData(images[0].stream).convertToFormat(QImage::Format_RGB32),
            command.result(QStringLiteral("propre/page.jpg")));
    }

    void failuresLeaveTheirPagesOut()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), noise({60, 40}, 1));
        QCOMPARE(command.run(words("--pdf a.pdf rien.png page.png rien.png")), 2);
        QCOMPARE(command.complaintLines(), 2);
        QCOMPARE(int(objectsOf(command.contentOf(QStringLiteral("a.pdf")), "/Type /Page\n").size()),
                 1);
        QCOMPARE(command.run(words("--pdf b.pdf rien.png")), 2);
        QCOMPARE(command.filesIn({}), words("a.pdf page.png"));
    }

    void sameBytesAgain()
    {
        Command command;
        command.picture(QStringLiteral("page.png"), writtenPage({200, 100}));
        for (const char *name : {"a.pdf", "b.pdf"})
            QCOMPARE(command.run({QStringLiteral("--pdf"), QLatin1String(name),
                                  QStringLiteral("page.png")}),
                     0);
        QCOMPARE(command.contentOf(QStringLiteral("a.pdf")),
                 command.contentOf(QStringLiteral("b.pdf")));
    }

    // Under the sanitizers, ten thousand would show nothing that fewer do not.
    void thousandsOfPages()
    {
        const int pages = isSanitized() ? 1500 : 10000;
        Command command;
        command.picture(QStringLiteral("page.png"), noise({8, 8}, 1));
        command.age(QStringLiteral("page.png"), 100);
        const QByteArray names = QByteArray("page.png\n").repeated(pages);
        QCOMPARE(command.run(words("--effet texte --pdf a.pdf --files-from -"), names), 0);
        QCOMPARE(command.out,
                 QStringLiteral("%1 images rendues, 0 déjà faite, 0 échec\n").arg(pages));
        QVERIFY(command.contentOf(QStringLiteral("a.pdf"))
                    .contains("/Count " + QByteArray::number(pages)));
        QCOMPARE(command.run(words("--effet texte --pdf a.pdf --files-from -"), names), 0);
        QCOMPARE(command.out,
                 QStringLiteral("0 image rendue, %1 déjà faites, 0 échec\n").arg(pages));
    }
};

KIVRA_TEST(TestDocument)
#include "test_document.moc"
