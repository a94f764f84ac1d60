#include "cameras/video/devicewatch.h"

#include <algorithm>
#include <chrono>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace kivra::cameras {

namespace {

// Long enough for any disk, too short to look like a hang.
constexpr std::chrono::milliseconds firstLookTakes{1000};
// Without inotify watches (the system limits them), poll the list at this interval.
constexpr int unwatchedPauseMs = 2000;

constexpr std::uint32_t nodeEvents =
    IN_CREATE | IN_DELETE | IN_ATTRIB | IN_MOVED_TO | IN_MOVED_FROM;
// udev writes a record under another name and renames it when its rules have run.
constexpr std::uint32_t recordEvents = IN_MOVED_TO | IN_CLOSE_WRITE;

bool isSame(const VideoDevice &a, const VideoDevice &b)
{
    return a.node == b.node && a.place == b.place && isSameModel(a, b);
}

} // namespace

DeviceWatch::DeviceWatch(DeviceFolders watched, Kernel &system, std::function<void()> changed)
    : folders(std::move(watched))
    , kernel(system)
    , onChange(std::move(changed))
    , events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , end(::eventfd(0, EFD_CLOEXEC))
{
    thread = std::thread([this] { watch(); });
}

DeviceWatch::~DeviceWatch()
{
    ::eventfd_write(end, 1);
    thread.join();
    ::close(events);
    ::close(end);
}

std::vector<VideoDevice> DeviceWatch::cameras() const
{
    std::unique_lock<std::mutex> lock(mutex);
    looked.wait_for(lock, firstLookTakes, [this] { return hasLooked; });
    return list;
}

void DeviceWatch::watch()
{
    const bool isWatched = ::inotify_add_watch(events, folders.nodes.c_str(), nodeEvents) != -1;
    ::inotify_add_watch(events, folders.udev.c_str(), recordEvents);
    look();
    pollfd sources[2] = {{end, POLLIN, 0}, {events, POLLIN, 0}};
    while (true) {
        ::poll(sources, 2, isWatched ? -1 : unwatchedPauseMs);
        if (sources[0].revents != 0)
            return;
        readEvents();
        look();
    }
}

/// Forgets the nodes that events name: one that went and came back between two looks may be another
/// device.
void DeviceWatch::readEvents()
{
    alignas(inotify_event) char buffer[4096];
    ssize_t length = 0;
    while ((length = ::read(events, buffer, sizeof buffer)) > 0) {
        for (ssize_t offset = 0; offset < length;) {
            const auto *const event = reinterpret_cast<const inotify_event *>(buffer + offset);
            // A record of udev may identify nodes that were only guessed before.
            const bool isRecord = event->len > 0 && event->name[0] == 'c';
            if ((event->mask & IN_Q_OVERFLOW) != 0 || isRecord)
                devices.clear();
            else if (event->len > 0)
                forget(event->name);
            offset += ssize_t(sizeof(inotify_event)) + event->len;
        }
    }
}

void DeviceWatch::forget(const std::string &name)
{
    const std::string node = folders.nodes + '/' + name;
    devices.erase(std::remove_if(devices.begin(), devices.end(),
                                 [&](const VideoDevice &device) { return device.node == node; }),
                  devices.end());
}

void DeviceWatch::look()
{
    devices = findDevices(folders, kernel, devices);
    std::vector<VideoDevice> found = camerasAmong(devices);
    bool hasChanged = false;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        hasChanged =
            hasLooked && !std::equal(list.begin(), list.end(), found.begin(), found.end(), isSame);
        list = std::move(found);
        hasLooked = true;
    }
    looked.notify_all();
    if (hasChanged)
        onChange();
}

} // namespace kivra::cameras
