// Cameras on their threads without Qt, so that the thread sanitizer sees all of them: a driver that
// delivers, a window that takes, and a caller that starts, stops, locks, captures and pulls the
// plug.

#include "cameras/video/camerathread.h"
#include "tests/support/fakekernel.h"

#include <cstdio>
#include <cstdlib>

namespace {

using namespace std::chrono_literals;
using namespace kivra::cameras;
using kivra::test::FakeCamera;
using kivra::test::FakeKernel;
using kivra::test::offer;

constexpr const char *path = "/dev/video0";
constexpr int rounds = 60;
constexpr std::chrono::seconds patience{60};

void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::exit(1);
}

/// Counts the callbacks, and wakes threads that wait for them.
class Hearer : public CameraListener
{
public:
    void onStarted(int, const StreamFacts &) override { count(starts); }
    void onPicture(int) override { count(pictures); }
    void onFault(int, const FaultReport &) override { count(faults); }
    void onFound(const VideoDevice &) override {}
    void onStillExposed(int) override {}
    void onStill(const StillResult &) override { count(stills); }
    void onLocks(LockSet, bool) override {}

    template<typename Condition>
    void waitFor(Condition condition, const char *what)
    {
        std::unique_lock<std::mutex> lock(mutex);
        require(told.wait_for(lock, patience, condition), what);
    }

    int starts = 0;
    int pictures = 0;
    int faults = 0;
    int stills = 0;

private:
    void count(int &number)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ++number;
        told.notify_all();
    }

    std::mutex mutex;
    std::condition_variable told;
};

/// A driver that delivers and a window that takes, each on a thread of its own.
class Surroundings
{
public:
    Surroundings(FakeKernel &kernel, CameraThread &camera)
        : driver([this, &kernel] {
            for (std::uint8_t value = 0; !ended; ++value) {
                if (!kernel.deliverEven(value))
                    std::this_thread::yield();
            }
        })
        , window([this, &camera] {
            std::uint64_t last = 0;
            while (!ended) {
                const auto picture = camera.take();
                if (!picture) {
                    std::this_thread::yield();
                    continue;
                }
                require(picture->number > last, "a picture came out of order");
                last = picture->number;
            }
        })
    {
    }

    ~Surroundings()
    {
        ended = true;
        driver.join();
        window.join();
    }

private:
    std::atomic<bool> ended{false};
    std::thread driver;
    std::thread window;
};

FakeCamera usualCamera()
{
    FakeCamera camera;
    camera.offers = {offer(V4L2_PIX_FMT_YUYV, 64, 48, 30), offer(V4L2_PIX_FMT_YUYV, 2048, 32, 30)};
    camera.controls[V4L2_CID_FOCUS_AUTO] = {0, 1, 1, 0, {}};
    camera.controls[V4L2_CID_EXPOSURE_ABSOLUTE] = {1, 1000, 100, 0, {}};
    return camera;
}

VideoDevice device()
{
    VideoDevice result;
    result.node = path;
    result.name = "essai";
    return result;
}

/// Uses a camera again and again, each time at another moment of what the camera does.
void use(CameraThread &camera, Hearer &hearer, FakeKernel &kernel)
{
    for (int round = 1; round <= rounds; ++round) {
        const int starts = hearer.starts;
        const int stills = hearer.stills;
        camera.start();
        hearer.waitFor([&] { return hearer.starts > starts; }, "the camera does not start");
        camera.lock(LockOfFocus | LockOfExposure);
        camera.compensate(round % 3 - 1);
        camera.takeStill({round, round % 4 == 0 ? Size{2048, 32} : Size{64, 48}, false});
        camera.unlock(LockOfFocus | LockOfExposure);
        if (round % 2 == 0)
            camera.stop();
        hearer.waitFor([&] { return hearer.stills > stills; }, "the still is not answered");
        if (round % 5 == 0) {
            const int faults = hearer.faults;
            camera.start();
            kernel.unplug(path);
            hearer.waitFor([&] { return hearer.faults > faults; }, "the loss is not told");
            kernel.plug(path, usualCamera());
            camera.look();
        }
        camera.stop();
        camera.cancelStill();
    }
}

} // namespace

int main()
{
    FakeKernel kernel;
    kernel.plug(path, usualCamera());
    NodeClaims claims;
    const auto hearer = std::make_shared<Hearer>();
    const CameraThread::Surroundings around{kernel, claims,
                                            [] { return std::vector<VideoDevice>{device()}; },
                                            [] { return VideoSettings(); }};
    {
        CameraThread camera(around, device(), hearer);
        const Surroundings others(kernel, camera);
        use(camera, *hearer, kernel);
        // Another thread for the same node waits until this one releases the node.
        CameraThread next(around, device(), hearer);
        camera.start();
        next.start();
        camera.quit();
        const int starts = hearer->starts;
        hearer->waitFor([&] { return hearer->starts > starts; }, "the next camera does not start");
    }
    require(!kernel.isOpen(), "the camera is still open");
    std::printf("%d starts, %d pictures, %d faults, %d stills\n", hearer->starts, hearer->pictures,
                hearer->faults, hearer->stills);
    return 0;
}
