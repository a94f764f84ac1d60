// A camera of Video4Linux without a kernel that has one. Preloaded, this library answers for the
// folder /dev and for /dev/video0 in place of the C library; everything else it passes on. The
// node's memory is a file in memory, so that mapping the frames and waiting for them need no help.

#include "tests/desktop/videonode.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/videodev2.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

namespace camera = kivra::test::videonode;

constexpr int framesPerSecond = 20;
constexpr int framesOfAKind = 6; // of the blinking square
constexpr __u32 mostBuffers = 32;
constexpr const char *nodePath = "/dev/video0";
constexpr const char *otherDevice = "/dev/null"; // a node that every machine has

template<typename Function>
Function *next(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

std::string devicesFolder()
{
    const char *const folder = std::getenv("KIVRA_TEST_DEVICES");
    return folder ? folder : "/nowhere";
}

bool exists(const char *name)
{
    return access((devicesFolder() + '/' + name).c_str(), F_OK) == 0;
}

bool pluggedIn()
{
    return exists("video0");
}

int failWith(int reason)
{
    errno = reason;
    return -1;
}

struct Yuv
{
    unsigned char y, u, v;
};

// Full-range RGB to what cameras send: the weights of BT.601, brightness 16 to 235.
Yuv toYuv(const camera::Colour &colour)
{
    const double red = colour.red / 255.0;
    const double green = colour.green / 255.0;
    const double blue = colour.blue / 255.0;
    const double brightness = 0.299 * red + 0.587 * green + 0.114 * blue;
    const auto byte = [](double value) { return static_cast<unsigned char>(std::lround(value)); };
    return {byte(16 + 219 * brightness), byte(128 + 224 * (blue - brightness) / 1.772),
            byte(128 + 224 * (red - brightness) / 1.402)};
}

camera::Colour colourAt(const camera::Size &size, int x, int y, bool lit)
{
    const int reach = size.height / 16;
    if (std::abs(x - size.width / 2) < reach && std::abs(y - size.height / 2) < reach)
        return lit ? camera::Colour{255, 255, 255} : camera::Colour{0, 0, 0};
    if (y < size.height / 2)
        return x < size.width / 2 ? camera::topLeft : camera::topRight;
    return x < size.width / 2 ? camera::bottomLeft : camera::bottomRight;
}

// Two pixels in four bytes: Y U Y V.
void draw(unsigned char *bytes, const camera::Size &size, unsigned number)
{
    const bool lit = number / framesOfAKind % 2 == 1;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; x += 2, bytes += 4) {
            const Yuv colour = toYuv(colourAt(size, x, y, lit));
            bytes[0] = bytes[2] = colour.y;
            bytes[1] = colour.u;
            bytes[3] = colour.v;
        }
    }
}

template<size_t Length>
void setText(__u8 (&field)[Length], const char *text)
{
    std::strncpy(reinterpret_cast<char *>(field), text, Length - 1);
}

/// The node as opened once, under any number of descriptors.
class Node
{
public:
    /// Takes over a descriptor of the memory that the frames are in.
    explicit Node(int descriptor)
        : memory(descriptor)
    {
    }
    ~Node() { ::close(memory); }

    Node(const Node &) = delete;
    Node &operator=(const Node &) = delete;

    int answer(unsigned long request, void *argument)
    {
        const std::lock_guard<std::mutex> guard(lock);
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
            return describe(*static_cast<v4l2_format *>(argument), size);
        case VIDIOC_TRY_FMT:
        case VIDIOC_S_FMT:
            return choose(*static_cast<v4l2_format *>(argument), request == VIDIOC_S_FMT);
        case VIDIOC_G_PARM:
        case VIDIOC_S_PARM:
            return describe(*static_cast<v4l2_streamparm *>(argument));
        case VIDIOC_REQBUFS:
            return allot(*static_cast<v4l2_requestbuffers *>(argument));
        case VIDIOC_QUERYBUF:
            return describe(*static_cast<v4l2_buffer *>(argument));
        case VIDIOC_QBUF:
            return enqueue(*static_cast<v4l2_buffer *>(argument));
        case VIDIOC_STREAMON:
            return 0;
        case VIDIOC_STREAMOFF:
            waiting.clear();
            return 0;
        default:
            return failWith(ENOTTY);
        }
    }

    // Waits for the next frame without keeping others from the node.
    int dequeue(v4l2_buffer &buffer)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(1000 / framesPerSecond));
        const std::lock_guard<std::mutex> guard(lock);
        if (!pluggedIn())
            return failWith(ENODEV);
        if (waiting.empty())
            return failWith(EAGAIN);
        buffer.index = waiting.front();
        waiting.pop_front();
        describe(buffer);
        if (!fill(buffer))
            return failWith(EIO);
        buffer.flags |= V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
        buffer.bytesused = frameBytes();
        buffer.field = V4L2_FIELD_NONE;
        buffer.sequence = number++;
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        buffer.timestamp = {now.tv_sec, now.tv_nsec / 1000};
        return 0;
    }

