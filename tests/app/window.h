#pragma once

#include "app/camera.h"
#include "tests/support/boxes.h"
#include "tests/support/probe.h"
#include "tests/support/testcamera.h"

#include <QAction>
#include <QTest>

namespace kivra::test {

/// The program's window as a user has it: made, shown and on the screen.
class Window : public Camera
{
public:
    Window();

    CameraProbe probe{*this};

    /// The object of this name and type; ends the program if there is none.
    template<typename T>
    T *find(const char *name) const
    {
        auto *const found = findChild<T *>(QLatin1String(name));
        if (!found)
            qFatal("the window has no %s", name);
        return found;
    }
    QAction *action(const char *name) const { return find<QAction>(name); }
    /// Does what a click on the action does. Ends the program if the action is disabled.
    void trigger(const char *name) const;
    /// Calls a slot by name, as a signal would.
    template<typename... Arguments>
    void call(const char *slot, Arguments... arguments)
    {
        if (!QMetaObject::invokeMethod(this, slot, Qt::DirectConnection, arguments...))
            qFatal("the window has no slot %s", slot);
    }
    /// Opens this file, and returns when the outcome is known.
    void open(const QString &path);
    /// Presses this key, and returns when no file is being opened any more.
    void pressAndWait(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    QString statusText() const;
    /// For how long the status bar shows its present text, in all; 0 if it stays until the next
    /// one.
    int statusTimeMs() const;
    /// The message on the picture; empty when none is shown.
    QString messageText() const;
    /// The middle of the view, of this size: all of a picture of this size at its own scale.
    QImage shownPicture(const QSize &size) const;
};

/// Writes a setting as another program would.
void storeSetting(const QString &key, const QVariant &value);

} // namespace kivra::test
