#include "tests/desktop/xuser.h"

#include "tests/support/patience.h"

#include <QProcess>
#include <cstdlib>

extern "C" { // the header is for C
#include <xdo.h>
}

namespace kivra::test {

namespace {

void check(int outcome, const char *what)
{
    if (outcome != XDO_SUCCESS)
        qFatal("the X server refuses: %s", what);
}

// A process for each input: while it starts, the window manager and the program get as far as they
// would between two inputs of a person, on a busy machine too.
void input(const QString &words)
{
    QProcess xdotool;
    xdotool.start(QStringLiteral("xdotool"), words.split(QLatin1Char(' ')));
    xdotool.waitForFinished(patienceMs);
    if (xdotool.exitStatus() != QProcess::NormalExit || xdotool.exitCode() != 0)
        qFatal("xdotool %s failed", qPrintable(words));
}

QString pair(const QPoint &at)
{
    return QStringLiteral("%1 %2").arg(at.x()).arg(at.y());
}

QString place(WId window, const QPoint &at)
{
    return QStringLiteral("--window %1 ").arg(window) + pair(at);
}

} // namespace

void XUser::Disconnect::operator()(xdo *connected) const
{
    xdo_free(connected);
}

XUser::XUser()
    : server(xdo_new(nullptr))
{
    if (!server)
        qFatal("no X server");
    server->quiet = 1; // questions are asked again and again until the answer is as awaited
}

XUser::~XUser() = default;

void XUser::key(const QString &names) const
{
    input(QStringLiteral("key ") + names);
}

void XUser::holdKey(const QString &name) const
{
    input(QStringLiteral("keydown ") + name);
}

void XUser::releaseKey(const QString &name) const
{
    input(QStringLiteral("keyup ") + name);
}

void XUser::moveTo(const QPoint &at) const
{
    input(QStringLiteral("mousemove ") + pair(at));
}

void XUser::moveTo(WId window, const QPoint &at) const
{
    input(QStringLiteral("mousemove ") + place(window, at));
}

void XUser::press() const
{
    input(QStringLiteral("mousedown 1"));
}

void XUser::release() const
{
    input(QStringLiteral("mouseup 1"));
}

void XUser::click(const QPoint &at, int button) const
{
    input(QStringLiteral("mousemove %1 click %2").arg(pair(at)).arg(button));
}

void XUser::click(WId window, const QPoint &at) const
{
    input(QStringLiteral("mousemove %1 click 1").arg(place(window, at)));
}

void XUser::doubleClick(const QPoint &at) const
{
    input(QStringLiteral("mousemove %1 click --repeat 2 --delay 100 1").arg(pair(at)));
}

void XUser::doubleClick(WId window, const QPoint &at, int apartMs) const
{
    input(QStringLiteral("mousemove %1 click --repeat 2 --delay %2 1")
              .arg(place(window, at))
              .arg(apartMs));
}

WId XUser::windowNamed(const QString &name) const
{
    const QByteArray pattern = '^' + name.toUtf8() + '$';
    xdo_search_t search = {};
    search.searchmask = SEARCH_NAME | SEARCH_ONLYVISIBLE;
    search.require = xdo_search::SEARCH_ALL;
    search.winname = pattern.constData();
    search.only_visible = 1;
    search.max_depth = -1;
    search.limit = 1;
    Window *found = nullptr;
    unsigned int count = 0;
    xdo_search_windows(server.get(), &search, &found, &count);
    const WId window = count > 0 ? found[0] : 0;
    std::free(found);
    return window;
}

WId XUser::activeWindow() const
{
    Window active = 0;
    return xdo_get_active_window(server.get(), &active) == XDO_SUCCESS ? active : 0;
}

QString XUser::nameOf(WId window) const
{
    unsigned char *name = nullptr;
    int length = 0;
    int kind = 0;
    check(xdo_get_window_name(server.get(), window, &name, &length, &kind), "a window's name");
    QString text = QString::fromUtf8(reinterpret_cast<const char *>(name), length);
    std::free(name);
    return text;
}

QPoint XUser::positionOf(WId window) const
{
    QPoint position;
    check(xdo_get_window_location(server.get(), window, &position.rx(), &position.ry(), nullptr),
          "a window's position");
    return position;
}

QSize XUser::sizeOf(WId window) const
{
    unsigned int width = 0;
    unsigned int height = 0;
    check(xdo_get_window_size(server.get(), window, &width, &height), "a window's size");
    return {int(width), int(height)};
}

void XUser::hide(WId window) const
{
    check(xdo_unmap_window(server.get(), window), "to hide a window");
}

} // namespace kivra::test
