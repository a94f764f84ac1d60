#pragma once

#include "rendu/crew.h"

#include <QString>
#include <cstddef>

namespace kivra::rendu {

/// What the command reports while it works, in French: a line for each failure on standard error,
/// progress there too if it is a terminal, and a summary on standard output.
class Told
{
public:
    /// About \a total pictures. If \a quiet, reports only failures.
    Told(bool quiet, std::size_t total);

    /// Counts what became of a picture.
    void note(const QString &source, const Outcome &outcome);
    /// Reports a failure that is not one of a single picture.
    void fail(const QString &fault);
    /// Prints a line that does not count as a failure.
    void complain(const QString &text);
    void sumUp(bool isInterrupted);

    std::size_t failures() const { return failed; }

private:
    void showProgress();
    void hideProgress();

    bool isQuiet;
    bool showsProgress;
    std::size_t total;
    std::size_t made = 0;
    std::size_t madeBefore = 0;
    std::size_t failed = 0;
};

/// Prints a line on standard error. Control characters, which could move a terminal's cursor,
/// become question marks.
void printComplaint(const QString &text);

} // namespace kivra::rendu
