#pragma once

#include "tests/support/patience.h"

#include <QColor>
#include <QImage>
#include <QMargins>
#include <QPoint>
#include <QProcess>
#include <QSize>
#include <QStringList>
#include <QTemporaryDir>

namespace kivra::test {

/// A window manager on the X server of this test, and the built program in it, driven by X events.
///
/// The program is a copy in a folder of its own. Beside it are only the camera services that the
/// test asks for; it finds the machine's own only if the test asks for them, too. It gets the
/// test's environment variables.
class Desktop
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
    /// What the program wrote since the last call.
    QString log();

    /// Runs xdotool with these words, separated by blanks, and returns its output. Ends the process
    /// if xdotool fails.
    QString xdo(const QString &words) const;
    void key(const QString &name) const { xdo(QStringLiteral("key ") + name); }
    void moveTo(const QPoint &at) const;
    void click(const QPoint &at, int button = 1) const;
    void doubleClick(const QPoint &at) const;
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
    /// The content of the dialog that has the keyboard.
    QImage dialogContent() const;
    /// Where the content of the program's window begins on the screen.
    QPoint contentPosition() const;
    /// Saves the screen's content as a picture in the build folder.
    void keepScreenshot(const QString &name) const;

private:
    QString writeMargins(const QMargins &margins) const;
    QString activeWindow() const;
    static QImage contentOf(const QString &window);
    void clickIn(const QString &window, const QPoint &at) const;
    void placeProgram(Cameras cameras);

    QTemporaryDir folder;
    QProcess windowManager;
    QProcess program;
    QString windowId;
};

/// The smallest rectangle with all pixels of this colour (each channel within 2); empty if none is.
QRect extentOf(const QImage &picture, const QColor &colour);

} // namespace kivra::test
