#include "tests/videonode/node.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

extern "C" {
kivra::test::videonode::Figures kivra_videonode_figures;
}

namespace kivra::test::videonode {

namespace {

constexpr __u32 mostBuffers = 32;
constexpr unsigned framesOfAKind = 6; // so that what blinks does so slowly enough to be seen

int failWith(int reason)
{
    errno = reason;
    return -1;
}

long long nowNs()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

ino_t plugOf(const std::string &node)
{
    struct stat plug = {};
    return lstat(inTree("dev/" + node).c_str(), &plug) == 0 ? plug.st_ino : 0;
}

template<size_t Length>
void setText(__u8 (&field)[Length], const std::string &text)
{
    std::strncpy(reinterpret_cast<char *>(field), text.c_str(), Length - 1);
}

// The stride of a row, in bytes; 0 for JPEG.
int strideOf(const Format &format)
{
    switch (format.fourcc) {
    case V4L2_PIX_FMT_MJPEG:
    case V4L2_PIX_FMT_JPEG:
        return 0;
    case V4L2_PIX_FMT_YUYV:
    case V4L2_PIX_FMT_UYVY:
        return 2 * format.width;
    default:
        return format.width;
    }
}

// The largest size of a frame in this format.
__u32 frameBytes(const Format &format)
{
    return __u32(format.width) * __u32(format.height) * 2;
}

// In whole pages, because each buffer is mapped by itself.
long bufferBytes(const Format &format)
{
    const long page = sysconf(_SC_PAGESIZE);
    return (long(frameBytes(format)) + page - 1) / page * page;
}

} // namespace

std::shared_ptr<Node> Node::open(const std::string &name, int flags)
{
    if (plugOf(name) == 0) {
        errno = ENOENT;
        return nullptr;
    }
    if (exists("forbidden")) {
        errno = EACCES;
        return nullptr;
    }
    std::shared_ptr<Node> node(new Node(name, flags));
    if (node->formats.empty()) {
        errno = EIO;
        return nullptr;
    }
    return node;
}

Node::Node(std::string name, int flags)
    : node(std::move(name))
    , waits((flags & O_NONBLOCK) == 0)
    , plug(plugOf(node))
    , readyDescriptor(eventfd(0, EFD_CLOEXEC | EFD_SEMAPHORE | EFD_NONBLOCK))
    , memoryDescriptor(memfd_create("frames", MFD_CLOEXEC))
    , formats(formatsOf(node))
    , format(formats.empty() ? Format() : formats.front())
{
}

Node::~Node()
{
    stop();
    forgetBuffers();
    ::close(readyDescriptor);
    ::close(memoryDescriptor);
}

bool Node::isGone() const
{
    return plugOf(node) != plug;
}

int Node::answer(unsigned long request, void *argument)
{
    if (request == VIDIOC_DQBUF)
        return dequeue(*static_cast<v4l2_buffer *>(argument));
    if (request == VIDIOC_STREAMOFF)
        return stop();
    const std::lock_guard<std::mutex> guard(lock);
    if (isGone())
        return failWith(ENODEV);
    switch (request) {
    case VIDIOC_QUERYCAP:
        return describe(*static_cast<v4l2_capability *>(argument));
    case VIDIOC_ENUMINPUT:
        return describe(*static_cast<v4l2_input *>(argument));
    case VIDIOC_G_INPUT:
        *static_cast<int *>(argument) = 0;
        return 0;
    case VIDIOC_S_INPUT:
        return *static_cast<int *>(argument) == 0 ? 0 : failWith(EINVAL);
    case VIDIOC_ENUM_FMT:
        return describe(*static_cast<v4l2_fmtdesc *>(argument));
    case VIDIOC_ENUM_FRAMESIZES:
        return describe(*static_cast<v4l2_frmsizeenum *>(argument));
    case VIDIOC_ENUM_FRAMEINTERVALS:
        return describe(*static_cast<v4l2_frmivalenum *>(argument));
    case VIDIOC_G_FMT:
        return describe(*static_cast<v4l2_format *>(argument), format);
    case VIDIOC_TRY_FMT:
    case VIDIOC_S_FMT:
        return choose(*static_cast<v4l2_format *>(argument), request == VIDIOC_S_FMT);
    case VIDIOC_G_PARM:
        return describe(*static_cast<v4l2_streamparm *>(argument));
    case VIDIOC_S_PARM:
        return chooseRate(*static_cast<v4l2_streamparm *>(argument));
    case VIDIOC_REQBUFS:
        return allot(*static_cast<v4l2_requestbuffers *>(argument));
    case VIDIOC_QUERYBUF:
        return describe(*static_cast<v4l2_buffer *>(argument));
    case VIDIOC_QBUF:
        return enqueue(*static_cast<v4l2_buffer *>(argument));
    case VIDIOC_STREAMON:
        return start();
    default:
        return failWith(ENOTTY);
    }
}

int Node::describe(v4l2_capability &answer) const
{
    answer = {};
    std::string name = contentOf("sys/" + node + "/name");
    name.erase(name.find_last_not_of('\n') + 1);
    setText(answer.driver, "essai");
    setText(answer.card, name);
    setText(answer.bus_info, "usb-essai-" + node);
    answer.version = 0x060000;
    answer.device_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    answer.capabilities = answer.device_caps | V4L2_CAP_DEVICE_CAPS;
    return 0;
}

int Node::describe(v4l2_input &answer)
{
    if (answer.index > 0)
        return failWith(EINVAL);
    answer = {};
    setText(answer.name, "Camera 1");
    answer.type = V4L2_INPUT_TYPE_CAMERA;
    return 0;
}

int Node::describe(v4l2_fmtdesc &answer) const
{
    std::vector<__u32> different;
    for (const Format &one : formats) {
        if (std::find(different.begin(), different.end(), one.fourcc) == different.end())
            different.push_back(one.fourcc);
    }
    if (answer.index >= different.size() || answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return failWith(EINVAL);
    answer.pixelformat = different.at(answer.index);
    const bool compressed = isCompressed(answer.pixelformat);
    setText(answer.description, compressed ? "Motion-JPEG" : "YUYV 4:2:2");
    answer.flags = compressed ? V4L2_FMT_FLAG_COMPRESSED : 0;
    return 0;
}

int Node::describe(v4l2_frmsizeenum &answer) const
{
    std::vector<v4l2_frmsize_discrete> sizes;
    for (const Format &one : formats) {
        const v4l2_frmsize_discrete size{__u32(one.width), __u32(one.height)};
        const bool known = std::any_of(sizes.begin(), sizes.end(), [&](const auto &other) {
            return other.width == size.width && other.height == size.height;
        });
        if (one.fourcc == answer.pixel_format && !known)
            sizes.push_back(size);
    }
    if (answer.index >= sizes.size())
        return failWith(EINVAL);
    answer.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    answer.discrete = sizes.at(answer.index);
    return 0;
}

int Node::describe(v4l2_frmivalenum &answer) const
{
    std::vector<__u32> rates;
    for (const Format &one : formats) {
        if (one.fourcc == answer.pixel_format && __u32(one.width) == answer.width &&
            __u32(one.height) == answer.height)
            rates.push_back(__u32(one.rate));
    }
    if (answer.index >= rates.size())
        return failWith(EINVAL);
    answer.type = V4L2_FRMIVAL_TYPE_DISCRETE;
    answer.discrete = {1, rates.at(answer.index)};
    return 0;
}

int Node::describe(v4l2_streamparm &answer) const
{
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return failWith(EINVAL);
    answer.parm.capture = {};
    answer.parm.capture.capability = V4L2_CAP_TIMEPERFRAME;
    answer.parm.capture.timeperframe = {1, __u32(format.rate)};
    return 0;
}

int Node::describe(v4l2_format &answer, const Format &chosen)
{
    if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return failWith(EINVAL);
    v4l2_pix_format &picture = answer.fmt.pix;
    picture = {};
    picture.width = __u32(chosen.width);
    picture.height = __u32(chosen.height);
    picture.pixelformat = chosen.fourcc;
    picture.field = V4L2_FIELD_NONE;
    picture.bytesperline = __u32(strideOf(chosen));
    picture.sizeimage = frameBytes(chosen);
    picture.colorspace = V4L2_COLORSPACE_SRGB;
    return 0;
}

int Node::describe(v4l2_buffer &answer) const
{
    if (answer.index >= count)
        return failWith(EINVAL);
    answer.flags = V4L2_BUF_FLAG_MAPPED;
    answer.length = __u32(bufferBytes(format));
    answer.memory = V4L2_MEMORY_MMAP;
    answer.m.offset = answer.index * answer.length;
    return 0;
}

// Chooses the widest size that fits, like drivers that round down.
int Node::choose(v4l2_format &wanted, bool keep)
{
    if (keep && (exists("busy") || count > 0))
        return failWith(EBUSY);
    const auto isKnown = [&](const Format &one) {
        return one.fourcc == wanted.fmt.pix.pixelformat;
    };
    const auto known = std::find_if(formats.begin(), formats.end(), isKnown);
    Format chosen = known == formats.end() ? formats.front() : *known;
    int nearest = 0;
    for (const Format &one : formats) {
        const bool fits =
            __u32(one.width) <= wanted.fmt.pix.width && __u32(one.height) <= wanted.fmt.pix.height;
        if (one.fourcc == chosen.fourcc && fits && one.width > nearest) {
            chosen = one;
            nearest = one.width;
        }
    }
    if (keep)
        format = chosen;
    return describe(wanted, chosen);
}

int Node::chooseRate(v4l2_streamparm &wanted)
{
    if (wanted.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
        return failWith(EINVAL);
    const v4l2_fract &interval = wanted.parm.capture.timeperframe;
    const double rate = interval.numerator ? double(interval.denominator) / interval.numerator : 0;
    for (const Format &one : formats) {
        if (one.fourcc == format.fourcc && one.width == format.width &&
            one.height == format.height && std::abs(one.rate - rate) < std::abs(format.rate - rate))
            format.rate = one.rate;
    }
    return describe(wanted);
}

int Node::allot(v4l2_requestbuffers &request)
{
    if (request.memory != V4L2_MEMORY_MMAP)
        return failWith(EINVAL);
    if (streams)
        return failWith(EBUSY);
    request.count = std::min(request.count, mostBuffers);
    request.capabilities = V4L2_BUF_CAP_SUPPORTS_MMAP;
    forgetBuffers();
    const off_t size = off_t(request.count) * bufferBytes(format);
    if (ftruncate(memoryDescriptor, size) != 0 || size == 0)
        return size == 0 ? 0 : -1;
    void *const mapped =
        mmap(nullptr, size_t(size), PROT_READ | PROT_WRITE, MAP_SHARED, memoryDescriptor, 0);
    if (mapped == MAP_FAILED)
        return -1;
    bytes = static_cast<unsigned char *>(mapped);
    count = request.count;
    return 0;
}

void Node::forgetBuffers()
{
    waiting.clear();
    filled.clear();
    if (bytes)
        munmap(bytes, size_t(count) * size_t(bufferBytes(format)));
    bytes = nullptr;
    count = 0;
}

int Node::enqueue(v4l2_buffer &buffer)
{
    if (describe(buffer) != 0)
        return -1;
    buffer.flags |= V4L2_BUF_FLAG_QUEUED;
    waiting.push_back(buffer.index);
    return 0;
}

int Node::dequeue(v4l2_buffer &buffer)
{
    while (true) {
        {
            const std::lock_guard<std::mutex> guard(lock);
            if (isGone())
                return failWith(ENODEV);
            if (!streams)
                return failWith(EINVAL);
            if (!filled.empty()) {
                const Filled frame = filled.front();
                filled.pop_front();
                eventfd_t one = 0;
                eventfd_read(readyDescriptor, &one);
                kivra_videonode_figures.lastDequeuedNs = frame.completeNs;
                buffer.index = frame.index;
                describe(buffer);
                buffer.flags |= V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
                buffer.bytesused = frame.bytes;
                buffer.field = V4L2_FIELD_NONE;
                buffer.sequence = frame.sequence;
                buffer.timestamp = {time_t(frame.completeNs / 1'000'000'000),
                                    suseconds_t(frame.completeNs % 1'000'000'000 / 1000)};
                return 0;
            }
        }
        if (!waits)
            return failWith(EAGAIN);
        pollfd descriptor = {readyDescriptor, POLLIN, 0};
        poll(&descriptor, 1, -1);
    }
}

int Node::start()
{
    if (exists("busy"))
        return failWith(EBUSY);
    const std::string room = contentOf("bandwidth");
    if (!room.empty() && bandwidthOf(format) > std::stod(room))
        return failWith(ENOSPC);
    if (streams)
        return 0;
    frames = framesOf(format);
    if (frames.empty())
        return failWith(EIO);
    streams = true;
    startedNs = nowNs();
    thread = std::thread([this] { deliver(); });
    return 0;
}

int Node::stop()
{
    {
        const std::lock_guard<std::mutex> guard(lock);
        streams = false;
        waiting.clear();
        filled.clear();
    }
    ended.notify_all();
    if (thread.joinable())
        thread.join();
    eventfd_t one = 0;
    while (eventfd_read(readyDescriptor, &one) == 0) {
    }
    return isGone() ? failWith(ENODEV) : 0;
}

void Node::deliver()
{
    pthread_setname_np(pthread_self(), "videonode");
    using Clock = std::chrono::steady_clock;
    const auto interval = std::chrono::nanoseconds(1'000'000'000 / format.rate);
    std::unique_lock<std::mutex> guard(lock);
    for (auto next = Clock::now() + interval; streams; next += interval) {
        if (ended.wait_until(guard, next, [this] { return !streams; }))
            return;
        if (isGone()) {
            eventfd_write(readyDescriptor, 1);
            return;
        }
        if (!deliverOne(guard))
            return;
    }
}

// False if the stream ended meanwhile.
bool Node::deliverOne(std::unique_lock<std::mutex> &guard)
{
    const __u32 sequence = number++;
    if (waiting.empty()) {
        ++kivra_videonode_figures.lost;
        return true;
    }
    const __u32 index = waiting.front();
    waiting.pop_front();
    const std::vector<char> &frame = frames.at(sequence / framesOfAKind % frames.size());
    const size_t length = std::min(frame.size(), size_t(frameBytes(format)));
    unsigned char *const place = bytes + size_t(index) * size_t(bufferBytes(format));
    guard.unlock();
    std::memcpy(place, frame.data(), length);
    guard.lock();
    if (!streams)
        return false;
    const long long complete = nowNs();
    ++kivra_videonode_figures.delivered;
    if (startedNs != 0)
        kivra_videonode_figures.startDelayNs = complete - std::exchange(startedNs, 0);
    filled.push_back({index, __u32(length), sequence, complete});
    eventfd_write(readyDescriptor, 1);
    return true;
}

} // namespace kivra::test::videonode
