#include "tests/decoding/faultyformat.h"

#include "tests/decoding/forbidden.h"

#include <QImage>
#include <QImageIOHandler>
#include <QImageIOPlugin>
#include <QtPlugin>
#include <csignal>
#include <ctime>
#include <future>
#include <sys/mman.h>
#include <unistd.h>

namespace kivra::test {

namespace {

const QByteArray signature = faultyPicture({});

bool take(size_t bytes)
{
    return mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE,
                -1, 0) != MAP_FAILED;
}

// On a lock, because the confinement refuses many other ways to wait, and a refused one would use
// the processor.
[[noreturn]] void waitForEver()
{
    std::promise<void> never;
    const std::future<void> end = never.get_future();
    while (true)
        end.wait();
}

void work(qint64 ms)
{
    const std::clock_t end = std::clock() + std::clock_t(ms * (CLOCKS_PER_SEC / 1000));
    while (ms == 0 || std::clock() < end) {
    }
}

QImage white(int width, int height)
{
    QImage picture(width, height, QImage::Format_RGB32);
    picture.fill(Qt::white);
    return picture;
}

QImage outcomeOf(const QByteArray &deed)
{
    const Attempt attempt = attemptForbidden(deed);
    const int widths[] = {1, 2, 3};
    return white(widths[int(attempt.outcome)], attempt.error > 0 ? attempt.error : 1);
}

class FaultyHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return true; }

    bool read(QImage *image) override
    {
        const QList<QByteArray> words =
            device()->readAll().mid(signature.size()).trimmed().split(' ');
        const QByteArray &what = words.constFirst();
        if (what == "crash")
            raise(SIGSEGV);
        if (what == "leave")
            _exit(0);
        if (what == "wait")
            waitForEver();
        if (what == "work")
            work(words.value(1).toLongLong());
        if (what == "memory" && !take(words.value(1).toULongLong() << 20))
            return false;
        if (what == "size")
            *image = white(words.value(1).toInt(), words.value(2).toInt());
        else if (what == "try")
            *image = outcomeOf(words.value(1));
        else
            *image = white(1, 1);
        return !image->isNull();
    }
};

} // namespace

class FaultyPlugin : public QImageIOPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "faultyformat.json")

public:
    Capabilities capabilities(QIODevice *device, const QByteArray &format) const override
    {
        const bool ours = device
                              ? device->isReadable() && device->peek(signature.size()) == signature
                              : format == QByteArray("faulty");
        return ours ? CanRead : Capabilities();
    }

    QImageIOHandler *create(QIODevice *device, const QByteArray &format) const override
    {
        auto handler = std::make_unique<FaultyHandler>();
        handler->setDevice(device);
        handler->setFormat(format);
        return handler.release();
    }
};

} // namespace kivra::test

#include "faultyformat.moc"

Q_IMPORT_PLUGIN(FaultyPlugin)
