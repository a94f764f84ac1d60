#pragma once

#include <QObject>
#include <QTimer>

class PixmapWidget;
class QMouseEvent;
class QToolBar;

/// Keeps a double click on the picture off the tool bar. The first press brings the tool bar, near
/// the window's top right under the mouse, where the second would press one of its buttons. Nobody
/// aims at a button within the time of a double click: until it is over, what the mouse does on the
/// tool bar is passed on to the picture.
class SecondPress : public QObject
{
    Q_OBJECT

public:
    /// Both live as long as this object. The tool bar has its buttons.
    SecondPress(PixmapWidget *picture, QToolBar *bar);

    /// A press on the picture brings the tool bar, which has been hidden.
    void toolBarComes();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void passOn(const QMouseEvent &event) const;

    PixmapWidget *view;
    QTimer doubleClick; ///< since the press that has brought the tool bar
    bool held = false;  ///< a press was passed on and its release has not come yet
};
