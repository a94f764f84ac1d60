#pragma once

#include "cameras/service/camerasession.h"

#include <QImageEncoderControl>

namespace kivra::cameras {

/// The wanted codec, resolution and quality of still pictures.
///
/// Stores what it is given; whether the device offers it is checked when a picture is taken.
class StillSettings : public QImageEncoderControl
{
    Q_OBJECT

public:
    explicit StillSettings(CameraSession &session);

    QStringList supportedImageCodecs() const override;
    QString imageCodecDescription(const QString &codec) const override;
    /// The device's sizes, whatever \a settings say; \a continuous becomes false.
    QList<QSize> supportedResolutions(const QImageEncoderSettings &settings,
                                      bool *continuous) const override;
    QImageEncoderSettings imageSettings() const override;
    void setImageSettings(const QImageEncoderSettings &settings) override;

private:
    CameraSession &session;
    QImageEncoderSettings current;
};

} // namespace kivra::cameras
