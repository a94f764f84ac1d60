#include "tests/endurance/user.h"

#include "tests/endurance/answers.h"

#include <QApplication>
#include <QMenu>
#include <QWheelEvent>
#include <QWindow>

namespace kivra::test {

namespace {

// Keys that the window knows, by themselves or as a shortcut, and some that it does not.
constexpr Qt::Key keys[] = {
    Qt::Key_Plus, Qt::Key_Minus, Qt::Key_Up,     Qt::Key_Down,        Qt::Key_Left, Qt::Key_Right,
    Qt::Key_C,    Qt::Key_L,     Qt::Key_R,      Qt::Key_Z,           Qt::Key_F1,   Qt::Key_F3,
    Qt::Key_F4,   Qt::Key_F5,    Qt::Key_F6,     Qt::Key_F7,          Qt::Key_F8,   Qt::Key_Escape,
    Qt::Key_Tab,  Qt::Key_S,     Qt::Key_I,      Qt::Key_B,           Qt::Key_M,    Qt::Key_O,
    Qt::Key_F,    Qt::Key_Enter, Qt::Key_Camera, Qt::Key_CameraFocus, Qt::Key_A,    Qt::Key_Delete};

constexpr Qt::KeyboardModifier modifiers[] = {Qt::NoModifier,  Qt::NoModifier,
                                              Qt::NoModifier,  Qt::ControlModifier,
                                              Qt::AltModifier, Qt::ShiftModifier};

constexpr Qt::MouseButton buttons[] = {Qt::LeftButton, Qt::LeftButton, Qt::RightButton,
                                       Qt::MiddleButton};

} // namespace

User::User(Dice &chance, QStringList paths)
    : dice(chance)
    , files(std::move(paths))
{
}

void User::start()
{
    _imgAOuvrir = dice.chance(25) ? dice.oneOf(files) : QString();
    shown = std::make_unique<Window>();
}

void User::quit()
{
    shown.reset();
}

void User::act(const Tell &tell)
{
    const struct
    {
        const char *name;
        int weight;
        void (User::*acts)();
    } table[] = {
        {"key", 30, &User::pressKey},
        {"key of the stored pictures", 5, &User::pressDocumentKey},
        {"click", 15, &User::click},
        {"press or release", 4, &User::pressOrRelease},
        {"drag", 8, &User::drag},
        {"wheel", 8, &User::turnWheel},
        {"command", 20, &User::command},
        {"camera", 10, &User::startCamera},
        {"preference", 3, &User::changePreference},
        {"size", 2, &User::changeSize},
        {"time", 5, &User::letTimePass},
    };
    const auto &chosen = dice.byWeight(table);
    tell(chosen.name);
    (this->*chosen.acts)();
}

void User::letGo()
{
    closePopups();
    for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton}) {
        if (QGuiApplication::mouseButtons().testFlag(button))
            QTest::mouseRelease(shown->windowHandle(), button);
    }
}

void User::pressKey()
{
    // QTest::keyClick() knows no text for the keys of a camera.
    QTest::sendKeyEvent(QTest::Click, shown->windowHandle(), dice.oneOf(keys), QString(),
                        dice.oneOf(modifiers));
}

void User::pressDocumentKey()
{
    QTest::keyClick(shown->windowHandle(), dice.chance(60) ? Qt::Key_Backspace : Qt::Key_Space);
}

void User::click()
{
    const Qt::MouseButton button = dice.oneOf(buttons);
    const QPoint at = somewhere();
    for (int count = dice.below(3); count >= 0 && shown->isVisible(); --count)
        QTest::mouseClick(shown->windowHandle(), button, Qt::NoModifier, at);
}

void User::pressOrRelease()
{
    if (QGuiApplication::mouseButtons() == Qt::NoButton)
        QTest::mousePress(shown->windowHandle(), Qt::LeftButton, Qt::NoModifier, somewhere());
    else
        letGo();
}

void User::drag()
{
    QTest::mousePress(shown->windowHandle(), Qt::LeftButton, Qt::NoModifier, somewhere());
    for (int moves = dice.below(5); moves >= 0; --moves)
        QTest::mouseMove(shown->windowHandle(), somewhere());
    QTest::mouseRelease(shown->windowHandle(), Qt::LeftButton, Qt::NoModifier, somewhere());
}

void User::turnWheel()
{
    QWidget *const view = shown->probe.view();
    const QPointF at(view->rect().center());
    const int turned = 120 * (dice.below(9) - 4);
    const QPoint angle = dice.chance(20) ? QPoint(turned, 0) : QPoint(0, turned);
    QWheelEvent event(at, view->mapToGlobal(at.toPoint()), QPoint(), angle, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view, &event);
}

// Any command that could be chosen from a menu. Few of them end the program.
void User::command()
{
    const QList<QAction *> actions = shown->findChildren<QAction *>();
    QAction *const chosen = dice.oneOf(actions);
    if (!chosen->isEnabled() || chosen->menu())
        return;
    chosen->trigger();
}

// A user who sees no live picture starts the camera, or chooses one.
void User::startCamera()
{
    const auto *const cameras = shown->find<QMenu>("menuDevices");
    QAction *const start = shown->action("actionStartCamera");
    if (start->isEnabled() && dice.chance(50))
        start->trigger();
    else
        dice.oneOf(cameras->actions())->trigger();
}

void User::changePreference()
{
    constexpr const char *names[] = {"displayMsg", "displayStatus", "restore", "rawStore",
                                     "smallField"};
    storeSetting(QStringLiteral("preferences/") + QLatin1String(dice.oneOf(names)),
                 dice.chance(50));
}

void User::changeSize()
{
    shown->resize(200 + dice.below(800), 150 + dice.below(600));
}

// Lets the window's second pass, or the time for which a message is shown.
void User::letTimePass()
{
    shown->call(dice.chance(50) ? "aTimerSlot" : "bTimerSlot");
}

// Three times out of four on the picture.
QPoint User::somewhere()
{
    const QRect all = shown->rect();
    const QWidget *const view = shown->probe.view();
    const QRect place =
        dice.chance(75) ? QRect(view->mapTo(shown.get(), QPoint()), view->size()) & all : all;
    if (place.isEmpty())
        return all.center();
    return place.topLeft() + QPoint(dice.below(place.width()), dice.below(place.height()));
}

} // namespace kivra::test
