#include "cameras/service/exposurecontrol.h"

#include <QPointer>
#include <cmath>

namespace kivra::cameras {

namespace {

constexpr double limit = 2;
constexpr double step = 0.5;

} // namespace

ExposureControl::ExposureControl(CameraSession &owner)
    : session(owner)
{
    connect(&session, &CameraSession::sourceChanged, this, &ExposureControl::applyToSource);
}

bool ExposureControl::isParameterSupported(ExposureParameter parameter) const
{
    return parameter == ExposureCompensation &&
           (!session.source() || session.source()->canCompensateExposure());
}

QVariantList ExposureControl::supportedParameterRange(ExposureParameter parameter,
                                                      bool *continuous) const
{
    if (continuous)
        *continuous = false;
    QVariantList values;
    if (isParameterSupported(parameter)) {
        for (int i = static_cast<int>(-limit / step); i * step <= limit; ++i)
            values.append(i * step);
    }
    return values;
}

QVariant ExposureControl::requestedValue(ExposureParameter parameter) const
{
    return isParameterSupported(parameter) ? QVariant(requested) : QVariant();
}

QVariant ExposureControl::actualValue(ExposureParameter parameter) const
{
    return isParameterSupported(parameter) ? QVariant(actual) : QVariant();
}

bool ExposureControl::setValue(ExposureParameter parameter, const QVariant &value)
{
    bool isNumber = false;
    const double ev = value.toDouble(&isNumber);
    if (!isParameterSupported(parameter) || !isNumber || !std::isfinite(ev))
        return false;
    const double nearest = std::round(qBound(-limit, ev, limit) / step) * step;
    const bool requestChanges = !qFuzzyCompare(1 + limit + ev, 1 + limit + requested);
    const bool pictureChanges = !qFuzzyCompare(1 + limit + nearest, 1 + limit + actual);
    requested = ev;
    actual = nearest;
    if (pictureChanges)
        applyToSource();
    const QPointer<ExposureControl> alive(this);
    if (requestChanges)
        emit requestedValueChanged(parameter);
    if (alive && pictureChanges)
        emit actualValueChanged(parameter);
    return true;
}

void ExposureControl::applyToSource()
{
    if (session.source())
        session.source()->setExposureCompensation(actual);
}

} // namespace kivra::cameras
