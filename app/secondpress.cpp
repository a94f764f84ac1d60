#include "app/secondpress.h"

#include "display/pixmapwidget.h"

#include <QCoreApplication>
#include <QMouseEvent>
#include <QToolBar>

SecondPress::SecondPress(PixmapWidget *picture, QToolBar *bar)
    : view(picture)
{
    doubleClick.setSingleShot(true);
    bar->installEventFilter(this);
    for (QWidget *button : bar->findChildren<QWidget *>())
        button->installEventFilter(this);
}

void SecondPress::toolBarComes()
{
    doubleClick.start(PixmapWidget::doubleClickMs);
}

bool SecondPress::eventFilter(QObject *, QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        held = doubleClick.isActive();
        break;
    case QEvent::MouseMove:
    case QEvent::MouseButtonRelease:
        break;
    default:
        return false;
    }
    if (!held)
        return false;
    if (event->type() == QEvent::MouseButtonRelease)
        held = false;
    passOn(*static_cast<QMouseEvent *>(event));
    return true;
}

void SecondPress::passOn(const QMouseEvent &event) const
{
    QMouseEvent passed(event.type(), view->mapFromGlobal(event.globalPos()), event.globalPos(),
                       event.button(), event.buttons(), event.modifiers());
    QCoreApplication::sendEvent(view, &passed);
}
