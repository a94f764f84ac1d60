#pragma once

#include <QObject>

class QKeyEvent;

/// An event filter of the application: finds auto-repeat presses that Qt takes for new ones.
///
/// Qt on X11 detects auto-repeat only if the next press is already queued; about one in six is
/// missed. Release and press then share a timestamp, in milliseconds; no finger is that quick. Such
/// a press is sent again as auto-repeat: it triggers only shortcuts that repeat.
class KeyRepeat : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void noteRelease(const QKeyEvent &release);
    bool isMissedRepeat(const QKeyEvent &press) const;

    int releasedKey = 0;
    ulong releasedAt = 0; ///< 0: not known
};
