#include "app/keyrepeat.h"

#include <QCoreApplication>
#include <QKeyEvent>

namespace {

void passOnAsRepeated(const QKeyEvent &press, QObject *receiver)
{
    QKeyEvent repeated(QEvent::KeyPress, press.key(), press.modifiers(), press.nativeScanCode(),
                       press.nativeVirtualKey(), press.nativeModifiers(), press.text(), true,
                       ushort(press.count()));
    repeated.setTimestamp(press.timestamp());
    QCoreApplication::sendEvent(receiver, &repeated);
}

} // namespace

bool KeyRepeat::eventFilter(QObject *watched, QEvent *event)
{
    if (!watched->isWindowType()) // windows get each key first
        return false;
    switch (event->type()) {
    case QEvent::KeyRelease:
        noteRelease(*static_cast<QKeyEvent *>(event));
        return false;
    case QEvent::ShortcutOverride:
        if (!isMissedRepeat(*static_cast<QKeyEvent *>(event)))
            return false;
        event->accept(); // no shortcut lookup now; the press below gets its own, as auto-repeat
        return true;
    case QEvent::KeyPress:
        if (!isMissedRepeat(*static_cast<QKeyEvent *>(event)))
            return false;
        passOnAsRepeated(*static_cast<QKeyEvent *>(event), watched);
        return true;
    default:
        return false;
    }
}

void KeyRepeat::noteRelease(const QKeyEvent &release)
{
    releasedKey = release.key();
    releasedAt = release.timestamp();
}

bool KeyRepeat::isMissedRepeat(const QKeyEvent &press) const
{
    return !press.isAutoRepeat() && press.timestamp() != 0 && press.timestamp() == releasedAt &&
           press.key() == releasedKey;
}
