// The four coefficients: brightness, contrast, mode setting and zoom.

#include "app/camera.h"
#include "app/coefficients.h"
#include "storage/settings.h"
#include "ui_camera.h"

void Camera::on_changeCoef(int coef, int value)
{
    QSettings store = settingsStore();
    switch (coef) {
    case 0:
        contraste = value;
        settings::contraste.write(store, value);
        displayMsg(QStringLiteral("contraste ") + QString::number(contraste));
        break;
    case 1:
        lumiere = value;
        settings::lumiere.write(store, value);
        displayMsg(QStringLiteral("lumiere ") + QString::number(lumiere));
        break;
    case 2:
        reglage = value;
        settings::reglage.write(store, value);
        displayMsg(QStringLiteral("reglage ") + QString::number(reglage));
        break;
    case 3:
        coefZoom = value;
        ui->displayWidget->setZoomFactor(float(value * 0.01));
        settings::zoom.write(store, value);
        displayMsg(QStringLiteral("zoom ") + QString::number(coefZoom * 0.01, 'g', 6));
        break;
    default:
        break;
    }
    updateDisplay();
}

void Camera::stepCoefficient(bool up)
{
    const int values[coefficientCount] = {contraste, lumiere, reglage, coefZoom};
    const bool isKnown = coefCourant >= 0 && coefCourant < coefficientCount;
    const int value = isKnown ? values[coefCourant] : 0;
    on_changeCoef(coefCourant, steppedCoefficient(coefCourant, value, up));
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
    on_changeCoef(coefCourant, resetCoefficient(coefCourant));
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
    settings::zoom.write(store, coefZoom);
    contraste = 100;
    settings::contraste.write(store, contraste);
    lumiere = 0;
    settings::lumiere.write(store, lumiere);
    reglage = 50;
    settings::reglage.write(store, reglage);

    displayMsg(QStringLiteral("réinit "));
    updateDisplay();
}
