#include "tests/app/window.h"

#include "storage/settings.h"

#include <QLabel>
#include <QStatusBar>

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

QString Window::statusText() const
{
    return statusBar()->currentMessage();
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
    QSettings store = settingsStore();
    store.setValue(key, value);
}

} // namespace kivra::test
