#include "cameras/video/devicecontrols.h"

#include "cameras/video/kernel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <linux/videodev2.h>

namespace kivra::cameras {

namespace {

constexpr std::array<Lock, 3> allLocks{LockOfFocus, LockOfExposure, LockOfWhiteBalance};

/// An automatic control, which drives another one.
struct Automatic
{
    Lock lock;
    std::uint32_t control;
    std::int32_t off;
    std::uint32_t led; ///< the driven control; its value is the present setting
};

constexpr std::array<Automatic, 4> automatics{{
    {LockOfFocus, V4L2_CID_FOCUS_AUTO, 0, V4L2_CID_FOCUS_ABSOLUTE},
    {LockOfExposure, V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_MANUAL, V4L2_CID_EXPOSURE_ABSOLUTE},
    {LockOfExposure, V4L2_CID_AUTOGAIN, 0, V4L2_CID_GAIN},
    {LockOfWhiteBalance, V4L2_CID_AUTO_WHITE_BALANCE, 0, V4L2_CID_WHITE_BALANCE_TEMPERATURE},
}};

// The exposure bias is in thousandths of a stop.
constexpr double biasUnits = 1000;
constexpr std::int32_t longestMenu = 256;

} // namespace

DeviceControls::DeviceControls(Node &controlled, std::function<void(LockSet, bool)> answer)
    : node(controlled)
    , onLocks(std::move(answer))
    , hasBias(rangeOf(V4L2_CID_AUTO_EXPOSURE_BIAS).has_value())
    , hasExposureTime(rangeOf(V4L2_CID_EXPOSURE_ABSOLUTE).has_value())
{
    for (const Automatic &automatic : automatics) {
        if (rangeOf(automatic.control))
            supported |= automatic.lock;
    }
    thread = std::thread([this] { work(); });
}

DeviceControls::~DeviceControls()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ending = true;
    }
    wake.notify_one();
    thread.join();
}

void DeviceControls::want(const std::function<void(Wanted &)> &change)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        change(wanted);
    }
    wake.notify_one();
}

void DeviceControls::lock(LockSet locks)
{
    want([=](Wanted &all) { all.locks |= locks; });
}

void DeviceControls::unlock(LockSet locks)
{
    want([=](Wanted &all) { all.locks &= ~locks; });
}

void DeviceControls::compensate(double ev)
{
    want([=](Wanted &all) { all.ev = ev; });
}

void DeviceControls::setMains(int hertz)
{
    want([=](Wanted &all) { all.mains = hertz; });
}

void DeviceControls::work()
{
    std::unique_lock<std::mutex> lock(mutex);
    const auto isBehind = [this] {
        return wanted.locks != done.locks || wanted.ev != done.ev || wanted.mains != done.mains;
    };
    while (true) {
        wake.wait(lock, [&] { return ending || isBehind(); });
        if (ending)
            break;
        const Wanted now = wanted;
        lock.unlock();
        apply(now);
        lock.lock();
    }
    lock.unlock();
    restore();
}

void DeviceControls::apply(const Wanted &now)
{
    const Wanted before = done;
    done = now;
    if (now.mains && now.mains != before.mains)
        applyMains(*now.mains);
    // Without a bias control, the exposure time is set by hand; the automatic exposure would undo
    // that, so it is turned off.
    const bool byTime = now.ev != 0 && !hasBias && hasExposureTime;
    const LockSet toHold = now.locks | (byTime ? unsigned(LockOfExposure) : 0u);
    for (const Lock lock : allLocks) {
        const bool isHeld = held.count(lock) > 0;
        const bool isFound = (toHold & lock) == 0 || isHeld || hold(lock);
        if ((toHold & lock) == 0 && isHeld)
            letGo(lock);
        if ((now.locks & ~before.locks & lock) != 0)
            onLocks(lock, isFound);
    }
    if (now.ev != before.ev && hasBias)
        applyBias(now.ev);
    else if (now.ev != before.ev && standingTime)
        applyTime(now.ev);
}

void DeviceControls::applyMains(int hertz)
{
    const std::optional<Range> range = rangeOf(V4L2_CID_POWER_LINE_FREQUENCY);
    if (!range)
        return;
    std::int32_t value =
        hertz == 60 ? V4L2_CID_POWER_LINE_FREQUENCY_60HZ : V4L2_CID_POWER_LINE_FREQUENCY_50HZ;
    if (hertz == 0 &&
        hasMenuItem(V4L2_CID_POWER_LINE_FREQUENCY, *range, V4L2_CID_POWER_LINE_FREQUENCY_AUTO))
        value = V4L2_CID_POWER_LINE_FREQUENCY_AUTO;
    write(V4L2_CID_POWER_LINE_FREQUENCY, value);
}

