#include "app/accessibility.h"

#include "ui_camera.h"

#include <QProxyStyle>
#include <QStyleOptionMenuItem>

namespace {

// Some styles highlight a menu's title only once the menu is open: after Alt, nothing shows where
// the keyboard is.
class VisibleSelection : public QProxyStyle
{
public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        const auto *const item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
        if (element != CE_MenuBarItem || !item || !item->state.testFlag(State_Selected)) {
            QProxyStyle::drawControl(element, option, painter, widget);
            return;
        }
        QStyleOptionMenuItem open(*item);
        open.state |= State_Sunken;
        QProxyStyle::drawControl(element, &open, painter, widget);
    }
};

void nameButton(const Ui_Camera &form, QAction *action, const QString &name)
{
    form.toolBar->widgetForAction(action)->setAccessibleName(name);
}

} // namespace

void makeAccessible(QMainWindow *window, const Ui_Camera &form)
{
    form.displayWidget->setAccessibleName(QStringLiteral("Image"));
    form.menubar->setAccessibleName(QStringLiteral("Menus"));
    form.toolBar->setAccessibleDescription(QStringLiteral("Barre d’outils")); // named by its title
    form.statusbar->setAccessibleName(QStringLiteral("Barre d’état"));
    nameButton(form, form.actionCamera, QStringLiteral("Démarrer ou arrêter la caméra"));
    nameButton(form, form.actionResetCoef, QStringLiteral("Réglage choisi : valeur de départ"));
    nameButton(form, form.actionIncCoef, QStringLiteral("Réglage choisi : plus"));
    nameButton(form, form.actionDecCoef, QStringLiteral("Réglage choisi : moins"));
    nameButton(form, form.actionExit, QStringLiteral("Quitter"));

    auto *const style = new VisibleSelection;
    style->setParent(window);
    form.menubar->setStyle(style);
}
