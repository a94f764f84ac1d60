#pragma once

#include "rendu/crew.h"

#include <QString>
#include <cstddef>

namespace kivra::rendu {

/// What the command says while it works, in French: a line for each failure to the standard error
/// stream, how far it is if that is a terminal, and the sum to the standard output.
class Told
{
public:
    /// Of \a total pictures. A quiet one tells failures only.
    Told(bool quiet, std::size_t total);

    /// Counts what became of a picture.
    void note(const QString &source, const Outcome &outcome);
    /// A failure that is not one of a single picture.
    void fail(const QString &fault);
    /// A line that counts for nothing.
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

/// A line of the command's on the standard error stream. Whatever would move a terminal's cursor
/// comes out as a question mark.
void printComplaint(const QString &text);

} // namespace kivra::rendu
