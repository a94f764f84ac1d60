#include "tests/app/window.h"

#include "tests/support/patience.h"

#include <QLabel>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>

namespace kivra::test {

Window::Window()
{
    TestCamera::instance(); // a program that never names the camera would be linked without it
    show();
    if (!QTest::qWaitForWindowExposed(this))
        qFatal("the window did not come up");
}

void Window::trigger(const char *name) const
{
    QAction *const wanted = action(name);
    if (!wanted->isEnabled())
        qFatal("%s is disabled", name);
    wanted->trigger();
}

void Window::open(const QString &path)
{
    probe.displayFile(path);
    if (!QTest::qWaitFor([this] { return !probe.isOpening(); }, patienceMs))
        qFatal("%s stays under way", qPrintable(path));
}

void Window::pressAndWait(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(this, key, modifiers);
    if (!QTest::qWaitFor([this] { return !probe.isOpening(); }, patienceMs))
        qFatal("a file stays under way");
}

QString Window::statusText() const
{
    return statusBar()->currentMessage();
}

// The bar has a timer only while it shows a text that goes by itself.
int Window::statusTimeMs() const
{
    const auto *const timer = statusBar()->findChild<QTimer *>();
    return timer ? timer->interval() : 0;
}

QString Window::messageText() const
{
    const auto *const label = find<QLabel>("msgDisplay");
    return label->isVisible() ? label->text() : QString();
}

QImage Window::shownPicture(const QSize &size) const
{
    const QImage view = probe.view()->grab().toImage().convertToFormat(QImage::Format_RGB32);
    const QPoint at((view.width() - size.width()) / 2, (view.height() - size.height()) / 2);
    return view.copy(QRect(at, size));
}

void storeSetting(const QString &key, const QVariant &value)
{
    QSettings store(QStringLiteral("Orvane"), QStringLiteral("KivraQt"));
    store.setValue(key, value);
}

} // namespace kivra::test
