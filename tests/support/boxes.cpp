#include "tests/support/boxes.h"

#include <QCoreApplication>
#include <QDialog>
#include <QEvent>
#include <QMessageBox>
#include <QPointer>
#include <QTest>
#include <QTimer>

namespace kivra::test {

namespace {

void acceptBox(QDialog *box)
{
    QTest::keyClick(box, Qt::Key_Return);
}

} // namespace

Boxes::Boxes()
{
    QCoreApplication::instance()->installEventFilter(this);
}

void Boxes::expect(const QString &title)
{
    expect(title, acceptBox);
}

void Boxes::expect(const QString &title, Answer answer)
{
    expected.push_back({title, std::move(answer)});
}

QString Boxes::verify() const
{
    QString result = complaints;
    for (const Expected &missing : expected)
        result += QStringLiteral("The box \"%1\" did not come. ").arg(missing.title);
    return result;
}

bool Boxes::eventFilter(QObject *watched, QEvent *event)
{
    auto *const box = qobject_cast<QDialog *>(watched);
    if (box && event->type() == QEvent::Show && box->isModal()) {
        // Once its own event loop runs.
        QTimer::singleShot(0, this, [this, guarded = QPointer<QDialog>(box)] {
            if (guarded && guarded->isVisible())
                opened(guarded);
        });
    }
    return QObject::eventFilter(watched, event);
}

void Boxes::opened(QDialog *box)
{
    if (expected.empty() || expected.front().title != box->windowTitle()) {
        complaints += QStringLiteral("The box \"%1\" was not expected. ").arg(box->windowTitle());
        box->reject();
        return;
    }
    const Answer answer = std::move(expected.front().answer);
    expected.erase(expected.begin());
    if (const auto *const message = qobject_cast<QMessageBox *>(box))
        text = message->text();
    ++count;
    answer(box);
}

} // namespace kivra::test
