// Files made to do harm: a picture or none comes out, and this process is still here.

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
    // For those that would be decoded for minutes. The program's own start is in it.
    static constexpr qint64 limitMs = 400;
};

KIVRA_TEST(TestHostileFiles)
#include "test_hostilefiles.moc"
