// Preferences, image settings, help, update, system information, about.

#include "app/camera.h"

#include "dialogs/imagesettings.h"
#include "dialogs/preferences.h"

#include <QDesktopServices>
#include <QDesktopWidget>
#include <QMessageBox>
#include <QUrl>

namespace {

QUrl download(const QString &file)
{
    return QUrl(QStringLiteral("http://" KIVRA_DOWNLOAD_HOST "/downloads/") + file);
}

void showText(const QString &text)
{
    QMessageBox box;
    box.setText(text);
    box.exec();
}

QString sizeText(const QSize &size)
{
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

} // namespace

void Camera::on_actionPreferences_triggered()
{
    preferences dialog(this);
    dialog.exec();
}

void Camera::on_actionImageSettings_triggered()
{
    configureImageSettings();
}

// The dialog has no parent: it opens as a window of its own beside the picture.
void Camera::configureImageSettings()
{
    ImageSettings dialog(imageCapture.get(), nullptr);
    dialog.setImageSettings(imageSettings);
    if (dialog.exec() == QDialog::Accepted) {
        imageSettings = dialog.imageSettings();
        imageCapture->setEncodingSettings(imageSettings);
    }
}

// A desktop that cannot open the address says nothing, here and in the update.
void Camera::on_actionAide_triggered()
{
    QDesktopServices::openUrl(download(QStringLiteral("notice-KvQt.pdf")));
}

void Camera::on_actionMiseAJour_triggered()
{
    QDesktopServices::openUrl(download(QStringLiteral("KivraQt.dmg")));
}

void Camera::on_actionInfoSysteme_triggered()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const QSize screen = QDesktopWidget().availableGeometry(this).size();
    QT_WARNING_POP
    showText(QStringLiteral("Taille écran ") + sizeText(screen) + QLatin1Char('\n') +
             QStringLiteral("Taille image ") + sizeText(lastFrame.size()));
}

void Camera::on_actionA_propos_triggered()
{
    showText(QStringLiteral("Kivra multi-plateforme\n\nVersion ") + _versionNr);
}
