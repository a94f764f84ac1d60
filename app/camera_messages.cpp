// What the window tells the user: the message on the picture and the status line.

#include "app/camera.h"

#include "storage/settings.h"
#include "ui_camera.h"

#include <QTimer>

namespace {

constexpr int messagePointSize = 32;
constexpr int statusMs = 2000;
constexpr QColor veil(255, 255, 255, 190); // keeps black letters readable on a dark picture

// A label keeps the size of its previous text. A line too long for the window is wrapped.
void fitToText(QLabel *label, int widest)
{
    label->setWordWrap(false);
    label->adjustSize();
    if (label->width() <= widest)
        return;
    label->setWordWrap(true);
    label->resize(widest, label->heightForWidth(widest));
}

} // namespace

void Camera::displayMsg(const QString &text)
{
    QLabel *const label = ui->msgDisplay;
    label->setParent(centralWidget()); // out of the view's layout, over the picture
    if (!settings::displayMsg.stored())
        return;
    QFont font = label->font();
    font.setPointSize(messagePointSize);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setBrush(QPalette::WindowText, Qt::black);
    palette.setBrush(QPalette::Window, veil);
    label->setPalette(palette);
    label->setAutoFillBackground(true);
    label->setText(text);
    fitToText(label, centralWidget()->width() - label->x());
    label->show();
    bTimer->start();
}

void Camera::bTimerSlot()
{
    ui->msgDisplay->hide();
}

void Camera::displayOnStatusBar(const QString &text)
{
    if (settings::displayStatus.stored())
        statusBar()->showMessage(text, statusMs);
}

void Camera::aTimerSlot()
{
    const auto shortNumber = [](double value) { return QString::number(value, 'g', 3); };
    displayOnStatusBar(QString::number(framesDisplayed) + QStringLiteral(" fps --- ") +
                       shortNumber(lastPixelCount * 1e-6) + QStringLiteral(" Mp --- traitement ") +
                       shortNumber(processingTimeMsPerMp) +
                       QStringLiteral(" ms/Mp --- affichage ") + shortNumber(displayTimeMsPerMp) +
                       QStringLiteral(" ms/Mp"));
    framesDisplayed = 0;
}
