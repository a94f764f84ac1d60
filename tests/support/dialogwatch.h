#pragma once

#include <QObject>

class QDialog;

namespace kivra::test {

/// Reports each modal box and dialog that the program under test opens, as soon as its own event
/// loop runs: from then on it can be answered.
class DialogWatch : public QObject
{
    Q_OBJECT

public:
    DialogWatch();

protected:
    /// \a dialog is open. It must be closed sooner or later, or the program waits for ever.
    virtual void opened(QDialog *dialog) = 0;

    bool eventFilter(QObject *watched, QEvent *event) override;
};

} // namespace kivra::test
