#include "cameras/service/stillsettings.h"

namespace kivra::cameras {

StillSettings::StillSettings(CameraSession &owner)
    : session(owner)
{
}

QStringList StillSettings::supportedImageCodecs() const
{
    return session.source() ? session.source()->stillCodecs() : QStringList();
}

QString StillSettings::imageCodecDescription(const QString &codec) const
{
    if (codec == QLatin1String("jpeg"))
        return tr("Image JPEG (compacte)");
    if (codec == QLatin1String("png"))
        return tr("Image PNG (sans perte)");
    return supportedImageCodecs().contains(codec) ? tr("Image %1").arg(codec.toUpper()) : QString();
}

QList<QSize> StillSettings::supportedResolutions(const QImageEncoderSettings &settings,
                                                 bool *continuous) const
{
    Q_UNUSED(settings)
    if (continuous)
        *continuous = false;
    return session.source() ? session.source()->stillResolutions() : QList<QSize>();
}

QImageEncoderSettings StillSettings::imageSettings() const
{
    return current;
}

void StillSettings::setImageSettings(const QImageEncoderSettings &settings)
{
    current = settings;
}

} // namespace kivra::cameras
