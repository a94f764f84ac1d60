#include "tests/app/window.h"

#include "storage/settings.h"

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

void storeSetting(const QString &key, const QVariant &value)
{
    QSettings store = settingsStore();
    store.setValue(key, value);
}

} // namespace kivra::test
