#include "decoding/confined.h"
#include "decoding/decoder.h"
#include "decoding/picturefile.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThreadPool>
#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <new>
#include <optional>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kivra {

namespace {

class Descriptor
{
public:
    explicit Descriptor(int opened)
        : number(opened)
    {
    }
    ~Descriptor() { close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    bool isOpen() const { return number >= 0; }
    int get() const { return number; }
    void close()
    {
        if (isOpen())
            ::close(number);
        number = -1;
    }

private:
    int number;
};

// What the child reports once the pixels are written.
struct Report
{
    qint32 width;
    qint32 height;
};

size_t pixelBytes(const QSize &size)
{
    return size_t(size.width()) * size_t(size.height()) * sizeof(QRgb);
}

// Memory for pixels that parent and child share.
class SharedMemory
{
public:
    SharedMemory() = default;
    ~SharedMemory() { unmap(); }
    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;

    bool isOpen() const { return descriptor.isOpen(); }
    uchar *pixels() const { return memory; }
    size_t size() const { return mapped; } // in bytes

    // For the child: the memory, at least of this size; null if there is not so much.
    uchar *grow(size_t bytes)
    {
        struct stat is = {};
        if (fstat(descriptor.get(), &is) != 0)
            return nullptr;
        if (size_t(is.st_size) < bytes && ftruncate(descriptor.get(), off_t(bytes)) != 0)
            return nullptr;
        update();
        return mapped < bytes ? nullptr : memory;
    }

    // Maps the memory as large as it is now.
    void update()
    {
        struct stat is = {};
        if (fstat(descriptor.get(), &is) != 0 || size_t(is.st_size) != mapped)
            map(size_t(is.st_size));
    }

private:
    void map(size_t bytes)
    {
        unmap();
        void *const got = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE,
                               descriptor.get(), 0);
        if (got == MAP_FAILED)
            return;
        memory = static_cast<uchar *>(got);
        mapped = bytes;
    }

    void unmap()
    {
        if (memory)
            munmap(memory, mapped);
        memory = nullptr;
        mapped = 0;
    }

    Descriptor descriptor{memfd_create("picture", MFD_CLOEXEC)};
    uchar *memory = nullptr;
    size_t mapped = 0;
};

using SharedMemoryPtr = std::shared_ptr<SharedMemory>;

// Memory given back to the system is faulted in again page by page, which takes as long as the
// decoding: so that of the last pictures, if they are of a usual size, serves again. One may be on
// the screen while the next is decoded.
std::array<SharedMemoryPtr, 2> &spareMemories()
{
    static std::array<SharedMemoryPtr, 2> spares;
    return spares;
}

SharedMemoryPtr takeMemory()
{
    auto &spares = spareMemories();
    const auto free = std::find_if(spares.begin(), spares.end(), [](const SharedMemoryPtr &spare) {
        return !spare || spare.use_count() == 1;
    });
    SharedMemoryPtr &place = free == spares.end() ? spares.front() : *free;
    if (free == spares.end() || !place)
        place = std::make_shared<SharedMemory>();
    return place;
}

void dropLargeMemory(const SharedMemoryPtr &memory)
{
    constexpr size_t mostKept = size_t(64) << 20;
    if (memory->size() <= mostKept)
        return;
    auto &spares = spareMemories();
    std::replace(spares.begin(), spares.end(), memory, SharedMemoryPtr());
}

rlim_t addressSpaceInUse()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    return rlim_t(statm.readAll().split(' ').constFirst().toULongLong()) *
           rlim_t(sysconf(_SC_PAGESIZE));
}

void setLimit(__rlimit_resource resource, rlim_t most)
{
    const rlimit limit = {most, most};
    setrlimit(resource, &limit);
}

// The child must neither outlive the parent, nor grow, nor have its end handled by the program that
// it is a copy of.
void confineChild(pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1);
    for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTERM, SIGINT})
        std::signal(number, SIG_DFL);
    setLimit(RLIMIT_CORE, 0);
    setLimit(RLIMIT_AS, addressSpaceInUse() + rlim_t(mostDecodingBytes));
}

// A fork takes none of the parent's threads along, but the pool would hand them work, as Qt does in
// converting pictures, and wait for it. A new pool takes its place; one thread spares the child's
// memory.
void renewThreadPool()
{
    auto *const pool = new (QThreadPool::globalInstance()) QThreadPool;
    pool->setMaxThreadCount(1);
}

[[noreturn]] void decodeInChild(const QByteArray &content, SharedMemory &memory, int reports)
{
    const QSize size = decodePicture(
        content, [&](const QSize &wanted) { return memory.grow(pixelBytes(wanted)); });
    const Report report = {size.width(), size.height()};
    const bool told = !size.isEmpty() && write(reports, &report, sizeof report) == sizeof report;
    _exit(told ? 0 : 1);
}

