#include "dialogs/imagesettings.h"
#include "tests/dialogs/encodercontrol.h"
#include "tests/support/testmain.h"

#include <QCamera>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QTimer>
#include <QTranslator>

using kivra::test::EncoderControl;
using kivra::test::EncoderDevice;
using kivra::test::EncoderService;

namespace {

// A device that offers what the test fills in, and a capture object on it.
struct Device
{
    EncoderService service;
    EncoderDevice object{service};
    QCameraImageCapture capture{&object};
    EncoderControl &encoder = service.encoder;
};

// How often a widget is painted.
class PaintCount : public QObject
{
public:
    explicit PaintCount(QWidget *widget) { widget->installEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

void offerMany(EncoderControl &encoder)
{
    encoder.codecs = QStringList{QStringLiteral("png"), QStringLiteral("jpeg"),
                                 QStringLiteral("webp"), QStringLiteral("tiff")};
    encoder.resolutions = {QSize(3264, 2448), QSize(640, 480), QSize(1920, 1080)};
}

QComboBox *codecBox(const QDialog &dialog)
{
    return dialog.findChild<QComboBox *>(QStringLiteral("imageCodecBox"));
}

QComboBox *resolutionBox(const QDialog &dialog)
{
    return dialog.findChild<QComboBox *>(QStringLiteral("imageResolutionBox"));
}

QSlider *slider(const QDialog &dialog)
{
    return dialog.findChild<QSlider *>(QStringLiteral("imageQualitySlider"));
}

QStringList texts(const QComboBox *box)
{
    QStringList items;
    for (int i = 0; i < box->count(); ++i)
        items << box->itemText(i);
    return items;
}

QPushButton *button(const QDialog &dialog, QDialogButtonBox::StandardButton which)
{
    return dialog.findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"))->button(which);
}

void open(QDialog &dialog)
{
    dialog.open();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
}

// Chooses an item as a user does: a click that opens the list, then keys. A second click would have
// to wait out the double-click time, within which the list stays open.
void choose(QComboBox *box, int index)
{
    QTest::mouseClick(box, Qt::LeftButton);
    QTRY_VERIFY(box->view()->isVisible());
    QTest::keyClick(box->view(), Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(box->view(), Qt::Key_Down);
    QTest::keyClick(box->view(), Qt::Key_Return);
    QTRY_COMPARE(box->currentIndex(), index);
}

QImageEncoderSettings settings(const QString &codec, const QSize &resolution, int quality)
{
    QImageEncoderSettings result;
    result.setCodec(codec);
    result.setResolution(resolution);
    result.setQuality(QMultimedia::EncodingQuality(quality));
    return result;
}

// Turns every text into "<context>text".
class ContextTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        return QStringLiteral("<%1>%2").arg(QLatin1String(context), QLatin1String(text));
    }
    bool isEmpty() const override { return false; }
};

} // namespace

class TestImageSettings : public QObject
{
    Q_OBJECT

private slots:
    void formHasGivenPlaces_data()
    {
        QTest::addColumn<QString>("grid");
        QTest::addColumn<QRect>("place"); // column, row, column span, row span
        const QString outer = QStringLiteral("gridLayout");
        const QString inner = QStringLiteral("gridLayout_2");
        QTest::newRow("groupBox_2") << outer << QRect(0, 0, 1, 1);
        QTest::newRow("buttonBox") << outer << QRect(0, 2, 1, 1);
        QTest::newRow("label_8") << inner << QRect(0, 0, 2, 1);
        QTest::newRow("imageResolutionBox") << inner << QRect(0, 1, 2, 1);
        QTest::newRow("label_6") << inner << QRect(0, 2, 2, 1);
        QTest::newRow("imageCodecBox") << inner << QRect(0, 3, 2, 1);
        QTest::newRow("label_7") << inner << QRect(0, 4, 1, 1);
        QTest::newRow("imageQualitySlider") << inner << QRect(1, 4, 1, 1);
    }

    void formHasGivenPlaces()
    {
        QFETCH(const QString, grid);
        Device device;
        const ImageSettings dialog(&device.capture);
        const auto *layout = dialog.findChild<QGridLayout *>(grid);
        auto *widget = dialog.findChild<QWidget *>(QLatin1String(QTest::currentDataTag()));
        QVERIFY(layout && widget);
        int row = 0;
        int column = 0;
        int rows = 0;
        int columns = 0;
        layout->getItemPosition(layout->indexOf(widget), &row, &column, &rows, &columns);
        QTEST(QRect(column, row, columns, rows), "place");
    }

