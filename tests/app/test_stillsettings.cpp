// The command "Image settings": what the dialog offers for the camera in use, what reaches the
// camera, and what the window keeps.

#include "tests/app/windowtest.h"
#include "tests/support/testmain.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QSettings>
#include <QSlider>

using kivra::test::Boxes;
using kivra::test::Window;
using kivra::test::WindowTest;

namespace {

// What the three controls of the dialog show.
struct Choice
{
    QString format;
    QString resolution;
    int quality;
};

bool operator==(const Choice &one, const Choice &other)
{
    return one.format == other.format && one.resolution == other.resolution &&
           one.quality == other.quality;
}

char *toString(const Choice &choice)
{
    return QTest::toString(
        QStringLiteral("%1, %2, %3").arg(choice.format, choice.resolution).arg(choice.quality));
}

QComboBox *comboBox(const QDialog *dialog, const char *name)
{
    return dialog->findChild<QComboBox *>(QLatin1String(name));
}

QSlider *slider(const QDialog *dialog)
{
    return dialog->findChild<QSlider *>(QStringLiteral("imageQualitySlider"));
}

Choice shownBy(const QDialog *dialog)
{
    return {comboBox(dialog, "imageCodecBox")->currentText(),
            comboBox(dialog, "imageResolutionBox")->currentText(), slider(dialog)->value()};
}

QStringList textsOf(const QComboBox *box)
{
    QStringList texts;
    for (int index = 0; index < box->count(); ++index)
        texts += box->itemText(index);
    return texts;
}

void choose(const QDialog *dialog, const Choice &choice)
{
    comboBox(dialog, "imageCodecBox")->setCurrentText(choice.format);
    comboBox(dialog, "imageResolutionBox")->setCurrentText(choice.resolution);
    slider(dialog)->setValue(choice.quality);
}

void press(const QDialog *dialog, QDialogButtonBox::StandardButton button)
{
    const auto *const buttons = dialog->findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
    QTest::mouseClick(buttons->button(button), Qt::LeftButton);
}

const QString png = QStringLiteral("png: Image PNG (sans perte)");
const QString jpeg = QStringLiteral("jpeg: Image JPEG (compacte)");
const Choice untouched{QStringLiteral("Default image format"), QStringLiteral("Default Resolution"),
                       QMultimedia::NormalQuality};
const Choice chosen{png, QStringLiteral("32x24"), QMultimedia::HighQuality};

} // namespace

class TestStillSettings : public WindowTest
{
    Q_OBJECT

private slots:
    void init()
    {
        begin();
        plugInTwo();
        openWindow();
    }

    void dialogIsAWindowOfItsOwn()
    {
        answerDialog([](QDialog *dialog) {
            QVERIFY(!dialog->parent());
            QCOMPARE(dialog->windowModality(), Qt::ApplicationModal);
            dialog->reject();
        });
    }

    void opensOnTheDefaults() { QCOMPARE(shownAtOpening(), untouched); }

    void offer_data()
    {
        QTest::addColumn<QStringList>("codecs");
        QTest::addColumn<QList<QSize>>("sizes");
        QTest::addColumn<QStringList>("formats");
        QTest::addColumn<QStringList>("resolutions");
        QTest::newRow("nothing") << QStringList() << QList<QSize>() << QStringList()
                                 << QStringList();
        QTest::newRow("one of each")
            << QStringList{QStringLiteral("png")} << QList<QSize>{{640, 480}} << QStringList{png}
            << QStringList{QStringLiteral("640x480")};
        QTest::newRow("many, as the camera orders them")
            << QStringList{QStringLiteral("webp"), QStringLiteral("jpeg"), QStringLiteral("png")}
            << QList<QSize>{{3264, 2448}, {640, 480}, {1920, 1080}, {1, 1}}
            << QStringList{QStringLiteral("webp: Image WEBP"), jpeg, png}
            << QStringList{QStringLiteral("3264x2448"), QStringLiteral("640x480"),
                           QStringLiteral("1920x1080"), QStringLiteral("1x1")};
    }

