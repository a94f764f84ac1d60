#include "app/devicemenu.h"

#include <QActionGroup>
#include <QCamera>
#include <QMenu>

namespace {

QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED

// Two services may list the same camera; Qt opens it with the first.
QList<QByteArray> presentIdentifiers()
{
    QList<QByteArray> different;
    const QList<QByteArray> all = QCamera::availableDevices();
    for (const QByteArray &identifier : all) {
        if (!different.contains(identifier))
            different.append(identifier);
    }
    return different;
}

// In a menu, a single "&" would underline the next letter.
QString titleOf(const QByteArray &identifier)
{
    return QCamera::deviceDescription(identifier).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QT_WARNING_POP

} // namespace

DeviceMenu::DeviceMenu(QMenu *list, QObject *window)
    : QObject(window)
    , menu(list)
    , actions(new QActionGroup(window))
{
    actions->setExclusive(true);
    update({});
}

QByteArray DeviceMenu::chooseFirst()
{
    if (actions->actions().isEmpty())
        return {};
    QAction *const first = actions->actions().constFirst();
    first->setChecked(true);
    return first->data().toByteArray();
}

void DeviceMenu::update(const QByteArray &open)
{
    const QList<QByteArray> present = presentIdentifiers();
    if (present.contains(open))
        follow(open);
    for (const QByteArray &identifier : present) {
        const QString title = titleOf(identifier);
        QAction *known = find(identifier);
        if (!known)
            known = findGone(title, present);
        if (!known) {
            add(identifier, title);
            continue;
        }
        known->setData(identifier);
        known->setText(title);
    }
    const QList<QAction *> all = actions->actions();
    for (QAction *action : all)
        action->setEnabled(present.contains(action->data().toByteArray()));
    if (QAction *const shown = find(open))
        shown->setChecked(true);
}

QAction *DeviceMenu::find(const QByteArray &identifier) const
{
    const QList<QAction *> all = actions->actions();
    for (QAction *action : all) {
        if (action->data().toByteArray() == identifier)
            return action;
    }
    return nullptr;
}

QAction *DeviceMenu::findGone(const QString &title, const QList<QByteArray> &present) const
{
    const QList<QAction *> all = actions->actions();
    for (QAction *action : all) {
        if (action->text() == title && !present.contains(action->data().toByteArray()))
            return action;
    }
    return nullptr;
}

// The open camera may have come back under an identifier that another one had before.
void DeviceMenu::follow(const QByteArray &open)
{
    QAction *const checked = actions->checkedAction();
    if (!checked || checked->data().toByteArray() == open)
        return;
    if (QAction *const other = find(open))
        other->setData(checked->data());
    checked->setData(open);
}

void DeviceMenu::add(const QByteArray &identifier, const QString &title)
{
    auto *const action = new QAction(title, actions);
    action->setCheckable(true);
    action->setData(identifier);
    menu->addAction(action);
}
