#pragma once

#include <QDialog>
#include <QImageEncoderSettings>
#include <QVariant>
#include <memory>

class QCameraImageCapture;
class QComboBox;
class Ui_ImageSettingsUi;

/// Lets the user choose how the camera writes its own stills: resolution, format and quality, out
/// of what the capture object offers. Made for one use, run with exec(). It applies nothing by
/// itself: when it is accepted, the caller reads imageSettings().
class ImageSettings : public QDialog
{
    Q_OBJECT

public:
    /// Offers what \a capture supports. The first item of each list leaves the choice to the
    /// camera. \a capture is not owned, not null, and outlives the dialog. \a parent may be null.
    explicit ImageSettings(QCameraImageCapture *capture, QWidget *parent = nullptr);
    ~ImageSettings() override;

    /// The capture object's present settings with the codec, quality and resolution shown here. The
    /// first items give an empty codec and an invalid size.
    QImageEncoderSettings imageSettings() const;
    /// Shows \a settings. A codec or resolution that is not offered leaves its box as it is; a
    /// quality out of range goes to the nearest end.
    void setImageSettings(const QImageEncoderSettings &settings);

    /// Data of the item shown by \a box; invalid when the box shows none.
    QVariant boxValue(const QComboBox *box) const;
    /// Selects the first item whose data equals \a value; if there is none, the selection stays.
    void selectComboBoxItem(QComboBox *box, const QVariant &value);

protected:
    void changeEvent(QEvent *event) override;

private:
    void logSupport() const;
    void offerCodecs();
    void offerResolutions();
    void nameForScreenReaders();

    std::unique_ptr<Ui_ImageSettingsUi> ui;
    QCameraImageCapture *imageCapture;
};
