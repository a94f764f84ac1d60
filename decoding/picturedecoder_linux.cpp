#include "decoding/confined/decoderprocess.h"
#include "decoding/confined/exchange.h"
#include "decoding/confined/openedfile.h"
#include "decoding/opaquecopy.h"
#include "decoding/picturedecoder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>
#include <poll.h>

namespace kivra {

namespace {

// How often to check the decoder's processor time and to reap ended processes.
constexpr int lookMs = 100;
// The system's own limit comes later: it is for a viewer that no longer checks.
constexpr qint64 systemsGraceMs = 5000;
// What readers and fonts leave in memory adds up, so the program is replaced after this many
// pictures. The next one starts in the background.
constexpr int mostPicturesOfOne = 200;

} // namespace

class PictureDecoder::Private
{
public:
    Private(PictureDecoder *decoder, const QString &path, const DecodingLimits &most)
        : owner(decoder)
        , program(path)
        , limits(most)
    {
        look.setInterval(lookMs);
        failure.setSingleShot(true);
        QObject::connect(&look, &QTimer::timeout, owner, [this] { check(); });
        QObject::connect(&failure, &QTimer::timeout, owner, [this] { conclude({}); });
    }

    bool start();
    void stop();
    bool begin(const QString &path, qint64 mostOfIt);
    void receive();
    void check();
    void conclude(const QImage &picture);
    bool isOverdue();

    PictureDecoder *owner;
    QString program;
    DecodingLimits limits;
    FileState file;
    bool busy = false;
    std::unique_ptr<DecoderProcess> process;
    std::unique_ptr<Exchange> exchange;
    std::unique_ptr<QSocketNotifier> notifier;
    int pictures = 0; // of this process
    qint64 workedBefore = 0;
    qint64 workedLast = 0;
    QElapsedTimer still;
    QTimer look;
    QTimer failure;
};

bool PictureDecoder::Private::start()
{
    if (process)
        return true;
    process = DecoderProcess::start(program);
    if (!process)
        return false;
    exchange = std::make_unique<Exchange>(process->takeSocket());
    notifier = std::make_unique<QSocketNotifier>(exchange->socket(), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, owner, [this] { receive(); });
    pictures = 0;
    return true;
}

// The notifier itself may be the caller: it is deleted later.
void PictureDecoder::Private::stop()
{
    if (notifier) {
        notifier->setEnabled(false);
        notifier.release()->deleteLater();
    }
    exchange.reset();
    process.reset();
    look.start();
}

bool PictureDecoder::Private::begin(const QString &path, qint64 mostOfIt)
{
    const OpenedFile opened = openFile(pictureFile(path));
    file = opened.state;
    if (!opened.descriptor.isOpen() || !start())
        return false;
    // The decoder may have ended since the last picture: the system kills it first when memory is
    // short.
    if (!exchange->begin(opened.descriptor.get(), mostOfIt)) {
        stop();
        if (!start() || !exchange->begin(opened.descriptor.get(), mostOfIt))
            return false;
    }
    workedBefore = qMax(process->workedMs(), qint64(0));
    workedLast = workedBefore;
    process->moveLimit(limits.processorMs + systemsGraceMs);
    still.start();
    look.start();
    return true;
}

void PictureDecoder::Private::receive()
{
    exchange->receive();
    switch (exchange->state()) {
    case Exchange::State::Finished:
        conclude(exchange->takePicture());
        break;
    case Exchange::State::Failed:
        conclude({});
        break;
    default:
        break;
    }
}

bool PictureDecoder::Private::isOverdue()
{
    const qint64 worked = process->workedMs();
    if (worked != workedLast)
        still.start();
    workedLast = worked;
    return worked - workedBefore > limits.processorMs || still.hasExpired(limits.stillMs);
}

void PictureDecoder::Private::check()
{
    const bool areAllBuried = DecoderProcess::buryTheDead();
    if (busy && process && isOverdue())
        conclude({});
    else if (!busy && areAllBuried)
        look.stop();
}

// A decoder that failed, or that talked without being asked, is not asked again. One that ended
// while idle is started anew only when it is needed. A slot of finished() may delete the owner: it
// is emitted last.
void PictureDecoder::Private::conclude(const QImage &picture)
{
    failure.stop();
    const bool wasAsked = std::exchange(busy, false);
    const bool isSpent =
        exchange && (exchange->isBusy() || exchange->state() == Exchange::State::Failed ||
                     ++pictures >= mostPicturesOfOne);
    if (isSpent)
        stop();
    if (isSpent && wasAsked)
        start();
    if (wasAsked)
        emit owner->finished(picture);
}

QString PictureDecoder::installedProgram()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/kivra-decoder");
}

PictureDecoder::PictureDecoder(QObject *parent)
    : PictureDecoder(installedProgram(), {}, parent)
{
}

PictureDecoder::PictureDecoder(const QString &program, const DecodingLimits &limits,
                               QObject *parent)
    : QObject(parent)
    , d(std::make_unique<Private>(this, program, limits))
{
}

// Waits briefly: a killed process takes a moment to end. A process that hangs on a server that is
// gone is not waited for any longer.
PictureDecoder::~PictureDecoder()
{
    forgetCopies();
    constexpr int mostLooks = 40;
    constexpr int betweenMs = 5;
    d->stop();
    for (int look = 0; look < mostLooks && !DecoderProcess::buryTheDead(); ++look)
        poll(nullptr, 0, betweenMs);
}

void PictureDecoder::prepare()
{
    d->start();
}

void PictureDecoder::open(const QString &path, qint64 mostOfIt)
{
    cancel();
    d->busy = true;
    if (!d->begin(path, mostOfIt))
        d->failure.start(0);
}

void PictureDecoder::allow(qint64 mostOfIt)
{
    if (d->exchange)
        d->exchange->allow(mostOfIt);
}

void PictureDecoder::cancel()
{
    d->failure.stop();
    if (d->busy && d->exchange && d->exchange->isBusy()) {
        d->stop();
        d->start();
    }
    d->busy = false;
}

bool PictureDecoder::isBusy() const
{
    return d->busy;
}

FileState PictureDecoder::fileState() const
{
    return d->file;
}

void PictureDecoder::wait()
{
    while (d->busy) {
        if (d->failure.isActive()) {
            d->conclude({});
            return;
        }
        pollfd answer = {d->exchange->socket(), POLLIN, 0};
        if (poll(&answer, 1, lookMs) > 0)
            d->receive();
        else
            d->check();
    }
}

QImage PictureDecoder::load(const QString &path)
{
    QImage loaded;
    const auto connection = connect(this, &PictureDecoder::finished, this,
                                    [&](const QImage &picture) { loaded = picture; });
    open(path);
    wait();
    disconnect(connection);
    return loaded;
}

} // namespace kivra
