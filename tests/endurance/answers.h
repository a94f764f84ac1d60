#pragma once

#include "tests/endurance/dice.h"
#include "tests/support/dialogwatch.h"

#include <QStringList>
#include <functional>

class QFileDialog;
class QMenu;

namespace kivra::test {

/// Closes every menu and list that is still open.
void closePopups();

/// Answers every box and dialog like a user who does not know what to answer: tries this and that
/// in it, then accepts, cancels or closes it. If the program waits for a menu, such as the one with
/// what has no room in a tool bar, chooses something from it or nothing.
class Answers : public DialogWatch
{
    Q_OBJECT

public:
    /// The dialog that opens files is told to open one of \a files, by chance. \a meanwhile is
    /// called now and then while a box is open.
    Answers(Dice &dice, QStringList files, std::function<void()> meanwhile);

    int answered() const { return count; }
    /// How many boxes are open, each from within another.
    int depth() const { return open; }

protected:
    void opened(QDialog *dialog) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void choose(QMenu *menu);
    void choose(QFileDialog *dialog);
    void tryOut(QDialog *dialog);
    void leave(QDialog *dialog);

    Dice &dice;
    QStringList files;
    std::function<void()> meanwhile;
    int count = 0;
    int open = 0;
};

} // namespace kivra::test
