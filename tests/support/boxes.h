#pragma once

#include "tests/support/dialogwatch.h"

#include <QString>
#include <functional>
#include <vector>

namespace kivra::test {

/// Answers the modal boxes and dialogs of the program under test. One is made for each test
/// function. Every box that opens must have been expected, in this order, by its window title, and
/// every expected one must come: verify() checks both. An unexpected box is closed.
class Boxes : public DialogWatch
{
    Q_OBJECT

public:
    using Answer = std::function<void(QDialog *)>;

    /// The next box has this title. It is answered by its default button.
    void expect(const QString &title);
    /// The next box has this title and is answered by \a answer, which must make it close.
    void expect(const QString &title, Answer answer);

    /// Text of the last message box that was answered.
    QString lastText() const { return text; }
    /// Number of boxes that were answered.
    int answered() const { return count; }
    /// Empty if all is as expected; otherwise says what is not.
    QString verify() const;

protected:
    void opened(QDialog *box) override;

private:
    struct Expected
    {
        QString title;
        Answer answer;
    };
    std::vector<Expected> expected;
    QString text;
    QString complaints;
    int count = 0;
};

} // namespace kivra::test
