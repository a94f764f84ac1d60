#include "tests/decoding/faultyformat.h"

#include <QImage>
#include <QImageIOHandler>
#include <QImageIOPlugin>
#include <QtPlugin>
#include <csignal>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

namespace kivra::test {

namespace {

const QByteArray signature = QByteArrayLiteral("FAULTY ");

bool take(size_t bytes)
{
    return mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE,
                -1, 0) != MAP_FAILED;
}

void takeLock()
{
    eventfd_write(heldLock().readers, 1);
    const std::lock_guard<std::mutex> lock(heldLock().mutex);
}

class FaultyHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return true; }

    bool read(QImage *image) override
    {
        const QList<QByteArray> words = device()->readAll().mid(signature.size()).split(' ');
        const QByteArray &what = words.constFirst();
        if (what == "crash")
            raise(SIGSEGV);
        if (what == "leave")
            _exit(0);
        while (what == "wait")
            pause();
        for (volatile bool busy = what == "work"; busy;) {
        }
        if (what == "memory" && !take(words.at(1).toULongLong() << 20))
            return false;
        if (what == "lock")
            takeLock();
        *image = QImage(1, 1, QImage::Format_RGB32);
        image->fill(Qt::white);
        return true;
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

QByteArray faultyPicture(const char *what)
{
    return signature + what;
}

HeldLock::HeldLock()
    : readers(eventfd(0, EFD_CLOEXEC))
{
}

HeldLock::~HeldLock()
{
    close(readers);
}

void HeldLock::awaitReader() const
{
    eventfd_t count = 0;
    eventfd_read(readers, &count);
}

HeldLock &heldLock()
{
    static HeldLock held;
    return held;
}

} // namespace kivra::test

#include "faultyformat.moc"

Q_IMPORT_PLUGIN(FaultyPlugin)