private:
    static int describe(v4l2_capability &answer)
    {
        answer = {};
        setText(answer.driver, "essai");
        setText(answer.card, "Visualiseur d'essai");
        setText(answer.bus_info, "usb-essai-1");
        answer.version = 0x060000;
        answer.device_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
        answer.capabilities = answer.device_caps | V4L2_CAP_DEVICE_CAPS;
        return 0;
    }

    static int describe(v4l2_input &answer)
    {
        if (answer.index > 0)
            return failWith(EINVAL);
        answer = {};
        setText(answer.name, "Camera 1");
        answer.type = V4L2_INPUT_TYPE_CAMERA;
        return 0;
    }

    static int describe(v4l2_fmtdesc &answer)
    {
        if (answer.index > 0 || answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
            return failWith(EINVAL);
        setText(answer.description, "YUYV 4:2:2");
        answer.flags = 0;
        answer.pixelformat = V4L2_PIX_FMT_YUYV;
        return 0;
    }

    static int describe(v4l2_frmsizeenum &answer)
    {
        if (answer.index >= camera::sizes.size())
            return failWith(EINVAL);
        const camera::Size &one = camera::sizes.at(answer.index);
        answer.type = V4L2_FRMSIZE_TYPE_DISCRETE;
        answer.discrete = {__u32(one.width), __u32(one.height)};
        return 0;
    }

    static int describe(v4l2_frmivalenum &answer)
    {
        if (answer.index > 0)
            return failWith(EINVAL);
        answer.type = V4L2_FRMIVAL_TYPE_DISCRETE;
        answer.discrete = {1, framesPerSecond};
        return 0;
    }

    static int describe(v4l2_streamparm &answer)
    {
        answer.parm.capture = {};
        answer.parm.capture.capability = V4L2_CAP_TIMEPERFRAME;
        answer.parm.capture.timeperframe = {1, framesPerSecond};
        return 0;
    }

    static int describe(v4l2_format &answer, const camera::Size &chosen)
    {
        if (answer.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
            return failWith(EINVAL);
        v4l2_pix_format &picture = answer.fmt.pix;
        picture = {};
        picture.width = __u32(chosen.width);
        picture.height = __u32(chosen.height);
        picture.pixelformat = V4L2_PIX_FMT_YUYV;
        picture.field = V4L2_FIELD_NONE;
        picture.bytesperline = picture.width * 2;
        picture.sizeimage = picture.bytesperline * picture.height;
        picture.colorspace = V4L2_COLORSPACE_SRGB;
        return 0;
    }

    int choose(v4l2_format &wanted, bool keep)
    {
        if (keep && exists("busy"))
            return failWith(EBUSY);
        camera::Size chosen = camera::sizes.front();
        for (const camera::Size &one : camera::sizes) {
            if (__u32(one.width) <= wanted.fmt.pix.width)
                chosen = one;
        }
        if (keep)
            size = chosen;
        return describe(wanted, chosen);
    }

    int allot(v4l2_requestbuffers &request)
    {
        if (request.memory != V4L2_MEMORY_MMAP)
            return failWith(EINVAL);
        request.count = std::min(request.count, mostBuffers);
        request.capabilities = V4L2_BUF_CAP_SUPPORTS_MMAP;
        waiting.clear();
        count = request.count;
        return ftruncate(memory, off_t(count) * bufferBytes());
    }

    int describe(v4l2_buffer &answer) const
    {
        if (answer.index >= count)
            return failWith(EINVAL);
        answer.flags = V4L2_BUF_FLAG_MAPPED;
        answer.length = __u32(bufferBytes());
        answer.memory = V4L2_MEMORY_MMAP;
        answer.m.offset = answer.index * __u32(bufferBytes());
        return 0;
    }

    int enqueue(v4l2_buffer &buffer)
    {
        if (describe(buffer) != 0)
            return -1;
        buffer.flags |= V4L2_BUF_FLAG_QUEUED;
        waiting.push_back(buffer.index);
        return 0;
    }

    bool fill(const v4l2_buffer &buffer) const
    {
        void *const bytes = mmap(nullptr, buffer.length, PROT_READ | PROT_WRITE, MAP_SHARED, memory,
                                 off_t(buffer.m.offset));
        if (bytes == MAP_FAILED)
            return false;
        draw(static_cast<unsigned char *>(bytes), size, number);
        munmap(bytes, buffer.length);
        return true;
    }

    __u32 frameBytes() const { return __u32(size.width * size.height * 2); }

    // Of whole pages, each buffer being mapped by itself.
    long bufferBytes() const
    {
        const long page = sysconf(_SC_PAGESIZE);
        return (long(frameBytes()) + page - 1) / page * page;
    }

    std::mutex lock;
    const int memory; // a descriptor of it
    camera::Size size = camera::sizes.front();
    __u32 count = 0; // of buffers
    std::deque<__u32> waiting;
    unsigned number = 0; // of the next frame
};

/// The open nodes by their descriptors. Never destroyed: the program closes files to its very end.
class Nodes
{
public:
    static Nodes &all()
    {
        static auto *const nodes = new Nodes;
        return *nodes;
    }

    int open(int flags)
    {
        if (!pluggedIn())
            return failWith(ENOENT);
        const int descriptor = memfd_create("video0", (flags & O_CLOEXEC) ? MFD_CLOEXEC : 0);
        const std::lock_guard<std::mutex> guard(lock);
        nodes[descriptor] = std::make_shared<Node>(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
        return descriptor;
    }

    void share(int descriptor, int copy)
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = nodes.find(descriptor);
        if (found != nodes.end() && copy >= 0)
            nodes[copy] = found->second;
    }

    void forget(int descriptor)
    {
        std::shared_ptr<Node> last; // goes when the lock is free again: it closes a file itself
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = nodes.find(descriptor);
        if (found == nodes.end())
            return;
        last = std::move(found->second);
        nodes.erase(found);
    }

    std::shared_ptr<Node> find(int descriptor)
    {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = nodes.find(descriptor);
        return found == nodes.end() ? nullptr : found->second;
    }

private:
    std::mutex lock;
    std::map<int, std::shared_ptr<Node>> nodes;
};

} // namespace

