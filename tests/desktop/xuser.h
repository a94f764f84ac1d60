#pragma once

#include <QPoint>
#include <QSize>
#include <QString>
#include <QWindow>
#include <memory>

struct xdo;

namespace kivra::test {

/// A user at the X server that DISPLAY names: presses its keys, moves its mouse and knows its
/// windows. Ends the process if the server refuses something.
class XUser
{
public:
    XUser();
    ~XUser();

    /// Presses and releases a key, such as "F5", several together, such as "ctrl+s", or several one
    /// after another, separated by blanks.
    void key(const QString &names) const;
    void holdKey(const QString &name) const;
    void releaseKey(const QString &name) const;

    void moveTo(const QPoint &at) const;
    /// The same, from the corner of the window's content.
    void moveTo(WId window, const QPoint &at) const;
    /// Presses the left button and holds it.
    void press() const;
    void release() const;
    void click(const QPoint &at, int button = 1) const;
    void click(WId window, const QPoint &at) const;
    void doubleClick(const QPoint &at) const;
    void doubleClick(WId window, const QPoint &at, int apartMs) const;

    /// The visible window of this name; 0 if there is none.
    WId windowNamed(const QString &name) const;
    /// The window that has the keyboard; 0 while the keyboard goes from one window to another.
    WId activeWindow() const;
    QString nameOf(WId window) const;
    /// Where the window's content begins on the screen. The library counts twice what the window
    /// manager adds above and beside it, so compare such positions only with each other.
    QPoint positionOf(WId window) const;
    QSize sizeOf(WId window) const;
    void hide(WId window) const;

private:
    struct Disconnect
    {
        void operator()(xdo *connected) const;
    };
    std::unique_ptr<xdo, Disconnect> server;
};

} // namespace kivra::test
