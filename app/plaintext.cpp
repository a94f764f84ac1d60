#include "app/plaintext.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLabel>

PlainText::PlainText(QObject *parent)
    : QObject(parent)
{
    QCoreApplication::instance()->installEventFilter(this);
}

// A label is polished before its text is laid out, and only the layout follows markup.
bool PlainText::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Polish) {
        if (auto *const label = qobject_cast<QLabel *>(watched))
            label->setTextFormat(Qt::PlainText);
    }
    return QObject::eventFilter(watched, event);
}
