#include "tests/support/boxes.h"

#include <QDialog>
#include <QMessageBox>
#include <QPointer>
#include <QTest>

namespace kivra::test {

namespace {

void acceptBox(QDialog *box)
{
    QTest::keyClick(box, Qt::Key_Return);
}

} // namespace

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
    const QPointer<QDialog> alive(box);
    answer(box);
    // A failing check leaves the answer early. The program would then wait in its box for ever.
    if (alive && alive->isVisible() && QTest::currentTestFailed())
        alive->reject();
}

} // namespace kivra::test
