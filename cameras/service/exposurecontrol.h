#pragma once

#include "cameras/service/camerasession.h"

#include <QCameraExposureControl>

namespace kivra::cameras {

/// Exposure compensation from -2 to +2 EV in half steps; no other parameter of exposure.
class ExposureControl : public QCameraExposureControl
{
    Q_OBJECT

public:
    explicit ExposureControl(CameraSession &session);

    bool isParameterSupported(ExposureParameter parameter) const override;
    /// The nine steps as doubles; empty for other parameters. \a continuous becomes false.
    QVariantList supportedParameterRange(ExposureParameter parameter,
                                         bool *continuous) const override;
    /// What was last asked for, in EV; invalid for other parameters.
    QVariant requestedValue(ExposureParameter parameter) const override;
    /// The nearest step to that value.
    QVariant actualValue(ExposureParameter parameter) const override;
    /// Asks for \a value in EV; false if it is not a number, or for another parameter.
    bool setValue(ExposureParameter parameter, const QVariant &value) override;

private:
    void applyToSource();

    CameraSession &session;
    double requested = 0;
    double actual = 0;
};

} // namespace kivra::cameras
