#include "dialogs/imagesettings.h"

#include "ui_imagesettings.h"

#include <QCameraImageCapture>
#include <QEvent>
#include <QtDebug>

ImageSettings::ImageSettings(QCameraImageCapture *capture, QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui_ImageSettingsUi>())
    , imageCapture(capture)
{
    ui->setupUi(this);
    logSupport();
    offerCodecs();
    ui->imageQualitySlider->setRange(QMultimedia::VeryLowQuality, QMultimedia::VeryHighQuality);
    offerResolutions();
    nameForScreenReaders();
}

ImageSettings::~ImageSettings() = default;

void ImageSettings::logSupport() const
{
    qDebug() << "codecs" << imageCapture->supportedImageCodecs();
    qDebug() << "resolutions" << imageCapture->supportedResolutions();
}

void ImageSettings::offerCodecs()
{
    ui->imageCodecBox->addItem(tr("Default image format"), QString());
    for (const QString &codec : imageCapture->supportedImageCodecs()) {
        const QString description = imageCapture->imageCodecDescription(codec);
        ui->imageCodecBox->addItem(codec + QStringLiteral(": ") + description, codec);
    }
}

void ImageSettings::offerResolutions()
{
    ui->imageResolutionBox->addItem(tr("Default Resolution"));
    for (const QSize &size : imageCapture->supportedResolutions()) {
        const QString text = QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
        ui->imageResolutionBox->addItem(text, size);
    }
}

// A combo box tells a screen reader only its current entry. The form does not connect the labels
// with the boxes, so label and description are set here.
void ImageSettings::nameForScreenReaders()
{
    setAccessibleName(QStringLiteral("Photographie de la caméra"));
    ui->label_8->setBuddy(ui->imageResolutionBox);
    ui->label_6->setBuddy(ui->imageCodecBox);
    ui->imageResolutionBox->setAccessibleDescription(QStringLiteral("Taille de l’image"));
    ui->imageCodecBox->setAccessibleDescription(QStringLiteral("Format de l’image"));
    ui->imageQualitySlider->setAccessibleName(QStringLiteral("Qualité de l’image"));
}

QImageEncoderSettings ImageSettings::imageSettings() const
{
    QImageEncoderSettings settings = imageCapture->encodingSettings();
    settings.setCodec(boxValue(ui->imageCodecBox).toString());
    settings.setQuality(QMultimedia::EncodingQuality(ui->imageQualitySlider->value()));
    settings.setResolution(boxValue(ui->imageResolutionBox).toSize());
    return settings;
}

void ImageSettings::setImageSettings(const QImageEncoderSettings &settings)
{
    selectComboBoxItem(ui->imageCodecBox, settings.codec());
    selectComboBoxItem(ui->imageResolutionBox, settings.resolution());
    ui->imageQualitySlider->setValue(settings.quality());
}

QVariant ImageSettings::boxValue(const QComboBox *box) const
{
    return box->currentData();
}

void ImageSettings::selectComboBoxItem(QComboBox *box, const QVariant &value)
{
    for (int index = 0; index < box->count(); ++index) {
        if (box->itemData(index) == value) {
            box->setCurrentIndex(index);
            return;
        }
    }
}

void ImageSettings::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
}
