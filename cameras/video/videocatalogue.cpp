#include "cameras/video/videocatalogue.h"

#include "cameras/video/videosource.h"

#include <algorithm>

namespace kivra::cameras {

namespace {

bool hasTwin(const VideoDevice &device, const std::vector<VideoDevice> &all)
{
    return std::count_if(all.begin(), all.end(),
                         [&](const VideoDevice &other) { return other.name == device.name; }) > 1;
}

QString descriptionOf(const VideoDevice &device, const std::vector<VideoDevice> &all)
{
    QString name = QString::fromStdString(device.name);
    if (!hasTwin(device, all))
        return name;
    const std::string &place = device.place.empty() ? device.node : device.place;
    return QStringLiteral("%1 (%2)").arg(name, QString::fromStdString(place));
}

} // namespace

VideoCatalogue::VideoCatalogue(Kernel &system, const DeviceFolders &folders)
    : kernel(system)
    , watch(std::make_unique<DeviceWatch>(folders, kernel, [this] { onChange(); }))
{
}

VideoCatalogue::~VideoCatalogue()
{
    // The watch's thread may still use the list.
    std::vector<std::shared_ptr<CameraThread>> ending;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ending.swap(threads);
    }
    for (const std::shared_ptr<CameraThread> &thread : ending)
        thread->quit();
    ending.clear();
    watch.reset();
}

QList<Device> VideoCatalogue::devices() const
{
    const std::vector<VideoDevice> cameras = watch->cameras();
    QList<Device> list;
    for (const VideoDevice &camera : cameras)
        list.append({QByteArray::fromStdString(camera.node), descriptionOf(camera, cameras)});
    return list;
}

std::unique_ptr<FrameSource> VideoCatalogue::open(const QByteArray &name)
{
    const std::vector<VideoDevice> cameras = watch->cameras();
    const auto camera =
        std::find_if(cameras.begin(), cameras.end(),
                     [&](const VideoDevice &device) { return name == device.node.c_str(); });
    if (camera == cameras.end())
        return nullptr;
    forgetEnded();
    return std::make_unique<VideoSource>([&](std::shared_ptr<CameraListener> listener) {
        const CameraThread::Surroundings around{kernel, claims, [this] { return watch->cameras(); },
                                                videoSettings};
        auto thread = std::make_shared<CameraThread>(around, *camera, std::move(listener));
        const std::lock_guard<std::mutex> lock(mutex);
        threads.push_back(thread);
        return thread;
    });
}

/// Called on the watch's thread.
void VideoCatalogue::onChange()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        for (const std::shared_ptr<CameraThread> &thread : threads)
            thread->look();
    }
    QMetaObject::invokeMethod(this, &VideoCatalogue::devicesChanged, Qt::QueuedConnection);
}

void VideoCatalogue::forgetEnded()
{
    const std::lock_guard<std::mutex> lock(mutex);
    threads.erase(std::remove_if(threads.begin(), threads.end(),
                                 [](const std::shared_ptr<CameraThread> &thread) {
                                     return thread->hasEnded();
                                 }),
                  threads.end());
}

} // namespace kivra::cameras