    void offer()
    {
        QFETCH(QStringList, codecs);
        QFETCH(QList<QSize>, sizes);
        QFETCH(QStringList, formats);
        QFETCH(QStringList, resolutions);
        device().setStillCodecs(codecs);
        device().setStillResolutions(sizes);
        answerDialog([&](QDialog *dialog) {
            QCOMPARE(textsOf(comboBox(dialog, "imageCodecBox")),
                     QStringList(untouched.format) + formats);
            QCOMPARE(textsOf(comboBox(dialog, "imageResolutionBox")),
                     QStringList(untouched.resolution) + resolutions);
            QCOMPARE(shownBy(dialog), untouched);
            press(dialog, QDialogButtonBox::Cancel);
        });
    }

    void acceptedChoiceReachesTheCamera()
    {
        accept(chosen);
        const QImageEncoderSettings applied = window->probe.imageCapture()->encodingSettings();
        QCOMPARE(applied.codec(), QStringLiteral("png"));
        QCOMPARE(applied.resolution(), QSize(32, 24));
        QCOMPARE(applied.quality(), QMultimedia::HighQuality);

        const kivra::cameras::StillRequest still = takeStill();
        QCOMPARE(still.codec, QStringLiteral("png"));
        QCOMPARE(still.resolution, QSize(32, 24));
        QCOMPARE(still.quality, QMultimedia::HighQuality);
    }

    void acceptedDefaultsReachTheCamera()
    {
        accept(chosen);
        accept(untouched);
        const QImageEncoderSettings applied = window->probe.imageCapture()->encodingSettings();
        QCOMPARE(applied.codec(), QString());
        QCOMPARE(applied.resolution(), QSize());
        QVERIFY(!applied.resolution().isValid());
        QCOMPARE(applied.quality(), QMultimedia::NormalQuality);
    }

    void rejectedChoiceChangesNothing_data()
    {
        QTest::addColumn<bool>("acceptedBefore");
        QTest::newRow("the first use") << false;
        QTest::newRow("after an accepted choice") << true;
    }

