#include "tests/endurance/answers.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QWindow>

namespace kivra::test {

void closePopups()
{
    while (QWidget *popup = QApplication::activePopupWidget())
        popup->close();
}

namespace {

constexpr int deepest = 3;

// The tests themselves run no event loop: if one runs, something waits for an answer. A menu of the
// menu bar runs none, and stays open for what the user does next.
bool somethingWaits()
{
    return QThread::currentThread()->loopLevel() > 0;
}

} // namespace

Answers::Answers(Dice &chance, QStringList paths, std::function<void()> play)
    : dice(chance)
    , files(std::move(paths))
    , meanwhile(std::move(play))
{
}

bool Answers::eventFilter(QObject *watched, QEvent *event)
{
    auto *const menu = qobject_cast<QMenu *>(watched);
    if (menu && event->type() == QEvent::Show) {
        QTimer::singleShot(0, this, [this, guarded = QPointer<QMenu>(menu)] {
            if (guarded && guarded->isVisible() && somethingWaits())
                choose(guarded);
        });
    }
    return DialogWatch::eventFilter(watched, event);
}

void Answers::opened(QDialog *shown)
{
    const QPointer<QDialog> dialog(shown);
    ++open;
    ++count;
    if (open <= deepest && dice.chance(40))
        meanwhile();
    // The dialog that opens files can also delete and rename, so nothing is tried out in it.
    if (auto *const opening = qobject_cast<QFileDialog *>(dialog.data()))
        choose(opening);
    else if (dialog && dialog->isVisible())
        tryOut(dialog);
    closePopups();
    if (dialog && dialog->isVisible())
        leave(dialog);
    --open;
}

void Answers::choose(QMenu *menu)
{
    const QPointer<QMenu> alive(menu);
    for (int moves = dice.below(5); moves > 0 && alive && alive->isVisible(); --moves)
        QTest::keyClick(menu, Qt::Key_Down);
    if (alive && alive->isVisible())
        QTest::keyClick(menu, Qt::Key_Return);
    closePopups();
}

void Answers::choose(QFileDialog *dialog)
{
    if (dice.chance(20))
        return;
    dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(dice.oneOf(files));
    QMetaObject::invokeMethod(dialog, "accept");
}

void Answers::tryOut(QDialog *dialog)
{
    constexpr Qt::Key keys[] = {Qt::Key_Tab,  Qt::Key_Backtab, Qt::Key_Space, Qt::Key_Up,
                                Qt::Key_Down, Qt::Key_Left,    Qt::Key_Right, Qt::Key_PageUp,
                                Qt::Key_Home, Qt::Key_End,     Qt::Key_A};
    const QPointer<QDialog> alive(dialog);
    for (int inputs = dice.below(8); inputs > 0 && alive && alive->isVisible(); --inputs) {
        QWindow *const window = alive->windowHandle();
        if (dice.chance(60)) {
            QTest::keyClick(window, dice.oneOf(keys));
        } else {
            const QPoint at(dice.below(alive->width()), dice.below(alive->height()));
            QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, at);
        }
    }
}

void Answers::leave(QDialog *dialog)
{
    const QPointer<QDialog> alive(dialog);
    switch (dice.below(3)) {
    case 0:
        QTest::keyClick(dialog->windowHandle(), Qt::Key_Return);
        break;
    case 1:
        QTest::keyClick(dialog->windowHandle(), Qt::Key_Escape);
        break;
    default:
        dialog->close();
    }
    if (alive && alive->isVisible())
        alive->reject();
}

} // namespace kivra::test
