#include "tests/support/dialogwatch.h"

#include <QCoreApplication>
#include <QDialog>
#include <QEvent>
#include <QPointer>
#include <QTimer>

namespace kivra::test {

DialogWatch::DialogWatch()
{
    QCoreApplication::instance()->installEventFilter(this);
}

bool DialogWatch::eventFilter(QObject *watched, QEvent *event)
{
    auto *const dialog = qobject_cast<QDialog *>(watched);
    if (dialog && event->type() == QEvent::Show && dialog->isModal()) {
        QTimer::singleShot(0, this, [this, guarded = QPointer<QDialog>(dialog)] {
            if (guarded && guarded->isVisible())
                opened(guarded);
        });
    }
    return QObject::eventFilter(watched, event);
}

} // namespace kivra::test
