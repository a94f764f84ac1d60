#pragma once

#include <QByteArray>
#include <QObject>

class QAction;
class QActionGroup;
class QMenu;
class QString;

/// The cameras in a menu: one checkable action for each identifier that Qt knows, with the
/// identifier as its data, behind what the menu has already.
class DeviceMenu : public QObject
{
    Q_OBJECT

public:
    /// Lists the cameras that are there, in Qt's order, none checked. The group of the actions
    /// belongs to \a window, and so does this.
    DeviceMenu(QMenu *list, QObject *window);

    /// Exclusive; its triggered() tells of the user's choice.
    QActionGroup *group() const { return actions; }

    /// Checks the first camera. Returns its identifier, empty when there is none.
    QByteArray chooseFirst();

    /// Brings the list up to date. What arrived comes last; what went is disabled; each keeps its
    /// place, also when it comes back with another identifier. The check mark is at the camera
    /// \a open; when that is not among those present, it stays where it was.
    void update(const QByteArray &open);

private:
    QAction *find(const QByteArray &identifier) const;
    QAction *findGone(const QString &title, const QList<QByteArray> &present) const;
    void follow(const QByteArray &open);
    void add(const QByteArray &identifier, const QString &title);

    QMenu *menu;
    QActionGroup *actions;
};
