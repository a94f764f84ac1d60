#include "rendu/told.h"

#include <cstdio>
#include <unistd.h>

namespace kivra::rendu {

namespace {

void printTo(std::FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stream);
    std::fflush(stream);
}

QString counted(std::size_t count, const char *one, const char *several)
{
    return QString::number(count) + QLatin1Char(' ') + QString::fromUtf8(count < 2 ? one : several);
}

} // namespace

void printComplaint(const QString &text)
{
    QString line = text;
    for (QChar &character : line) {
        if (character.category() == QChar::Other_Control)
            character = QLatin1Char('?');
    }
    printTo(stderr, QStringLiteral("kivra-rendu : %1\n").arg(line));
}

Told::Told(bool quiet, std::size_t pictures)
    : isQuiet(quiet)
    , showsProgress(!quiet && isatty(STDERR_FILENO) == 1)
    , total(pictures)
{
}

void Told::note(const QString &source, const Outcome &outcome)
{
    switch (outcome.kind) {
    case Outcome::Kind::Made:
        ++made;
        break;
    case Outcome::Kind::MadeBefore:
        ++madeBefore;
        break;
    case Outcome::Kind::Failed:
        fail(QStringLiteral("%1 : %2").arg(source, outcome.fault));
        break;
    case Outcome::Kind::GivenUp:
        break;
    }
    showProgress();
}

void Told::fail(const QString &fault)
{
    ++failed;
    complain(fault);
}

void Told::complain(const QString &text)
{
    hideProgress();
    printComplaint(text);
}

void Told::sumUp(bool isInterrupted)
{
    hideProgress();
    if (isQuiet)
        return;
    printTo(stdout, QStringLiteral("%1, %2, %3%4\n")
                        .arg(counted(made, "image rendue", "images rendues"),
                             counted(madeBefore, "déjà faite", "déjà faites"),
                             counted(failed, "échec", "échecs"),
                             isInterrupted ? QStringLiteral(" ; interrompu") : QString()));
}

void Told::showProgress()
{
    if (showsProgress)
        printTo(stderr,
                QStringLiteral("\r%1 sur %2\033[K").arg(made + madeBefore + failed).arg(total));
}

void Told::hideProgress()
{
    if (showsProgress)
        printTo(stderr, QStringLiteral("\r\033[K"));
}

} // namespace kivra::rendu