    void formHasGivenTextsAndProperties()
    {
        Device device;
        const ImageSettings dialog(&device.capture);
        const auto text = [&dialog](const char *name) {
            return dialog.findChild<QLabel *>(QLatin1String(name))->text();
        };
        QCOMPARE(dialog.objectName(), QStringLiteral("ImageSettingsUi"));
        QCOMPARE(dialog.size(), QSize(332, 270));
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Dialog"));
        QCOMPARE(dialog.findChild<QGroupBox *>(QStringLiteral("groupBox_2"))->title(),
                 QStringLiteral("Image"));
        QCOMPARE(text("label_8"), QStringLiteral("Resolution:"));
        QCOMPARE(text("label_6"), QStringLiteral("Image Format:"));
        QCOMPARE(text("label_7"), QStringLiteral("Quality:"));
        QCOMPARE(slider(dialog)->orientation(), Qt::Horizontal);
        QCOMPARE(slider(dialog)->minimum(), 0);
        QCOMPARE(slider(dialog)->maximum(), 4);
        const auto *grid = static_cast<QGridLayout *>(dialog.layout());
        const QSpacerItem *spacer = grid->itemAtPosition(1, 0)->spacerItem();
        QVERIFY(spacer);
        QCOMPARE(spacer->sizeHint(), QSize(20, 14));
        QCOMPARE(spacer->sizePolicy(), QSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding));
        const auto *buttons = dialog.findChild<QDialogButtonBox *>(QStringLiteral("buttonBox"));
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QCOMPARE(buttons->orientation(), Qt::Horizontal);
    }

    void everyTextHasItsRoom()
    {
        const QFont before = QApplication::font();
        Device device;
        for (const int pixels : {12, 16, 24, 32}) {
            QFont font = before;
            font.setPixelSize(pixels);
            QApplication::setFont(font);
            ImageSettings dialog(&device.capture);
            dialog.show();
            for (const auto *label : dialog.findChildren<QLabel *>()) {
                QVERIFY(label->width() >= label->sizeHint().width());
                QVERIFY(label->height() >= label->sizeHint().height());
            }
        }
        QApplication::setFont(before);
    }

    void cameraWithoutServiceOffersOnlyTheFirstItems()
    {
        QCamera camera;
        QCameraImageCapture capture(&camera);
        ImageSettings dialog(&capture);
        QCOMPARE(texts(codecBox(dialog)), QStringList{QStringLiteral("Default image format")});
        QCOMPARE(texts(resolutionBox(dialog)), QStringList{QStringLiteral("Default Resolution")});
        dialog.setImageSettings(settings(QStringLiteral("jpeg"), {640, 480}, 3));
        QCOMPARE(dialog.imageSettings(), settings(QLatin1String(""), QSize(), 3));
    }

    void deviceThatOffersNothingShowsOnlyTheFirstItems()
    {
        Device device;
        const ImageSettings dialog(&device.capture);
        QCOMPARE(texts(codecBox(dialog)), QStringList{QStringLiteral("Default image format")});
        QCOMPARE(codecBox(dialog)->itemData(0).type(), QVariant::String);
        QCOMPARE(codecBox(dialog)->itemData(0).toString(), QString());
        QCOMPARE(texts(resolutionBox(dialog)), QStringList{QStringLiteral("Default Resolution")});
        QVERIFY(!resolutionBox(dialog)->itemData(0).isValid());
        QCOMPARE(codecBox(dialog)->currentIndex(), 0);
        QCOMPARE(resolutionBox(dialog)->currentIndex(), 0);
    }

    void oneCodec()
    {
        Device device;
        device.encoder.codecs = QStringList{QStringLiteral("jpeg")};
        const ImageSettings dialog(&device.capture);
        QCOMPARE(texts(codecBox(dialog)), (QStringList{QStringLiteral("Default image format"),
                                                       QStringLiteral("jpeg: format JPEG")}));
        QCOMPARE(codecBox(dialog)->itemData(1), QVariant(QStringLiteral("jpeg")));
        QCOMPARE(codecBox(dialog)->currentIndex(), 0);
    }

