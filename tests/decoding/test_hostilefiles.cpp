// Files made to do harm: whether a picture comes out or not, this process survives.

#include "decoding/picturedecoder.h"
#include "tests/support/patience.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"

#include <QDir>

using kivra::PictureDecoder;

class TestHostileFiles : public QObject
{
    Q_OBJECT

private slots:
    void allOfTheCorpus()
    {
        PictureDecoder decoder(PictureDecoder::installedProgram(),
                               {limitMs, kivra::test::patienceMs});
        const QDir corpus(QStringLiteral(KIVRA_CORPUS));
        const QStringList names = corpus.entryList(QDir::Files, QDir::Name);
        QVERIFY(names.size() > 80);
        for (const QString &name : names) {
            const QImage picture = decoder.load(corpus.filePath(name));
            QVERIFY(picture.isNull() || kivra::isDecodable(picture.size()));
            if (name.startsWith(QLatin1String("huge")))
                QVERIFY2(picture.isNull(), qPrintable(name));
        }
    }

private:
    // For files whose decoding would take minutes. Includes the start of the program itself.
    static constexpr qint64 limitMs = 400;
};

KIVRA_TEST(TestHostileFiles)
#include "test_hostilefiles.moc"
