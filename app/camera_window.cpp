// The window on the screen: size presets, tool bar, trace of the screen's geometry.

#include "app/camera.h"

#include "app/secondpress.h"
#include "ui_camera.h"

#include <QDebug>
#include <QDesktopWidget>
#include <QGuiApplication>
#include <QScreen>

namespace {

constexpr int lastPreset = 2;

} // namespace

// Presets 1 and 2 go to the desktop's origin; the window system moves them below a menu bar.
void Camera::on_actionTailleFenetre_triggered()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const QRect available = QDesktopWidget().availableGeometry(this);
    QT_WARNING_POP
    qDebug() << "screen size" << available;
    qDebug() << "screen orientation" << QGuiApplication::screens().constFirst()->orientation();

    modeTailleFenetre = modeTailleFenetre < lastPreset ? modeTailleFenetre + 1 : 0;
    qDebug() << modeTailleFenetre;

    // The window system would not resize a maximised window.
    setWindowState(windowState() & ~(Qt::WindowMaximized | Qt::WindowFullScreen));
    switch (modeTailleFenetre) {
    case 0:
        resize(int(float(available.width()) * 0.7F), int(float(available.height()) * 0.7F));
        move(int(float(available.width() - width()) * 0.5F),
             int(float(available.height() - height()) * 0.5F));
        break;
    case 1:
        resize(available.width(), int(available.height() * 0.65));
        move(0, 0);
        break;
    case 2:
        resize(available.size());
        move(0, 0);
        break;
    }
}

void Camera::on_actionMenu_graphique_triggered()
{
    ui->toolBar->setVisible(!ui->toolBar->isVisible());
}

void Camera::show_Menu_graphique(bool show)
{
    if (show && !ui->toolBar->isVisible())
        secondPress->toolBarComes();
    ui->toolBar->setVisible(show);
}

// A detached tool bar is a window of its own; a click on one of its buttons gives it the keyboard.
void Camera::takeKeyboardFromToolBar()
{
    if (ui->toolBar->isFloating())
        activateWindow();
}

void Camera::orientationEcran(QRect geometry)
{
    qDebug() << geometry;
    const QScreen *const screen = QGuiApplication::screens().constFirst();
    qDebug() << screen->angleBetween(screen->nativeOrientation(), screen->orientation());
}
