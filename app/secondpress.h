#pragma once

#include <QObject>
#include <QTimer>

class PixmapWidget;
class QMouseEvent;
class QToolBar;

/// Keeps a double click on the picture off the tool bar. The first press shows the tool bar; near
/// the window's top right it appears under the mouse, and the second press would hit one of its
/// buttons. Nobody aims at a button that quickly: until the time of a double click is over, mouse
/// events on the tool bar are passed on to the picture.
class SecondPress : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this object. The tool bar must already have its buttons.
    SecondPress(PixmapWidget *picture, QToolBar *bar);

    /// To be called when a press on the picture shows the hidden tool bar.
    void toolBarComes();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void passOn(const QMouseEvent &event) const;

    PixmapWidget *view;
    QTimer doubleClick; ///< since the press that showed the tool bar
    bool held = false;  ///< a press was passed on and its release has not come yet
};
