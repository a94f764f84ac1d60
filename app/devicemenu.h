#pragma once

#include <QByteArray>
#include <QObject>

class QAction;
class QActionGroup;
class QMenu;
class QString;

/// The cameras in a menu: one checkable action for each identifier that Qt knows, with the
/// identifier as its data, after the menu's other entries.
class DeviceMenu : public QObject
{
    Q_OBJECT

public:
    /// Lists the cameras that are there, in Qt's order, none checked. The group of the actions
    /// belongs to \a window, and so does this.
    DeviceMenu(QMenu *list, QObject *window);

    /// Exclusive; triggered() reports the user's choice.
    QActionGroup *group() const { return actions; }

    /// Checks the first camera. Returns its identifier, empty when there is none.
    QByteArray chooseFirst();

    /// Brings the list up to date. A new camera comes last; one that is gone is disabled. Each
    /// keeps its place, even if it comes back with another identifier. Checks the camera \a open if
    /// it is present; otherwise the check mark stays.
    void update(const QByteArray &open);

private:
    QAction *find(const QByteArray &identifier) const;
    QAction *findGone(const QString &title, const QList<QByteArray> &present) const;
    void follow(const QByteArray &open);
    void add(const QByteArray &identifier, const QString &title);

    QMenu *menu;
    QActionGroup *actions;
};
