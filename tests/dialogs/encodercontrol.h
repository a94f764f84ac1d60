#pragma once

#include <QCameraImageCapture>
#include <QCameraImageCaptureControl>
#include <QImageEncoderControl>
#include <QMediaObject>
#include <QMediaService>

namespace kivra::test {

/// What a device's encoder offers, as the test says.
class EncoderControl : public QImageEncoderControl
{
    Q_OBJECT

public:
    QStringList supportedImageCodecs() const override
    {
        asked += QStringLiteral("codecs");
        return codecs;
    }
    QString imageCodecDescription(const QString &codec) const override
    {
        return QStringLiteral("format ") + codec.toUpper();
    }
    QList<QSize> supportedResolutions(const QImageEncoderSettings &of,
                                      bool *continuous) const override
    {
        asked += QStringLiteral("sizes");
        askedWithDefaults = askedWithDefaults && of.isNull();
        if (continuous)
            *continuous = false;
        return resolutions;
    }
    QImageEncoderSettings imageSettings() const override { return settings; }
    void setImageSettings(const QImageEncoderSettings &given) override
    {
        settings = given;
        ++timesSet;
    }

    QStringList codecs;
    QList<QSize> resolutions;
    QImageEncoderSettings settings;
    int timesSet = 0;
    mutable bool askedWithDefaults = true;
    mutable QStringList asked; ///< "codecs" or "sizes", as often as they were
};

/// Never captures anything; a capture object asks for it before it asks for an encoder.
class IdleCaptureControl : public QCameraImageCaptureControl
{
    Q_OBJECT

public:
    bool isReadyForCapture() const override { return false; }
    QCameraImageCapture::DriveMode driveMode() const override
    {
        return QCameraImageCapture::SingleImageCapture;
    }
    void setDriveMode(QCameraImageCapture::DriveMode) override {}
    int capture(const QString &) override { return -1; }
    void cancelCapture() override {}
};

class EncoderService : public QMediaService
{
    Q_OBJECT

public:
    EncoderService()
        : QMediaService(nullptr)
    {
    }

    QMediaControl *requestControl(const char *name) override
    {
        if (qstrcmp(name, QCameraImageCaptureControl_iid) == 0)
            return &idle;
        return qstrcmp(name, QImageEncoderControl_iid) == 0 ? &encoder : nullptr;
    }
    void releaseControl(QMediaControl *) override {}

    EncoderControl encoder;

private:
    IdleCaptureControl idle;
};

/// A device with an encoder, for capture objects.
class EncoderDevice : public QMediaObject
{
    Q_OBJECT

public:
    explicit EncoderDevice(EncoderService &service)
        : QMediaObject(nullptr, &service)
    {
    }
};

} // namespace kivra::test
