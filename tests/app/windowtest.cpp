#include "tests/app/windowtest.h"

#include <QMenu>
#include <QMessageBox>

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

// In the menu, the cameras follow Start, Stop and a separator.
void WindowTest::chooseDevice(int number) const
{
    window->find<QMenu>("menuDevices")->actions().at(3 + number)->trigger();
}

void WindowTest::hold(int key, Qt::KeyboardModifiers modifiers, int repeats) const
{
    for (int presses = 0; presses <= repeats; ++presses) {
        const bool isRepeated = presses > 0;
        qt_handleKeyEvent(window->windowHandle(), QEvent::KeyPress, key, modifiers, QString(),
                          isRepeated);
        QCoreApplication::processEvents();
    }
}

void WindowTest::expectWarning(const QString &title)
{
    boxes->expect(title, [this](QDialog *dialog) {
        const auto *const box = qobject_cast<const QMessageBox *>(dialog);
        QVERIFY(box);
        QCOMPARE(box->icon(), QMessageBox::Warning);
        QCOMPARE(box->standardButtons(), QMessageBox::Ok);
        QCOMPARE(box->parent(), window.get());
        QTest::keyClick(dialog, Qt::Key_Return);
    });
}

void WindowTest::cleanup()
{
    window.reset();
    QVERIFY2(boxes->verify().isEmpty(), qPrintable(boxes->verify()));
}

} // namespace kivra::test
