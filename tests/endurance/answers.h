#pragma once

#include "tests/endurance/dice.h"
#include "tests/support/dialogwatch.h"

#include <QStringList>
#include <functional>

class QFileDialog;
class QMenu;

namespace kivra::test {

/// Closes every menu and list that hangs open.
void closePopups();

/// Answers every box and dialog as somebody does who does not know what to answer: tries this and
/// that in it, and then accepts it, cancels it or closes it. From a menu for which the program
/// waits, as for the one that shows what has no room in a tool bar, something is chosen or nothing.
class Answers : public DialogWatch
{
    Q_OBJECT

public:
    /// \a files are what the dialog that opens files is told to open, by chance. \a meanwhile is
    /// called now and then while a box is open.
    Answers(Dice &dice, QStringList files, std::function<void()> meanwhile);

    int answered() const { return count; }
    /// Boxes that are open, one from within the other.
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