    void manyCodecsAndResolutionsInTheOrderReported()
    {
        Device device;
        offerMany(device.encoder);
        const ImageSettings dialog(&device.capture);
        QCOMPARE(
            texts(codecBox(dialog)),
            (QStringList{QStringLiteral("Default image format"), QStringLiteral("png: format PNG"),
                         QStringLiteral("jpeg: format JPEG"), QStringLiteral("webp: format WEBP"),
                         QStringLiteral("tiff: format TIFF")}));
        QCOMPARE(texts(resolutionBox(dialog)),
                 (QStringList{QStringLiteral("Default Resolution"), QStringLiteral("3264x2448"),
                              QStringLiteral("640x480"), QStringLiteral("1920x1080")}));
        QCOMPARE(resolutionBox(dialog)->itemData(2), QVariant(QSize(640, 480)));
        QCOMPARE(resolutionBox(dialog)->itemData(2).type(), QVariant::Size);
    }

    void whatIsOfferedIsLogged()
    {
        Device device;
        offerMany(device.encoder);
        QTest::ignoreMessage(QtDebugMsg, "codecs (\"png\", \"jpeg\", \"webp\", \"tiff\")");
        QTest::ignoreMessage(QtDebugMsg, "resolutions (QSize(3264, 2448), QSize(640, 480), "
                                         "QSize(1920, 1080))");
        const ImageSettings dialog(&device.capture);
    }

    // They are asked for twice: first for the log, then for the boxes.
    void codecsAreAskedForBeforeSizes()
    {
        Device device;
        offerMany(device.encoder);
        const ImageSettings dialog(&device.capture);
        QCOMPARE(device.encoder.asked.join(QLatin1Char(' ')),
                 QStringLiteral("codecs sizes codecs sizes"));
    }

    void resolutionsAreAskedWithDefaultSettings()
    {
        Device device;
        device.encoder.settings = settings(QStringLiteral("png"), {640, 480}, 4);
        const ImageSettings dialog(&device.capture);
        QVERIFY(device.encoder.askedWithDefaults);
    }

    void firstItemsGiveDefaults()
    {
        Device device;
        offerMany(device.encoder);
        device.encoder.settings = settings(QStringLiteral("png"), {640, 480}, 4);
        ImageSettings dialog(&device.capture);
        open(dialog);
        QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
        const QImageEncoderSettings result = dialog.imageSettings();
        QCOMPARE(result.codec(), QString());
        QCOMPARE(result.resolution(), QSize());
        QVERIFY(!result.resolution().isValid());
        QCOMPARE(result.quality(), QMultimedia::VeryLowQuality);
    }

    void chosenItemsAreTheSettings()
    {
        Device device;
        offerMany(device.encoder);
        ImageSettings dialog(&device.capture);
        open(dialog);
        choose(codecBox(dialog), 2);
        choose(resolutionBox(dialog), 3);
        slider(dialog)->setFocus();
        for (int i = 0; i < 3; ++i)
            QTest::keyClick(slider(dialog), Qt::Key_Right);
        QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
        QCOMPARE(dialog.imageSettings(), settings(QStringLiteral("jpeg"), {1920, 1080}, 3));
    }

    void otherSettingsOfTheCaptureObjectAreKept()
    {
        Device device;
        device.encoder.settings.setEncodingOption(QStringLiteral("progressive"), true);
        const ImageSettings dialog(&device.capture);
        QCOMPARE(dialog.imageSettings().encodingOption(QStringLiteral("progressive")),
                 QVariant(true));
    }

    void dialogAppliesNothingByItself()
    {
        Device device;
        offerMany(device.encoder);
        ImageSettings dialog(&device.capture);
        dialog.setImageSettings(settings(QStringLiteral("webp"), {640, 480}, 1));
        open(dialog);
        QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
        QCOMPARE(device.encoder.timesSet, 0);
    }

    void keptSettingsAreShown_data()
    {
        QTest::addColumn<QString>("codec");
        QTest::addColumn<QSize>("resolution");
        QTest::addColumn<int>("quality");
        QTest::newRow("defaults") << QString() << QSize() << 2;
        QTest::newRow("first of each") << QStringLiteral("png") << QSize(3264, 2448) << 0;
        QTest::newRow("middle of each") << QStringLiteral("jpeg") << QSize(640, 480) << 1;
        QTest::newRow("last of each") << QStringLiteral("tiff") << QSize(1920, 1080) << 4;
        QTest::newRow("codec only") << QStringLiteral("webp") << QSize() << 3;
        QTest::newRow("resolution only") << QString() << QSize(640, 480) << 3;
    }

