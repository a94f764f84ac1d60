#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace kivra::test {

/// A home of its own for one test program, so that nothing of the user's is read or written.
///
/// Must be made before the application object: it sets HOME, the XDG folders (with a Documents
/// folder), the C locale, UTC, the offscreen platform unless QT_QPA_PLATFORM says otherwise, and
/// hides the media services of the system, so that the machine's cameras play no part.
/// Ends the process with exit code 2 when a path that Qt reports lies outside the new home.
class Sandbox
{
public:
    Sandbox();

    /// The temporary home, without a trailing "/".
    QString home() const;
    /// The Documents folder in it, without a trailing "/".
    QString documents() const;
    /// Paths of all files below the Documents folder, in no order.
    QStringList storedFiles() const;
    /// Empties the settings store and the Documents folder.
    void reset() const;

    /// The sandbox of this process; it must exist.
    static const Sandbox &instance();

private:
    void hideMediaServices() const;
    void refuseToEscape() const;

    QTemporaryDir root;
};

/// Paths of all files in a folder and below, in no order.
QStringList filesBelow(const QString &folder);

} // namespace kivra::test