extern "C" {

DIR *opendir(const char *path)
{
    static auto *const passOn = next<decltype(opendir)>("opendir");
    const bool devices = std::strcmp(path, "/dev") == 0 || std::strcmp(path, "/dev/") == 0;
    return passOn(devices ? devicesFolder().c_str() : path);
}

int open64(const char *path, int flags, ...)
{
    static auto *const passOn = next<int(const char *, int, ...)>("open64");
    if (std::strcmp(path, nodePath) == 0)
        return Nodes::all().open(flags);
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return passOn(path, flags, mode);
}

int stat64(const char *path, struct stat64 *answer) noexcept
{
    static auto *const passOn = next<int(const char *, struct stat64 *)>("stat64");
    if (std::strcmp(path, nodePath) != 0)
        return passOn(path, answer);
    return pluggedIn() ? passOn(otherDevice, answer) : failWith(ENOENT);
}

int dup(int descriptor) noexcept
{
    static auto *const passOn = next<int(int)>("dup");
    const int copy = passOn(descriptor);
    Nodes::all().share(descriptor, copy);
    return copy;
}

int close(int descriptor)
{
    static auto *const passOn = next<int(int)>("close");
    Nodes::all().forget(descriptor);
    return passOn(descriptor);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    static auto *const passOn = next<int(int, unsigned long, ...)>("ioctl");
    va_list rest;
    va_start(rest, request);
    void *const argument = va_arg(rest, void *);
    va_end(rest);
    const std::shared_ptr<Node> node = Nodes::all().find(descriptor);
    if (!node)
        return passOn(descriptor, request, argument);
    // Some programs hand the number on as a signed int.
    const unsigned long number = request & 0xffffffffUL;
    if (number == VIDIOC_DQBUF)
        return node->dequeue(*static_cast<v4l2_buffer *>(argument));
    return node->answer(number, argument);
}

} // extern "C"