/// Chooses the nearest entry of the menu.
void DeviceControls::applyBias(double ev)
{
    const std::optional<Range> range = rangeOf(V4L2_CID_AUTO_EXPOSURE_BIAS);
    if (!range)
        return;
    std::optional<std::int32_t> best;
    double bestDistance = 0;
    for (std::int32_t item = range->least; item <= std::min(range->most, longestMenu); ++item) {
        v4l2_querymenu entry = {};
        entry.id = V4L2_CID_AUTO_EXPOSURE_BIAS;
        entry.index = std::uint32_t(item);
        if (node.control(VIDIOC_QUERYMENU, &entry) != 0)
            continue;
        const double distance = std::abs(double(entry.value) - ev * biasUnits);
        if (!best || distance < bestDistance) {
            best = item;
            bestDistance = distance;
        }
    }
    if (best)
        write(V4L2_CID_AUTO_EXPOSURE_BIAS, *best);
}

void DeviceControls::applyTime(double ev)
{
    const std::optional<Range> range = rangeOf(V4L2_CID_EXPOSURE_ABSOLUTE);
    if (!range)
        return;
    const double time = *standingTime * std::exp2(ev);
    write(V4L2_CID_EXPOSURE_ABSOLUTE,
          std::int32_t(std::clamp(time, double(range->least), double(range->most))));
}

/// Turns the lock's automatic controls off and sets the driven ones to their present values: many
/// cameras would return to those set by hand earlier. False if the device has nothing to turn off.
bool DeviceControls::hold(Lock lock)
{
    Values &before = held[lock];
    bool isHeld = false;
    for (const Automatic &automatic : automatics) {
        if (automatic.lock != lock || !rangeOf(automatic.control))
            continue;
        const std::optional<std::int32_t> mode = read(automatic.control);
        const std::optional<std::int32_t> stands = read(automatic.led);
        if (!mode)
            continue;
        if (*mode != automatic.off) {
            if (!write(automatic.control, automatic.off))
                continue;
            before.emplace_back(automatic.control, *mode);
            if (stands)
                write(automatic.led, *stands);
        }
        isHeld = true;
    }
    if (lock == LockOfExposure)
        standingTime = read(V4L2_CID_EXPOSURE_ABSOLUTE);
    // A camera without automatic exposure can be compensated too.
    if (!isHeld && !(lock == LockOfExposure && standingTime))
        held.erase(lock);
    return isHeld;
}

void DeviceControls::letGo(Lock lock)
{
    if (lock == LockOfExposure && standingTime) {
        applyTime(0);
        standingTime.reset();
    }
    for (const auto &[control, value] : held[lock])
        write(control, value);
    held.erase(lock);
}

void DeviceControls::restore()
{
    for (auto change = found.rbegin(); change != found.rend(); ++change) {
        v4l2_control control = {change->first, change->second};
        node.control(VIDIOC_S_CTRL, &control);
    }
}

std::optional<DeviceControls::Range> DeviceControls::rangeOf(std::uint32_t id) const
{
    v4l2_queryctrl answer = {};
    answer.id = id;
    constexpr std::uint32_t unusable = V4L2_CTRL_FLAG_DISABLED | V4L2_CTRL_FLAG_READ_ONLY;
    if (node.control(VIDIOC_QUERYCTRL, &answer) != 0 || (answer.flags & unusable) != 0 ||
        answer.minimum > answer.maximum)
        return std::nullopt;
    return Range{answer.minimum, answer.maximum};
}

bool DeviceControls::hasMenuItem(std::uint32_t id, const Range &range, std::int32_t item) const
{
    v4l2_querymenu entry = {};
    entry.id = id;
    entry.index = std::uint32_t(item);
    return item >= range.least && item <= range.most && node.control(VIDIOC_QUERYMENU, &entry) == 0;
}

std::optional<std::int32_t> DeviceControls::read(std::uint32_t id) const
{
    v4l2_control control = {id, 0};
    if (node.control(VIDIOC_G_CTRL, &control) != 0)
        return std::nullopt;
    return control.value;
}

/// Sets a control unless it has that value already, and remembers its first value.
bool DeviceControls::write(std::uint32_t id, std::int32_t value)
{
    const std::optional<std::int32_t> before = read(id);
    if (!before)
        return false;
    if (*before == value)
        return true;
    v4l2_control control = {id, value};
    if (node.control(VIDIOC_S_CTRL, &control) != 0)
        return false;
    const bool isKept = std::any_of(found.begin(), found.end(),
                                    [id](const auto &change) { return change.first == id; });
    if (!isKept)
        found.emplace_back(id, *before);
    return true;
}

} // namespace kivra::cameras
