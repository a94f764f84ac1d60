#pragma once

#include "cameras/video/kernel.h"
#include "cameras/video/videodevice.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace kivra::cameras {

/// Keeps the list of video nodes in memory. A worker thread updates it when the folder of the nodes
/// or udev's records change, and opens nodes only where it must.
class DeviceWatch
{
public:
    /// \a onChange is called on the worker thread after the list has changed.
    DeviceWatch(DeviceFolders folders, Kernel &kernel, std::function<void()> onChange);
    ~DeviceWatch();

    DeviceWatch(const DeviceWatch &) = delete;
    DeviceWatch &operator=(const DeviceWatch &) = delete;

    /// The cameras in the order of findDevices(), from memory. Until the first look is done, a call
    /// waits for it, but only a moment, because a driver may block it.
    std::vector<VideoDevice> cameras() const;

private:
    void watch();
    void look();
    void readEvents();
    void forget(const std::string &name);

    const DeviceFolders folders;
    Kernel &kernel;
    const std::function<void()> onChange;
    const int events; // inotify
    const int end;    // eventfd

    // Used by the worker thread only.
    std::vector<VideoDevice> devices;

    mutable std::mutex mutex; // guards what follows
    mutable std::condition_variable looked;
    std::vector<VideoDevice> list;
    bool hasLooked = false;

    std::thread thread;
};

} // namespace kivra::cameras