// How a child fares.
struct Progress
{
    QByteArray state; // as in /proc: R is ready to run, S waits for another process or thread
    qint64 workedMs = 0;
};

Progress progressOf(pid_t child)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(child));
    if (!stat.open(QIODevice::ReadOnly))
        return {};
    const QByteArray line = stat.readAll();
    // After the name in brackets: the state, and further on the ticks in user and system mode.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    const qint64 ticks = fields.value(11).toLongLong() + fields.value(12).toLongLong();
    return {fields.value(0), ticks * 1000 / sysconf(_SC_CLK_TCK)};
}

// The time that a decoding may take.
class TimeLimit
{
public:
    explicit TimeLimit(int ms)
        : mostMs(ms)
    {
        waiting.start();
    }

    // False as long as a child waits for its turn, as it does where other programs keep the
    // processor busy: it is ready to run and has not had the time that it may have.
    bool isUsedUp(const Progress &progress) const
    {
        const bool isKeptWaiting = progress.state == "R" && progress.workedMs < mostMs;
        return waiting.elapsed() >= mostMs && !isKeptWaiting;
    }

private:
    int mostMs;
    QElapsedTimer waiting;
};

struct Outcome
{
    std::optional<Report> report;
    bool stuck = false;
};

// What the child reports in time. A reader works and never sleeps: a child that does waits for a
// lock that another thread held at the fork, and which nobody will release in the child.
Outcome awaitReport(pid_t child, int reports, const TimeLimit &limit, bool canBeStuck)
{
    constexpr int lookMs = 50;
    pollfd watched = {reports, POLLIN, 0};
    Progress last;
    while (true) {
        const int ready = poll(&watched, 1, lookMs);
        if (ready > 0)
            break;
        if (ready < 0 && errno != EINTR)
            return {};
        const Progress now = progressOf(child);
        const bool sleeps = last.state == "S" && now.state == "S" && now.workedMs == last.workedMs;
        if (canBeStuck && sleeps)
            return {{}, true};
        if (limit.isUsedUp(now))
            return {};
        last = now;
    }
    Report report = {};
    if (read(reports, &report, sizeof report) != sizeof report)
        return {};
    return {report, false};
}

void endChild(pid_t child)
{
    kill(child, SIGKILL);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void release(void *holder)
{
    delete static_cast<SharedMemoryPtr *>(holder);
}

QImage pictureIn(const SharedMemoryPtr &memory, const QSize &size)
{
    if (!isDecodable(size) || memory->size() < pixelBytes(size))
        return {};
    return QImage(memory->pixels(), size.width(), size.height(), size.width() * int(sizeof(QRgb)),
                  QImage::Format_RGB32, release,
                  std::make_unique<SharedMemoryPtr>(memory).release());
}

Outcome decodeOnce(const QByteArray &content, SharedMemory &memory, const TimeLimit &limit,
                   bool canBeStuck)
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return {};
    const Descriptor reports(ends[0]);
    Descriptor reporting(ends[1]);

    const pid_t self = getpid();
    const pid_t child = fork();
    if (child < 0)
        return {};
    if (child == 0) {
        confineChild(self);
        renewThreadPool();
        decodeInChild(content, memory, reporting.get());
    }
    reporting.close();
    const Outcome outcome = awaitReport(child, reports.get(), limit, canBeStuck);
    endChild(child); // from here on, nobody else changes the memory or its size
    memory.update();
    return outcome;
}

} // namespace

// A pipe or a device is not waited for.
QByteArray contentOfFile(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    const Descriptor opened(open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    struct stat is = {};
    if (!opened.isOpen() || fstat(opened.get(), &is) != 0 || !S_ISREG(is.st_mode) ||
        is.st_size > mostFileBytes)
        return {};
    QFile file;
    if (!file.open(opened.get(), QIODevice::ReadOnly | QIODevice::Unbuffered))
        return {};
    return file.read(is.st_size);
}

QImage decodeConfined(const QByteArray &content, int mostMs)
{
    constexpr int mostAttempts = 4;
    const SharedMemoryPtr memory = takeMemory();
    if (!memory->isOpen())
        return {};
    const TimeLimit limit(mostMs);
    Outcome outcome;
    int attempt = 0;
    do {
        ++attempt;
        outcome = decodeOnce(content, *memory, limit, attempt < mostAttempts);
    } while (outcome.stuck);
    dropLargeMemory(memory);
    const std::optional<Report> &report = outcome.report;
    return report ? pictureIn(memory, {report->width, report->height}) : QImage();
}

} // namespace kivra
