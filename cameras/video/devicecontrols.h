#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace kivra::cameras {

class Node;

/// What can be locked at its present setting; sets are combined by "or".
enum Lock : unsigned {
    LockOfFocus = 1,
    LockOfExposure = 2,
    LockOfWhiteBalance = 4,
};
using LockSet = unsigned;

/// The controls of one open camera, on a worker thread: some cameras take half a second for each
/// control, and neither frames nor stills should wait for that.
///
/// Keeps the wanted state, not a list of orders: what is wanted and given up again before the
/// thread gets to it is never done. The destructor leaves the device as it was found.
class DeviceControls
{
public:
    /// Calls \a onLocks on the worker thread when the search for some locks has ended. \a node must
    /// outlive this.
    DeviceControls(Node &node, std::function<void(LockSet locks, bool found)> onLocks);
    ~DeviceControls();

    DeviceControls(const DeviceControls &) = delete;
    DeviceControls &operator=(const DeviceControls &) = delete;

    /// What the device has; known from the constructor on.
    LockSet supportedLocks() const { return supported; }
    bool canCompensate() const { return hasBias || hasExposureTime; }

    /// Turns the automatic controls of \a locks off at their present settings. Each lock is
    /// answered, unless it is given up before.
    void lock(LockSet locks);
    /// Restores what lock() found.
    void unlock(LockSet locks);
    /// Makes the picture brighter or darker by \a ev stops than the camera would.
    void compensate(double ev);
    /// The frequency of the lamps, 50 or 60 Hz; 0 lets the camera find it out, or means 50 if it
    /// cannot.
    void setMains(int hertz);

private:
    using Values = std::vector<std::pair<std::uint32_t, std::int32_t>>;
    struct Range
    {
        std::int32_t least = 0;
        std::int32_t most = 0;
    };
    struct Wanted
    {
        LockSet locks = 0;
        double ev = 0;
        std::optional<int> mains;
    };

    std::optional<Range> rangeOf(std::uint32_t id) const;
    std::optional<std::int32_t> read(std::uint32_t id) const;
    bool write(std::uint32_t id, std::int32_t value);
    bool hasMenuItem(std::uint32_t id, const Range &range, std::int32_t item) const;
    void want(const std::function<void(Wanted &)> &change);

    void work();
    void apply(const Wanted &now);
    void applyMains(int hertz);
    void applyBias(double ev);
    void applyTime(double ev);
    bool hold(Lock lock);
    void letGo(Lock lock);
    void restore();

    Node &node;
    const std::function<void(LockSet, bool)> onLocks;
    LockSet supported = 0;
    bool hasBias = false;
    bool hasExposureTime = false;

    // Used by the worker thread only.
    Wanted done;
    Values found;                // of the changed controls, in the order of the first change
    std::map<Lock, Values> held; // the automatic controls that were turned off, as they were
    std::optional<std::int32_t> standingTime; // the exposure time when it was locked

    std::mutex mutex; // guards what follows
    std::condition_variable wake;
    Wanted wanted;
    bool ending = false;

    std::thread thread;
};

} // namespace kivra::cameras
