#include "tests/app/windowtest.h"

#include "tests/support/sandbox.h"

namespace kivra::test {

void WindowTest::begin()
{
    Sandbox::instance().reset();
    device().reset();
    _imgAOuvrir.clear();
    boxes = std::make_unique<Boxes>();
}

void WindowTest::plugInTwo()
{
    device().setDevices({{"un", QStringLiteral("Un")}, {"deux", QStringLiteral("Deux")}});
}

void WindowTest::openWindow()
{
    window = std::make_unique<Window>();
    QTRY_VERIFY(window->probe.imageCapture()->isReadyForCapture());
}

void WindowTest::cleanup()
{
    window.reset();
    QVERIFY2(boxes->verify().isEmpty(), qPrintable(boxes->verify()));
}

} // namespace kivra::test
