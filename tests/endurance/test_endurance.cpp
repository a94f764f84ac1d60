// Long use by somebody without a plan, at cameras that fail: the program does not crash, does not
// hang, always comes back to a live picture, and does not grow.
//
// KIVRA_ENDURANCE_SECONDS sets how long at least, KIVRA_SEED the random numbers. The same seed
// gives the same use, except where a thread or a timer answers earlier or later. KIVRA_TRACE=1
// prints each step before it is taken.

#include "storage/paths.h"
#include "storage/settings.h"
#include "tests/endurance/answers.h"
#include "tests/endurance/heartbeat.h"
#include "tests/endurance/mishaps.h"
#include "tests/endurance/user.h"
#include "tests/support/memory.h"
#include "tests/support/pictures.h"
#include "tests/support/sandbox.h"
#include "tests/support/testmain.h"
#include "tests/support/thisbuild.h"
#include "video/videosurface.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QMenu>
#include <QPixmapCache>
#include <algorithm>
#include <cstdio>
#include <malloc.h>
#include <vector>

using namespace kivra::test;

namespace {

// For the user, a hang is a window that does not answer. What counts is the work of the window's
// thread, not the time, because a busy machine keeps any program waiting. Code under the sanitizers
// takes several times as long.
const int longestTurnMs = isSanitized() ? 2500 : 500;
// No turn at all for this long is a dead window on any machine.
constexpr int hangMs = 60000;

// Between two closings of the window.
constexpr int stepsOfAUse = 200;

// How much memory may grow between the second third of all uses and the last. In the first, caches
// fill.
constexpr qint64 allowedHeapGrowth = qint64(1) << 19;
constexpr qint64 allowedResidentGrowth = qint64(4) << 20;

// Now and then a use leaves a large picture in a cache until the next use. In too few samples, most
// might have one. The sanitizers, with which memory is not measured, see some 900 steps.
const int fewestUses = isSanitized() ? 6 : 24;

struct Sample
{
    qint64 heap;
    qint64 resident;
};

int numberFrom(const char *variable, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? number : otherwise;
}

// The largest picture, and those whose decoding uses up all the time that it may take. Other tests
// cover what these files may do.
bool isExtreme(const QString &name)
{
    const QStringList names = {QStringLiteral("bomb.svgz"),   QStringLiteral("huge.mng"),
                               QStringLiteral("largest.png"), QStringLiteral("loop.mng"),
                               QStringLiteral("scans.jpg"),   QStringLiteral("text-bomb.png")};
    return names.contains(name);
}

const QDir &corpus()
{
    static const QDir folder(QStringLiteral(KIVRA_CORPUS));
    return folder;
}

QStringList corpusFiles()
{
    QStringList names = corpus().entryList(QDir::Files, QDir::Name);
    names.erase(std::remove_if(names.begin(), names.end(), isExtreme), names.end());
    return names;
}

QDir loanFolder()
{
    return QDir(Sandbox::instance().documents() + QStringLiteral("/prêt"));
}

// Hostile and sound files in a folder of their own, which can be browsed once one is opened; also
// that folder, and a file that does not exist.
QStringList pathsToOpen()
{
    QStringList paths = {loanFolder().path(), QStringLiteral("nowhere.png")};
    for (const QString &name : corpusFiles())
        paths += loanFolder().filePath(name);
    return paths;
}

void fill(const QDir &folder)
{
    folder.mkpath(QStringLiteral("."));
    gradient({640, 480}).save(folder.filePath(QStringLiteral("im.jpg")));
    gradient({1280, 720}).save(folder.filePath(QStringLiteral("im.png")));
    for (const QString &name : corpusFiles())
        QFile::copy(corpus().filePath(name), folder.filePath(name));
}

// Two months of stored pictures, good and bad, and a folder of pictures from elsewhere.
void fillDocuments()
{
    fill(loanFolder());
    for (const char *month : {"2026-01", "2026-02"})
        fill(QDir(storageRoot() + QStringLiteral("/tableaux/") + QLatin1String(month)));
}

// Drops all but fatal messages: the program and Qt log much about all this.
void dropMessages(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type != QtFatalMsg)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(text));
    std::abort();
}

// What a use leaves in memory varies with its last pictures, and how much of that the system can
// take back varies with their addresses. A leak raises even the smallest samples, apart from a
// lucky one or two.
qint64 lowerQuartile(const QList<Sample> &samples, qint64 Sample::*part)
{
    std::vector<qint64> sizes;
    for (const Sample &sample : samples)
        sizes.push_back(sample.*part);
    const auto quartile = sizes.begin() + std::ptrdiff_t(sizes.size() / 4);
    std::nth_element(sizes.begin(), quartile, sizes.end());
    return *quartile;
}

qint64 grown(const QList<Sample> &early, const QList<Sample> &late, qint64 Sample::*part)
{
    return lowerQuartile(late, part) - lowerQuartile(early, part);
}

} // namespace

