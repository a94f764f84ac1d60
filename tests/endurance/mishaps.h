#pragma once

#include "tests/endurance/dice.h"

#include <functional>

namespace kivra::test {

using Tell = std::function<void(const char *)>;

/// What happens at the cameras by chance: frames come, sound or not, devices are plugged and
/// unplugged, fail, refuse, answer late or never.
class Mishaps
{
public:
    explicit Mishaps(Dice &dice);

    /// Makes one thing happen; tells \a tell beforehand what it is.
    void happen(const Tell &tell);
    /// Delivers a few sound frames.
    void pushFrames();
    /// Brings all devices back, and makes them answer as they should.
    void repair();

private:
    void pushOddFrame();
    void changeFormat();
    void plug();
    void unplug();
    void changeAnswers();
    void answerLate();
    void raiseError();
    void raiseStillError();

    Dice &dice;
};

} // namespace kivra::test