    void rejectedChoiceChangesNothing()
    {
        QFETCH(bool, acceptedBefore);
        if (acceptedBefore)
            accept(chosen);
        const QImageEncoderSettings before = window->probe.imageCapture()->encodingSettings();
        const auto ends = {
            +[](QDialog *dialog) { press(dialog, QDialogButtonBox::Cancel); },
            +[](QDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); },
            +[](QDialog *dialog) { dialog->close(); },
        };
        for (const auto end : ends) {
            answerDialog([end](QDialog *dialog) {
                choose(dialog, {jpeg, QStringLiteral("64x48"), 0});
                end(dialog);
            });
            QCOMPARE(window->probe.imageCapture()->encodingSettings(), before);
            QCOMPARE(shownAtOpening(), acceptedBefore ? chosen : untouched);
        }
    }

    void opensOnTheLastAcceptedChoice()
    {
        accept(chosen);
        QCOMPARE(shownAtOpening(), chosen);
        const Choice next{jpeg, untouched.resolution, QMultimedia::VeryLowQuality};
        accept(next);
        QCOMPARE(shownAtOpening(), next);
    }

    void keptChoiceIsNotAppliedToAnotherCamera()
    {
        accept(chosen);
        switchTo(1);
        QVERIFY(window->probe.imageCapture()->encodingSettings().isNull());
        kivra::cameras::StillRequest still = takeStill();
        QCOMPARE(still.codec, QStringLiteral("jpeg"));
        QCOMPARE(still.resolution, QSize(64, 48));
        QCOMPARE(still.quality, QMultimedia::NormalQuality);

        QCOMPARE(shownAtOpening(), chosen);
        QVERIFY(window->probe.imageCapture()->encodingSettings().isNull());
        accept(chosen);
        still = takeStill();
        QCOMPARE(still.codec, QStringLiteral("png"));
        QCOMPARE(still.resolution, QSize(32, 24));
        QCOMPARE(still.quality, QMultimedia::HighQuality);
    }

    void whatAnotherCameraLacksLeavesTheFirstItem_data()
    {
        QTest::addColumn<QStringList>("codecs");
        QTest::addColumn<QList<QSize>>("sizes");
        QTest::addColumn<bool>("keepsFormat");
        QTest::addColumn<bool>("keepsResolution");
        const QStringList withPng{QStringLiteral("jpeg"), QStringLiteral("png")};
        const QStringList withoutPng{QStringLiteral("jpeg")};
        const QList<QSize> withSize{{64, 48}, {32, 24}};
        const QList<QSize> withoutSize{{24, 32}, {32, 23}};
        QTest::newRow("the format") << withoutPng << withSize << false << true;
        QTest::newRow("the resolution") << withPng << withoutSize << true << false;
        QTest::newRow("both") << QStringList() << QList<QSize>() << false << false;
    }

    void whatAnotherCameraLacksLeavesTheFirstItem()
    {
        QFETCH(QStringList, codecs);
        QFETCH(QList<QSize>, sizes);
        QFETCH(bool, keepsFormat);
        QFETCH(bool, keepsResolution);
        accept(chosen);
        device().setStillCodecs(codecs);
        device().setStillResolutions(sizes);
        switchTo(1);
        const Choice expected{keepsFormat ? chosen.format : untouched.format,
                              keepsResolution ? chosen.resolution : untouched.resolution,
                              chosen.quality};
        QCOMPARE(shownAtOpening(), expected);
    }

    void qualityCannotLeaveItsRange()
    {
        answerDialog([](QDialog *dialog) {
            for (int i = 0; i < 7; ++i)
                QTest::keyClick(slider(dialog), Qt::Key_Right);
            press(dialog, QDialogButtonBox::Ok);
        });
        QCOMPARE(takeStill().quality, QMultimedia::VeryHighQuality);
        answerDialog([](QDialog *dialog) {
            for (int i = 0; i < 7; ++i)
                QTest::keyClick(slider(dialog), Qt::Key_Left);
            press(dialog, QDialogButtonBox::Ok);
        });
        QCOMPARE(takeStill().quality, QMultimedia::VeryLowQuality);
    }

    void nothingIsKeptInTheStore()
    {
        accept(chosen);
        QVERIFY(QSettings(QStringLiteral("Orvane"), QStringLiteral("KivraQt")).allKeys().isEmpty());
        window = std::make_unique<Window>();
        QCOMPARE(shownAtOpening(), untouched);
    }

private:
    void answerDialog(const Boxes::Answer &answer)
    {
        const int before = boxes->answered();
        boxes->expect(QStringLiteral("Dialog"), answer);
        window->trigger("actionImageSettings");
        QCOMPARE(boxes->answered(), before + 1);
    }

    void accept(const Choice &choice)
    {
        answerDialog([&choice](QDialog *dialog) {
            choose(dialog, choice);
            QCOMPARE(shownBy(dialog), choice);
            press(dialog, QDialogButtonBox::Ok);
        });
    }

    Choice shownAtOpening()
    {
        Choice shown;
        answerDialog([&shown](QDialog *dialog) {
            shown = shownBy(dialog);
            press(dialog, QDialogButtonBox::Cancel);
        });
        return shown;
    }

    void switchTo(int number)
    {
        chooseDevice(number);
        QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
    }

    // Takes a still by the window's command; returns what the camera was asked for.
    kivra::cameras::StillRequest takeStill()
    {
        const int before = device().record().stills.size();
        window->trigger("actionEnregistrer_image");
        const bool asked =
            QTest::qWaitFor([&] { return device().record().stills.size() == before + 1; });
        if (!asked ||
            !QTest::qWaitFor([&] { return window->probe.imageCapture()->isReadyForCapture(); }))
            qFatal("the camera took no still");
        return device().record().stills.last();
    }
};

KIVRA_TEST(TestStillSettings)
#include "test_stillsettings.moc"