    void keptSettingsAreShown()
    {
        QFETCH(const QString, codec);
        QFETCH(const QSize, resolution);
        QFETCH(const int, quality);
        Device device;
        offerMany(device.encoder);
        ImageSettings dialog(&device.capture);
        dialog.setImageSettings(settings(codec, resolution, quality));
        QCOMPARE(codecBox(dialog)->currentIndex(), device.encoder.codecs.indexOf(codec) + 1);
        QCOMPARE(resolutionBox(dialog)->currentIndex(),
                 device.encoder.resolutions.indexOf(resolution) + 1);
        QCOMPARE(slider(dialog)->value(), quality);
        QCOMPARE(dialog.imageSettings().codec(), codec);
        QCOMPARE(dialog.imageSettings().resolution(), resolution);
        QCOMPARE(int(dialog.imageSettings().quality()), quality);
    }

    void keptChoiceThatIsNotOfferedLeavesTheFirstItem()
    {
        Device device;
        offerMany(device.encoder);
        ImageSettings dialog(&device.capture);
        dialog.setImageSettings(settings(QStringLiteral("bmp"), {641, 480}, 2));
        QCOMPARE(codecBox(dialog)->currentIndex(), 0);
        QCOMPARE(resolutionBox(dialog)->currentIndex(), 0);
        QCOMPARE(slider(dialog)->value(), 2);
    }

    void keptChoiceAfterSwitchingDevices()
    {
        Device first;
        offerMany(first.encoder);
        Device second;
        second.encoder.codecs = QStringList{QStringLiteral("jpeg")};
        second.encoder.resolutions = {QSize(320, 240), QSize(640, 480)};
        ImageSettings before(&first.capture);
        before.setImageSettings(settings(QStringLiteral("png"), {640, 480}, 3));
        ImageSettings after(&second.capture);
        after.setImageSettings(before.imageSettings());
        QCOMPARE(codecBox(after)->currentIndex(), 0);
        QCOMPARE(resolutionBox(after)->currentText(), QStringLiteral("640x480"));
        QCOMPARE(after.imageSettings(), settings(QLatin1String(""), {640, 480}, 3));
    }

