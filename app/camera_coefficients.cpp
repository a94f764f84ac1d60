// The four coefficients: brightness, contrast, mode setting and zoom.

#include "app/camera.h"

#include "storage/settings.h"
#include "ui_camera.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double contrastStep = 1.2;
constexpr double zoomStep = 1.1892; // close to the fourth root of two: four steps double the zoom
constexpr int zoomSnap = 12;        // a step that lands nearer than this to 100 lands on 100

// A stored value may be any number; a step from it must not leave the range of int.
int truncated(double value)
{
    constexpr double limit = 1e9;
    return int(std::clamp(value, -limit, limit));
}

int snapped(int zoom)
{
    return std::abs(zoom - 100) < zoomSnap ? 100 : zoom;
}

struct Coefficient
{
    int reset;
    int lowest;
    int highest;
    int (*stepped)(int value, bool up);
};

constexpr int coefficientCount = 4;

// By the numbers of coefCourant.
const Coefficient coefficients[coefficientCount] = {
    {100, 10, 1000,
     [](int value, bool up) {
         return truncated(up ? value * contrastStep : value / contrastStep);
     }},
    {0, -100, 100, [](int value, bool up) { return truncated(value + (up ? 20.0 : -20.0)); }},
    {50, 0, 100, [](int value, bool up) { return truncated(value + (up ? 10.0 : -10.0)); }},
    {100, 12, 800,
     [](int value, bool up) {
         return snapped(truncated(up ? value * zoomStep : value / zoomStep));
     }},
};

bool isCoefficient(int number)
{
    return number >= 0 && number < coefficientCount;
}

} // namespace

void Camera::on_changeCoef(int coef, int value)
{
    QSettings store = settingsStore();
    switch (coef) {
    case 0:
        contraste = value;
        store.setValue(QStringLiteral("params/contraste"), value);
        displayMsg(QStringLiteral("contraste ") + QString::number(contraste));
        break;
    case 1:
        lumiere = value;
        store.setValue(QStringLiteral("params/lumiere"), value);
        displayMsg(QStringLiteral("lumiere ") + QString::number(lumiere));
        break;
    case 2:
        reglage = value;
        store.setValue(QStringLiteral("params/reglage"), value);
        displayMsg(QStringLiteral("reglage ") + QString::number(reglage));
        break;
    case 3:
        coefZoom = value;
        ui->displayWidget->setZoomFactor(float(value * 0.01));
        store.setValue(QStringLiteral("params/zoom"), value);
        displayMsg(QStringLiteral("zoom ") + QString::number(coefZoom * 0.01, 'g', 6));
        break;
    default:
        break;
    }
    updateDisplay();
}

void Camera::stepCoefficient(bool up)
{
    if (!isCoefficient(coefCourant)) {
        on_changeCoef(coefCourant, 0);
        return;
    }
    const int values[coefficientCount] = {contraste, lumiere, reglage, coefZoom};
    const Coefficient &coefficient = coefficients[coefCourant];
    const int candidate = coefficient.stepped(values[coefCourant], up);
    on_changeCoef(coefCourant,
                  std::max(std::min(candidate, coefficient.highest), coefficient.lowest));
}

void Camera::on_incCoef()
{
    stepCoefficient(true);
}

void Camera::on_decCoef()
{
    stepCoefficient(false);
}

void Camera::on_resetCoef()
{
    on_changeCoef(coefCourant, isCoefficient(coefCourant) ? coefficients[coefCourant].reset : 0);
}

void Camera::on_actionIncCoef_triggered()
{
    on_incCoef();
}

void Camera::on_actionDecCoef_triggered()
{
    on_decCoef();
}

void Camera::on_actionResetCoef_triggered()
{
    on_resetCoef();
}

// The focus goes to the window, so that its keys step the coefficient.
void Camera::selectCoefficient(int coefficient, const QString &message)
{
    coefCourant = coefficient;
    setFocus(Qt::OtherFocusReason);
    displayMsg(message);
}

void Camera::on_actionContraste_triggered()
{
    selectCoefficient(0, QStringLiteral("contraste "));
}

void Camera::on_actionLumiere_triggered()
{
    selectCoefficient(1, QStringLiteral("lumière "));
}

void Camera::on_actionReglageCourant_triggered()
{
    selectCoefficient(2, QStringLiteral("réglage "));
}

void Camera::on_actionZoom_triggered()
{
    selectCoefficient(3, QStringLiteral("zoom "));
}

void Camera::on_actionReinit_triggered()
{
    imageProcessing = 0;
    displayMode = 0;
    modeTailleFenetre = 2; // the last preset, so that the step goes to the first
    on_actionTailleFenetre_triggered();

    QSettings store = settingsStore();
    coefZoom = 100;
    ui->displayWidget->setZoomFactor(1.0F);
    store.setValue(QStringLiteral("params/zoom"), coefZoom);
    contraste = 100;
    store.setValue(QStringLiteral("params/contraste"), contraste);
    lumiere = 0;
    store.setValue(QStringLiteral("params/lumiere"), lumiere);
    reglage = 50;
    store.setValue(QStringLiteral("params/reglage"), reglage);

    displayMsg(QStringLiteral("réinit "));
    updateDisplay();
}
