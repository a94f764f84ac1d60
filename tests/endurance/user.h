#pragma once

#include "tests/app/window.h"
#include "tests/endurance/dice.h"
#include "tests/endurance/mishaps.h"

namespace kivra::test {

/// Somebody at keyboard and mouse who uses the window without a plan.
class User
{
public:
    /// \a files are files that the user may open from the command line.
    User(Dice &dice, QStringList files);

    /// Starts the program, now and then on a file.
    void start();
    void quit();
    /// Null when the program has not been started.
    Window *window() const { return shown.get(); }

    /// Does one thing; tells \a tell beforehand what it is.
    void act(const Tell &tell);
    /// Releases all that is held, and closes all that is still open.
    void letGo();

private:
    void pressKey();
    void pressDocumentKey();
    void click();
    void pressOrRelease();
    void drag();
    void turnWheel();
    void command();
    void startCamera();
    void changePreference();
    void changeSize();
    void letTimePass();
    QPoint somewhere();

    Dice &dice;
    QStringList files;
    std::unique_ptr<Window> shown;
};

} // namespace kivra::test