class TestEndurance : public QObject
{
    Q_OBJECT

public slots:
    void openAddress(const QUrl &) { ++addresses; }

private slots:
    void init()
    {
        Sandbox::instance().reset();
        TestCamera::instance().reset();
        fillDocuments();
        QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "openAddress");
        QGuiApplication::setQuitOnLastWindowClosed(false);
    }

    void cleanup()
    {
        user.quit();
        QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    }

    void useWithoutAPlan()
    {
        std::printf("KIVRA_SEED=%u\n", seed);
        const QtMessageHandler before = qInstallMessageHandler(dropMessages);
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < qint64(seconds) * 1000 || samples.size() < fewestUses) {
            use();
            QVERIFY2(recovered(), "the live picture did not come back");
            user.quit();
            takeSample();
        }
        qInstallMessageHandler(before);
        report();
        QVERIFY(iFrame > 0 && addresses > 0 && answers.answered() > 0);
        QVERIFY2(heartbeat.busiest().processorMs <= longestTurnMs,
                 heartbeat.busiest().during.constData());
        if (!isSanitized())
            verifyFlatMemory();
    }

private:
    // A use ends early if the window is closed during it.
    void use()
    {
        TestCamera::instance().reset();
        mishaps.repair();
        if (dice.chance(20))
            settingsStore().clear();
        tell("start");
        user.start();
        for (int step = 0; step < stepsOfAUse && user.window()->isVisible(); ++step) {
            ++steps;
            if (dice.chance(60))
                user.act(tell);
            else
                mishaps.happen(tell);
            if (dice.chance(50))
                mishaps.pushFrames();
            QCoreApplication::processEvents();
        }
    }

    // What the user would try: open the window again, plug the camera in, choose it.
    bool recovered()
    {
        tell("recovery");
        Window *const window = user.window();
        window->show();
        user.letGo();
        mishaps.repair();
        window->find<QMenu>("menuDevices")->actions().constLast()->trigger();
        const QSize whole(40, 24);
        return QTest::qWaitFor([&] {
            TestCamera::instance().pushPicture(gradient(whole));
            const QSize size = window->probe.lastFrame().size();
            return size == whole || size == whole / 2;
        });
    }

    // First releases what the test holds itself, and what is kept on purpose until it is replaced.
    void takeSample()
    {
        TestCamera::instance().reset();
        QGuiApplication::clipboard()->clear();
        // QPixmapCache::clear() would keep the names of what it drops.
        const int limit = QPixmapCache::cacheLimit();
        QPixmapCache::setCacheLimit(0);
        QPixmapCache::setCacheLimit(limit);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        malloc_trim(0);
        samples.append({allocatedMemory(), residentMemory()});
    }

    void report() const
    {
        const Heartbeat::Turn longest = heartbeat.longest();
        const Heartbeat::Turn busiest = heartbeat.busiest();
        std::printf("%d steps, at a second each %.1f hours of use: %d frames, %d boxes, "
                    "%d addresses, %d windows\n",
                    steps, steps / 3600.0, iFrame, answers.answered(), addresses, samples.size());
        std::printf("longest turn %lld ms (%s), busiest %lld ms of work (%s)\n",
                    static_cast<long long>(longest.ms), longest.during.constData(),
                    static_cast<long long>(busiest.processorMs), busiest.during.constData());
    }

    void verifyFlatMemory()
    {
        const int third = samples.size() / 3;
        const QList<Sample> early = samples.mid(third, third);
        const QList<Sample> late = samples.mid(samples.size() - third);
        const qint64 heap = grown(early, late, &Sample::heap);
        const qint64 resident = grown(early, late, &Sample::resident);
        std::printf("grown: heap %lld KiB, resident %lld KiB\n",
                    static_cast<long long>(heap / 1024), static_cast<long long>(resident / 1024));
        QVERIFY(heap <= allowedHeapGrowth);
        QVERIFY(resident <= allowedResidentGrowth);
    }

    const int seconds = numberFrom("KIVRA_ENDURANCE_SECONDS", 0);
    const quint32 seed = quint32(numberFrom("KIVRA_SEED", 1));
    const bool trace = numberFrom("KIVRA_TRACE", 0) != 0;
    const QStringList files = pathsToOpen();
    Dice dice{seed};
    Mishaps mishaps{dice};
    User user{dice, files};
    Heartbeat heartbeat{hangMs};
    const Tell tell = [this](const char *what) {
        heartbeat.doing(what);
        if (trace)
            std::fprintf(stderr, "%d %s\n", steps, what);
    };
    Answers answers{dice, files, [this] { mishaps.happen(tell); }};
    QList<Sample> samples;
    int steps = 0;
    int addresses = 0;
};

KIVRA_TEST(TestEndurance)
#include "test_endurance.moc"