    void sliderStaysInItsRange()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        open(dialog);
        QSlider *quality = slider(dialog);
        quality->setFocus();
        for (int i = 0; i < 7; ++i)
            QTest::keyClick(quality, Qt::Key_Right);
        QCOMPARE(quality->value(), 4);
        for (int i = 0; i < 7; ++i)
            QTest::keyClick(quality, Qt::Key_Left);
        QCOMPARE(quality->value(), 0);
        QTest::keyClick(quality, Qt::Key_End);
        QCOMPARE(int(dialog.imageSettings().quality()), 4);
        QTest::keyClick(quality, Qt::Key_PageUp);
        QCOMPARE(quality->value(), 4);
        QTest::mouseClick(quality, Qt::LeftButton, {}, QPoint(2, quality->height() / 2));
        QVERIFY(quality->value() >= 0 && quality->value() < 4);
    }

    void qualityOutOfRangeIsCut()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        dialog.setImageSettings(settings({}, {}, 9));
        QCOMPARE(slider(dialog)->value(), 4);
        dialog.setImageSettings(settings({}, {}, -1));
        QCOMPARE(slider(dialog)->value(), 0);
    }

    void boxValueOfABoxWithoutCurrentItemIsInvalid()
    {
        Device device;
        const ImageSettings dialog(&device.capture);
        QComboBox box;
        QVERIFY(!dialog.boxValue(&box).isValid());
        box.addItem(QStringLiteral("text"), 7);
        box.setCurrentIndex(-1);
        QVERIFY(!dialog.boxValue(&box).isValid());
    }

    void boxValueIsTheDataOfTheCurrentItem()
    {
        Device device;
        const ImageSettings dialog(&device.capture);
        QComboBox box;
        box.addItem(QStringLiteral("a"), 7);
        box.addItem(QStringLiteral("b"), QSize(1, 2));
        QCOMPARE(dialog.boxValue(&box), QVariant(7));
        box.setCurrentIndex(1);
        QCOMPARE(dialog.boxValue(&box), QVariant(QSize(1, 2)));
    }

    void selectTakesTheFirstEqualItem()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        QComboBox box;
        for (const char *value : {"a", "b", "c", "b"})
            box.addItem(QStringLiteral("item"), QString(QLatin1String(value)));
        box.setCurrentIndex(3);
        dialog.selectComboBoxItem(&box, QStringLiteral("b"));
        QCOMPARE(box.currentIndex(), 1);
    }

    void selectWithoutEqualItemChangesNothing()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        QComboBox box;
        for (const char *value : {"a", "b", "c"})
            box.addItem(QString(QLatin1String(value)), QString(QLatin1String(value)));
        box.setCurrentIndex(2);
        dialog.selectComboBoxItem(&box, QStringLiteral("z"));
        QCOMPARE(box.currentIndex(), 2);
        dialog.selectComboBoxItem(&box, QVariant());
        QCOMPARE(box.currentIndex(), 2);
    }

    void selectInAnEmptyBoxChangesNothing()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        QComboBox box;
        dialog.selectComboBoxItem(&box, QStringLiteral("a"));
        QCOMPARE(box.currentIndex(), -1);
    }

    void okAccepts()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        QTimer::singleShot(0, &dialog, [&dialog] {
            QTest::mouseClick(button(dialog, QDialogButtonBox::Ok), Qt::LeftButton);
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    }

    void enterAccepts()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        open(dialog);
        const QSignalSpy accepted(&dialog, &QDialog::accepted);
        slider(dialog)->setFocus();
        QTest::keyClick(slider(dialog), Qt::Key_Return);
        QCOMPARE(accepted.count(), 1);
    }

    void cancelRejects()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        QTimer::singleShot(0, &dialog, [&dialog] {
            QTest::mouseClick(button(dialog, QDialogButtonBox::Cancel), Qt::LeftButton);
        });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QCOMPARE(device.encoder.timesSet, 0);
    }

    void escapeRejects()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        open(dialog);
        const QSignalSpy rejected(&dialog, &QDialog::rejected);
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Escape);
        QCOMPARE(rejected.count(), 1);
    }

    void closingRejects()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        open(dialog);
        const QSignalSpy rejected(&dialog, &QDialog::rejected);
        dialog.close();
        QCOMPARE(rejected.count(), 1);
    }

    void tabVisitsEveryControl()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        open(dialog);
        QStringList visited;
        for (int i = 0; i < 5; ++i) {
            visited << dialog.focusWidget()->objectName();
            QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
        }
        visited.removeAll(QString()); // the two buttons
        QCOMPARE(visited.join(QLatin1Char(' ')),
                 QStringLiteral("imageResolutionBox imageCodecBox imageQualitySlider"));
        QCOMPARE(dialog.focusWidget()->objectName(), QStringLiteral("imageResolutionBox"));
    }

    void changesOfTheStyleArePassedOn()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        open(dialog);
        QCoreApplication::processEvents(); // handles what opening has left
        PaintCount paintings(&dialog);
        QEvent change(QEvent::EnabledChange);
        QCoreApplication::sendEvent(&dialog, &change);
        QTRY_VERIFY(paintings.count > 0);
    }

    void textsFollowALanguageChange()
    {
        Device device;
        ImageSettings dialog(&device.capture);
        ContextTranslator translator;
        QCoreApplication::installTranslator(&translator);
        QTRY_COMPARE(dialog.windowTitle(), QStringLiteral("<ImageSettingsUi>Dialog"));
        const ImageSettings later(&device.capture);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(dialog.findChild<QLabel *>(QStringLiteral("label_7"))->text(),
                 QStringLiteral("<ImageSettingsUi>Quality:"));
        QCOMPARE(codecBox(dialog)->itemText(0), QStringLiteral("Default image format"));
        QCOMPARE(codecBox(later)->itemText(0),
                 QStringLiteral("<ImageSettings>Default image format"));
        QCOMPARE(resolutionBox(later)->itemText(0),
                 QStringLiteral("<ImageSettings>Default Resolution"));
        QTRY_COMPARE(dialog.windowTitle(), QStringLiteral("Dialog"));
    }
};

KIVRA_TEST(TestImageSettings)
#include "test_imagesettings.moc"
