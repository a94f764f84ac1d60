#pragma once

#include "render/renderer.h"
#include "tests/desktop/desktop.h"

#include <QDir>
#include <QImage>
#include <QRect>
#include <memory>

namespace kivra::documents {

/// The running program with one moment of a demonstration scene under its camera: the picture
/// stands still, so that every run sees the same. Takes photographs of the program's windows, and
/// ends the process when the program does not show what it should.
class Studio
{
public:
    /// Pictures go into \a target.
    explicit Studio(const QDir &target);
    ~Studio();

    /// Starts the program before the demonstration device \a name and waits for its picture.
    void open(const QByteArray &name);
    /// Starts the program with \a page as a picture file.
    void openFile(const QImage &page);
    void close();

    /// Presses these keys, named as xdotool does and separated by blanks, one after the other.
    void press(const char *keys) const;
    /// The same for keys with a visible effect: waits for the effect of each.
    void pressAndSee(const char *keys) const;
    /// Waits until a dialog has the keyboard.
    void waitForDialog() const;
    /// Waits until the keyboard is back at the main window.
    void waitForMainWindow() const;

    /// Waits until the window shows the camera's picture with these \a settings, at a zoom of one.
    /// Keeps the part \a detail of it.
    void photographPicture(const char *name, const FrameSettings &settings,
                           const QRect &detail) const;
    /// Keeps the part \a detail of the opened page twice: reduced, as the starting window shows it,
    /// and as it would look with pixels left out.
    void photographReduced(const char *reduced, const char *leftOut, const QRect &detail) const;
    /// Waits until the screen stands still. Keeps the main window with its title bar and whatever
    /// lies over it, or \a part of that.
    void photographWindow(const char *name, const QRect &part = {}) const;
    /// Keeps the content of the dialog that has the keyboard.
    void photographDialog(const char *name) const;

    /// The size of the camera's picture.
    static constexpr QSize frameSize{960, 540};

private:
    void start(const QStringList &arguments);
    QPoint waitForPicture(const FrameSettings &settings) const;
    QImage waitForStandstill() const;
    void keep(const QImage &photograph, const char *name) const;

    const QDir target;
    std::unique_ptr<kivra::test::Desktop> desktop;
    QImage scene;
};

} // namespace kivra::documents
