#pragma once

#include "tests/app/window.h"
#include "tests/support/sandbox.h"

#include <QObject>
#include <memory>

namespace kivra::test {

/// \name Titles and texts of boxes
/// @{
inline const QString openFailure = QStringLiteral("échec chargement de fichier");
inline const QString openFailureText =
    QStringLiteral("impossible d'ouvrir l'image "); ///< a path follows
inline const QString cameraError = QStringLiteral("Camera error");
/// @}

/// All that a camera can lock.
inline constexpr QCamera::LockTypes allLocks =
    QCamera::LockFocus | QCamera::LockExposure | QCamera::LockWhiteBalance;

/// What most tests of the window share: the test cameras, the boxes that are expected, the window.
/// After each test function the window goes, and every expected box must have come.
class WindowTest : public QObject
{
    Q_OBJECT

protected:
    /// For init(): nothing stored, nothing to open, the test camera as TestCamera::reset() leaves
    /// it, no box expected and no window yet.
    void begin();
    /// Plugs in two cameras, "un" and "deux".
    static void plugInTwo();
    /// Opens the window and waits until its camera can take pictures.
    void openWindow();
    /// Chooses the camera of this number, from 0, in the window's menu.
    void chooseDevice(int number) const;

    /// Presses a key and auto-repeats it this many times, without a pause.
    void hold(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, int repeats = 6) const;

    /// Expects a warning of this title above the window, with OK alone, and answers it by
    /// the key of its default button.
    void expectWarning(const QString &title);

    /// Paths of all files in the folder of documents.
    static QStringList storedFiles() { return Sandbox::instance().storedFiles(); }
    static TestCamera &device() { return TestCamera::instance(); }

    std::unique_ptr<Boxes> boxes;
    std::unique_ptr<Window> window;

private slots:
    void cleanup();
};

} // namespace kivra::test
