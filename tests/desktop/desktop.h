#pragma once

#include "tests/desktop/xuser.h"
#include "tests/support/patience.h"

#include <QColor>
#include <QImage>
#include <QMargins>
#include <QProcess>
#include <QRect>
#include <QSize>
#include <QStringList>
#include <QTemporaryDir>

namespace kivra::test {

/// The user at the X server of this test, a window manager on it, and the built program.
///
/// The program is a copy in a folder of its own. Beside it are only the camera services that the
/// test asks for; it finds the machine's own only if the test asks for them, too. It gets the
/// test's environment variables.
class Desktop : public XUser
{
public:
    /// Which cameras the program may find.
    enum class Cameras {
        Demonstration,
        Video,            ///< the kernel's
        VideoAndMachines, ///< those of the machine's media services too
        VideoAndDemonstration,
    };

    /// The window manager keeps \a margins of the screen free of windows.
    explicit Desktop(Cameras cameras = Cameras::Demonstration, const QMargins &margins = {});
    ~Desktop();

    /// Sets an environment variable of the program alone, from its next start on.
    void setVariable(const QString &name, const QString &value);

    /// Starts the program and waits for its window; false if none came.
    bool start(const QStringList &arguments = {});
    /// Ends the program as its window's close button would. Returns its exit code, or -1 if it had
    /// to be killed.
    int close();
    bool running() const { return program.state() == QProcess::Running; }
    /// What the program has in its memory, such as libraries and plug-ins, with their paths.
    QByteArray loadedFiles() const;
    /// What the program wrote since the last call.
    QString log();

    /// A left click at a place relative to the corner of the window's content.
    void clickInWindow(const QPoint &at) const;
    /// The same in the dialog that has the keyboard.
    void clickInDialog(const QPoint &at) const;

    /// Waits until a dialog or box of the program has the keyboard; false if none came.
    bool waitForDialog() const;
    /// Waits until the program's main window has the keyboard; false if it does not get it.
    bool waitForMainWindow() const;

    /// The content of the screen.
    QImage screen() const;
    /// The content of the program's window, without what the window manager adds around it.
    QImage windowContent() const;
    /// A part of it, for questions that are asked often.
    QImage windowContent(const QRect &part) const;
    QSize windowSize() const;
    /// The content of the dialog that has the keyboard.
    QImage dialogContent() const;
    /// Where the content of the program's window begins on the screen, as positionOf() tells it.
    QPoint contentPosition() const;
    /// Saves the screen's content as a picture in the build folder.
    void keepScreenshot(const QString &name) const;

private:
    QString writeMargins(const QMargins &margins) const;
    static QImage contentOf(WId window, const QRect &part = {0, 0, -1, -1});
    void placeProgram(Cameras cameras);

    QTemporaryDir folder;
    QProcess windowManager;
    QProcess program;
    WId window = 0;
};

/// The smallest rectangle with all pixels of this colour (each channel within 2); empty if none is.
QRect extentOf(const QImage &picture, const QColor &colour);

} // namespace kivra::test
