#include "rendu/run.h"

#include "rendu/crew.h"
#include "rendu/encoding.h"
#include "rendu/faults.h"
#include "rendu/interruption.h"
#include "rendu/mark.h"
#include "rendu/plan.h"
#include "rendu/told.h"
#include "storage/wholefile.h"

#include <QDateTime>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <cerrno>
#include <map>
#include <utility>

namespace kivra::rendu {

namespace {

bool isNewer(const QString &path, const QString &than)
{
    return QFileInfo(path).lastModified() > QFileInfo(than).lastModified();
}

Existing existingFiles(const Options &options)
{
    return options.force ? Existing::Replaced : Existing::Kept;
}

Outcome failure(const QString &fault)
{
    return {Outcome::Kind::Failed, fault, {}};
}

// The outcome of an attempt that made no picture.
Outcome nothingOf(const QString &fault)
{
    return fault.isEmpty() ? Outcome{} : failure(fault);
}

QString encodingFault(const QImage &picture, bool isJpeg)
{
    if (isJpeg && isTooLargeForJpeg(picture))
        return QStringLiteral("cette image est trop grande pour devenir du JPEG");
    return QStringLiteral("la mémoire manque pour cette image");
}

bool isPng(const QString &target)
{
    return target.endsWith(QLatin1String(".png"), Qt::CaseInsensitive);
}

QByteArray encoded(const QImage &picture, const QString &target)
{
    return isPng(target) ? pngOf(picture) : jpegOf(picture);
}

Outcome makeFile(Bench &bench, const Job &job, const Options &options)
{
    const QByteArray mark = markOf(options, job.source);
    if (isNewer(job.target, job.source) && bearsMark(job.target, mark))
        return {Outcome::Kind::MadeBefore, {}, {}};
    if (!options.force && QFileInfo::exists(job.target) && sourceFault(job.source).isEmpty())
        return failure(writingFault(job.target, EEXIST));
    QString fault;
    const QImage picture = bench.render(job.source, options.settings, &fault);
    if (picture.isNull())
        return nothingOf(fault);
    const QByteArray file = encoded(picture, job.target);
    if (file.isEmpty())
        return failure(encodingFault(picture, !isPng(job.target)));
    const QByteArray content = withMark(file, mark);
    const int error = makeWholeFile(job.target, existingFiles(options),
                                    [&](QFile &to) { return to.write(content) == content.size(); });
    if (error != 0)
        return failure(writingFault(job.target, error));
    return {Outcome::Kind::Made, {}, {}};
}

Outcome makePage(Bench &bench, const Job &job, const Options &options)
{
    QString fault;
    const QImage picture = bench.render(job.source, options.settings, &fault);
    if (picture.isNull())
        return nothingOf(fault);
    Page page{twoValued(picture), {}, picture.size()};
    if (page.bits.isNull())
        page.jpeg = jpegOf(picture);
    if (page.bits.isNull() && page.jpeg.isEmpty())
        return failure(encodingFault(picture, true));
    return {Outcome::Kind::Made, {}, page};
}

// Lets the crew do the work, and passes its outcomes on until it has finished; if the command is
// interrupted, it finishes early.
void labour(const Plan &plan, const Options &options, Told &told, const Crew::Work &work,
            const std::function<void(std::size_t, const Outcome &)> &take)
{
    Crew crew(options.jobs, plan.jobs.size(), work);
    QEventLoop loop;
    QObject::connect(&crew, &Crew::finished, &loop, &QEventLoop::quit);
    QObject::connect(&crew, &Crew::done, &loop, [&](std::size_t number, const Outcome &outcome) {
        // Ctrl+C ends the decoders too: their pictures are not at fault.
        if (outcome.kind == Outcome::Kind::Failed && Interruption::number() != 0)
            return;
        told.note(plan.jobs[number].source, outcome);
        take(number, outcome);
    });
    Interruption interruption;
    QObject::connect(&interruption, &Interruption::came, &crew, &Crew::stop);
    crew.start();
    loop.exec();
}

int endOf(Told &told)
{
    const int number = Interruption::number();
    told.sumUp(number != 0);
    if (number != 0)
        return interrupted + number;
    return told.failures() == 0 ? allDone : someFailed;
}

int makeFolder(const Plan &plan, const Options &options, Told &told)
{
    if (!QDir().mkpath(options.folder)) {
        told.complain(
            QStringLiteral("le dossier « %1 » ne peut pas être créé").arg(options.folder));
        return wrongUse;
    }
    labour(
        plan, options, told,
        [&](Bench &bench, std::size_t number) {
            return makeFile(bench, plan.jobs[number], options);
        },
        [](std::size_t, const Outcome &) {});
    return endOf(told);
}

// Puts pages in the order of their pictures, in whatever order they come.
class Binder
{
public:
    void take(std::size_t number, const Outcome &outcome)
    {
        waiting.emplace(number, outcome);
        for (auto first = waiting.find(next); first != waiting.end();
             first = waiting.find(++next)) {
            if (first->second.kind == Outcome::Kind::Made) {
                isWell = document.add(first->second.page) && isWell;
                ++pages;
            }
            waiting.erase(first);
        }
    }

