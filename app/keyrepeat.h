#pragma once

#include <QObject>

class QKeyEvent;

/// An event filter of the application: makes the repeated presses of a held key known as such.
///
/// Qt knows them under X11 by the press behind each release, if that has been read already; about
/// one in six is not, and is taken for a new press. The X server gives both the same time, in
/// milliseconds, which no finger is quick enough for. Such a press is passed on as a repeated one,
/// and is looked up as no shortcut.
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
