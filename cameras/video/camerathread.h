#pragma once

#include "cameras/video/newestframe.h"
#include "cameras/video/nodeclaims.h"
#include "cameras/video/opencamera.h"
#include "cameras/video/soughtcamera.h"

#include <atomic>

namespace kivra::cameras {

/// What a camera delivers, as it came to be.
struct StreamFacts
{
    double rate = 0; ///< frames a second
    bool isJpeg = false;
    std::vector<Size> stillSizes; ///< upright: the stream's, then larger ones
    LockSet locks = 0;            ///< what the device can hold
    bool canCompensate = true;    ///< the exposure
};

/// A still picture to be taken.
struct StillOrder
{
    int id = 0;
    Size size;           ///< one of StreamFacts::stillSizes
    bool asFile = false; ///< the camera's own JPEG is wanted, where the stream has it
};

/// What became of it.
struct StillResult
{
    int id = 0;
    std::shared_ptr<const DecodedFrame> picture;   ///< null if none could be taken
    std::optional<std::vector<std::uint8_t>> file; ///< the camera's own JPEG, complete
};

/// Hears of a camera, on any of its threads. What belongs to a start has the number of it.
class CameraListener
{
public:
    virtual ~CameraListener() = default;

    /// The first picture of a start, or after a fault, is about to be told.
    virtual void onStarted(int start, const StreamFacts &facts) = 0;
    /// A picture waits.
    virtual void onPicture(int start) = 0;
    /// There are no pictures any more; told once, until there are. The search for the camera goes
    /// on.
    virtual void onFault(int start, const FaultReport &report) = 0;
    /// The camera has been found as this device.
    virtual void onFound(const VideoDevice &device) = 0;
    virtual void onStillExposed(int id) = 0;
    virtual void onStill(const StillResult &result) = 0;
    virtual void onLocks(LockSet locks, bool found) = 0;
};

/// One camera and the thread that opens it, reads it, looks for it when it is lost, and closes it.
/// Everything is called on one other thread, and nothing waits for the device but the destructor.
class CameraThread
{
public:
    struct Surroundings
    {
        Kernel &kernel;
        NodeClaims &claims;
        /// The cameras that are there, from memory; on any thread.
        std::function<std::vector<VideoDevice>()> devices;
        /// Read at each opening; on any thread.
        std::function<VideoSettings()> settings;
    };

    /// \a camera is the one wanted.
    CameraThread(Surroundings surroundings, const VideoDevice &camera,
                 std::shared_ptr<CameraListener> listener);
    ~CameraThread();

    CameraThread(const CameraThread &) = delete;
    CameraThread &operator=(const CameraThread &) = delete;

    /// Streams from now on, and looks for the camera as long as it is not there. Returns the number
    /// of this start.
    int start();
    /// Ends that. The device is closed, once a still picture that was asked for is taken.
    void stop();
    /// The picture that waits; null if there is none that is fresh.
    std::shared_ptr<const DecodedFrame> take();

    /// Answered by onStill(), unless it is cancelled.
    void takeStill(const StillOrder &order);
    void cancelStill();
    /// For what follows see DeviceControls. The compensation is kept for a camera that comes back;
    /// locks are lost with it.
    void lock(LockSet locks);
    void unlock(LockSet locks);
    void compensate(double ev);

    /// Devices came or went: what was not there may be now.
    void look();
    /// Ends everything, without waiting for it.
    void quit();
    /// Whether the thread has ended, so that the destructor does not wait.
    bool hasEnded() const { return ended; }

private:
    void run();
    bool goesOn();
    bool isWanted();

    void search();
    bool open(const VideoDevice &device);
    void close();
    void beginPictures();
    void endPictures();
    void onPicture();

    void read();
    bool drain(std::optional<CapturedFrame> &last);
    std::chrono::nanoseconds now() const { return around.kernel.now().awake; }
    std::chrono::nanoseconds frameless() const;
    void watchSuspend();
    void lose(Fault fault, int error);
    void tell(Fault fault, int error);

    std::optional<StillOrder> orderedStill();
    void serveStill(const StillOrder &order, const CapturedFrame &frame);
    void takeLarge(const StillOrder &order);
    std::shared_ptr<DecodedFrame> settledPicture();
    void answerStill(StillResult result);
    void failStill();
    void watchStill();
    StreamFacts factsOf(const OpenCamera &camera) const;

    const Surroundings around;
    const std::shared_ptr<CameraListener> listener;
    const std::unique_ptr<Waiter> waiter;

    // Of this thread.
    SoughtCamera sought;
    bool wasThere = false; // found since the start
    std::string claimed;   // the node, while it is open
    std::unique_ptr<OpenCamera> camera;
    std::unique_ptr<NewestFrame> pictures;
    Orientation orientation;
    std::uint64_t frameNumber = 0;
    std::chrono::nanoseconds asleep{0};
    std::chrono::nanoseconds goodSince{0}; // what came before does not count
    std::chrono::nanoseconds stillSince{0};
    int stillWatched = 0; // the number of the still that stillSince is about

    std::mutex mutex; // guards what follows
    NewestFrame *newest = nullptr;
    DeviceControls *controls = nullptr;
    StreamFacts facts;
    std::optional<StillOrder> still;
    double ev = 0;
    int startNumber = 0;
    int announced = 0; // the start that has been told of its pictures
    int losses = 0;    // of the stream, without a good picture between
    bool streams = false;
    bool faultTold = false;
    bool quitting = false;

    std::atomic<bool> ended{false};
    std::thread thread;
};

} // namespace kivra::cameras