    Document document;
    std::size_t pages = 0;
    bool isWell = true;

private:
    std::map<std::size_t, Outcome> waiting;
    std::size_t next = 0;
};

bool isDocumentThere(const Options &options, const QByteArray &mark)
{
    for (const QString &source : options.sources) {
        if (!isNewer(options.pdf, source))
            return false;
    }
    return documentBearsMark(options.pdf, mark);
}

void bind(const Binder &binder, const Plan &plan, const Options &options, const QByteArray &mark,
          Told &told)
{
    if (binder.pages == 0)
        return;
    // A document that lacks pages gets no note: the next run must not take it for finished.
    const bool isWhole = binder.pages == plan.jobs.size();
    const int error = binder.isWell
                          ? binder.document.save(options.pdf, existingFiles(options),
                                                 isWhole ? documentEnd(mark) : QByteArray())
                          : ENOMEM;
    if (error != 0)
        told.fail(writingFault(options.pdf, error));
}

// Why the document could not be written when its pages are made; 0 for nothing.
int obstacleTo(const Options &options)
{
    const QFileInfo document(options.pdf);
    const QFileInfo folder(document.path());
    if (document.exists() && (!options.force || document.isDir()))
        return EEXIST;
    if (!folder.isDir())
        return ENOENT;
    return folder.isWritable() ? 0 : EACCES;
}

int makeDocument(const Plan &plan, const Options &options, Told &told)
{
    const QByteArray mark = documentMarkOf(options);
    if (isDocumentThere(options, mark)) {
        for (const Job &job : plan.jobs)
            told.note(job.source, {Outcome::Kind::MadeBefore, {}, {}});
        return endOf(told);
    }
    if (const int error = obstacleTo(options)) {
        told.complain(writingFault(options.pdf, error));
        return wrongUse;
    }
    Binder binder;
    labour(
        plan, options, told,
        [&](Bench &bench, std::size_t number) {
            return makePage(bench, plan.jobs[number], options);
        },
        [&](std::size_t number, const Outcome &outcome) { binder.take(number, outcome); });
    if (Interruption::number() == 0)
        bind(binder, plan, options, mark, told);
    return endOf(told);
}

} // namespace

int run(const Options &options)
{
    const Plan plan = planFor(options);
    Told told(options.quiet, plan.jobs.size());
    for (const QString &fault : plan.faults)
        told.complain(fault);
    if (!plan.faults.isEmpty())
        return wrongUse;
    return options.pdf.isEmpty() ? makeFolder(plan, options, told)
                                 : makeDocument(plan, options, told);
}

} // namespace kivra::rendu
