#pragma once

#include "cameras/video/newestframe.h"
#include "cameras/video/nodeclaims.h"
#include "cameras/video/opencamera.h"
#include "cameras/video/soughtcamera.h"

#include <atomic>

namespace kivra::cameras {

/// What a camera actually delivers.
struct StreamFacts
{
    double rate = 0;              ///< frames a second
    std::vector<Size> stillSizes; ///< of the upright picture: the stream's, then larger ones
    LockSet locks = 0;            ///< what the device can lock
    bool canCompensate = true;    ///< the exposure
};

/// A still picture to be taken.
struct StillOrder
{
    int id = 0;
    Size size;           ///< one of StreamFacts::stillSizes
    bool asFile = false; ///< the camera's own JPEG is wanted, where the stream has it
};

/// The result of a StillOrder.
struct StillResult
{
    int id = 0;
    std::shared_ptr<const DecodedFrame> picture;   ///< null if none could be taken
    std::optional<std::vector<std::uint8_t>> file; ///< the camera's own JPEG, complete
};

/// Receives a camera's callbacks, on any of its threads. \a start is the number that start()
/// returned.
class CameraListener
{
public:
    virtual ~CameraListener() = default;

    /// Comes before onPicture() for the first picture after a start or a fault.
    virtual void onStarted(int start, const StreamFacts &facts) = 0;
    /// A picture is ready for take().
    virtual void onPicture(int start) = 0;
    /// No more pictures come. Called once, until there are pictures again. The search for the
    /// camera goes on.
    virtual void onFault(int start, const FaultReport &report) = 0;
    /// The camera has been found as this device.
    virtual void onFound(const VideoDevice &device) = 0;
    virtual void onStillExposed(int id) = 0;
    virtual void onStill(const StillResult &result) = 0;
    virtual void onLocks(LockSet locks, bool found) = 0;
};

/// One camera and the thread that opens it, reads it, looks for it when it is lost, and closes it.
/// All functions are called on one other thread; only the destructor waits for the device.
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

    /// Streams from now on, and looks for the camera while it is away. Returns the number of this
    /// start.
    int start();
    /// Stops streaming and closes the device, after taking a still that was requested.
    void stop();
    /// Takes the picture that is ready; null if there is none, or only one that is too old.
    std::shared_ptr<const DecodedFrame> take();

    /// Orders a still. onStill() answers, unless it is cancelled.
    void takeStill(const StillOrder &order);
    void cancelStill();
    /// For these three see DeviceControls. When a camera goes away and comes back, the compensation
    /// is kept and the locks are lost.
    void lock(LockSet locks);
    void unlock(LockSet locks);
    void compensate(double ev);

    /// To be called when devices came or went: looks for the camera again.
    void look();
    /// Ends everything, without waiting.
    void quit();
    /// Whether the thread has ended; then the destructor does not wait.
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
    StillResult stillFrom(const CapturedFrame &frame, const StillOrder &order) const;
    void serveStill(const StillOrder &order, const CapturedFrame &frame);
    void takeLarge(const StillOrder &order);
    StillResult settledStill(const StillOrder &order);
    void answerStill(StillResult result);
    void failStill();
    void watchStill();
    StreamFacts factsOf(const OpenCamera &camera) const;

    const Surroundings around;
    const std::shared_ptr<CameraListener> listener;
    const std::unique_ptr<Waiter> waiter;

    // Used by this thread only.
    SoughtCamera sought;
    bool wasThere = false; // found since the start
    std::string claimed;   // the node, while it is open
    std::unique_ptr<OpenCamera> camera;
    std::unique_ptr<NewestFrame> pictures;
    Orientation orientation;
    std::uint64_t frameNumber = 0;
    std::chrono::nanoseconds asleep{0};
    std::chrono::nanoseconds goodSince{0}; // earlier times do not count
    std::chrono::nanoseconds stillSince{0};
    int stillWatched = 0; // the number of the still that stillSince is about

    std::mutex mutex; // guards what follows
    NewestFrame *newest = nullptr;
    DeviceControls *controls = nullptr;
    StreamFacts facts;
    std::optional<StillOrder> still;
    double ev = 0;
    int startNumber = 0;
    int announced = 0; // the start whose onStarted() has been called
    int losses = 0;    // of the stream, since the last good picture
    bool streams = false;
    bool faultTold = false;
    bool quitting = false;

    std::atomic<bool> ended{false};
    std::thread thread;
};

} // namespace kivra::cameras
