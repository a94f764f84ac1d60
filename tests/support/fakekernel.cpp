#include "tests/support/fakekernel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <numeric>

namespace kivra::test {

using cameras::Offer;

namespace {

// The distance between the planes of a buffer, in the offsets by which they are mapped.
constexpr std::uint32_t planeStep = 1024;

template<std::size_t Length>
void setText(__u8 (&field)[Length], const std::string &text)
{
    std::memset(field, 0, Length);
    std::memcpy(field, text.data(), std::min(text.size(), Length - 1));
}

std::uint32_t bytesPerRow(std::uint32_t fourcc, std::uint32_t width)
{
    switch (fourcc) {
    case V4L2_PIX_FMT_MJPEG:
        return 0;
    case V4L2_PIX_FMT_GREY:
    case V4L2_PIX_FMT_NV12:
    case V4L2_PIX_FMT_NV12M:
    case V4L2_PIX_FMT_YUV420:
    case V4L2_PIX_FMT_YUV420M:
        return width;
    case V4L2_PIX_FMT_RGB24:
    case V4L2_PIX_FMT_BGR24:
        return width * 3;
    case V4L2_PIX_FMT_XBGR32:
        return width * 4;
    default:
        return (width + 1) / 2 * 4;
    }
}

/// The bytes of each memory plane.
std::vector<std::uint32_t> bytesPerPlane(std::uint32_t fourcc, std::uint32_t stride,
                                         std::uint32_t width, std::uint32_t height)
{
    const std::uint32_t luma = stride * height;
    const std::uint32_t chroma = (stride + 1) / 2 * ((height + 1) / 2);
    switch (fourcc) {
    case V4L2_PIX_FMT_MJPEG:
        return {width * height + 4096};
    case V4L2_PIX_FMT_NV12:
    case V4L2_PIX_FMT_YUV420:
        return {luma + 2 * chroma};
    case V4L2_PIX_FMT_NV12M:
        return {luma, 2 * chroma};
    case V4L2_PIX_FMT_YUV420M:
        return {luma, chroma, chroma};
    default:
        return {luma};
    }
}

std::uint32_t typeOf(const FakeCamera &camera)
{
    return (camera.capabilities & V4L2_CAP_VIDEO_CAPTURE_MPLANE) != 0
               ? V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE
               : V4L2_BUF_TYPE_VIDEO_CAPTURE;
}

bool isMultiPlanar(std::uint32_t type)
{
    return type == V4L2_BUF_TYPE_VIDEO_CAPTURE_MPLANE;
}

bool isOf(const Offer &offer, std::uint32_t fourcc, std::uint32_t width, std::uint32_t height)
{
    return offer.fourcc == fourcc && offer.size.width == int(width) &&
           offer.size.height == int(height);
}

} // namespace

cameras::Offer offer(std::uint32_t fourcc, int width, int height, std::uint32_t rate)
{
    return {fourcc, {width, height}, {rate, 1}, false};
}

class FakeKernel::OpenNode : public cameras::Node
{
public:
    OpenNode(FakeKernel &owner, std::string at)
        : kernel(owner)
        , path(std::move(at))
        , generation(kernel.unplugged[path])
    {
    }

    ~OpenNode() override
    {
        const std::lock_guard<std::mutex> lock(kernel.mutex);
        --kernel.nodesOpen;
        if (kernel.streamer == this)
            kernel.streamer = nullptr;
    }

    int control(unsigned long request, void *argument) override
    {
        return kernel.answer(*this, request, argument);
    }

    void *map(std::size_t length, std::uint32_t offset) override
    {
        const std::lock_guard<std::mutex> lock(kernel.mutex);
        const std::uint32_t buffer = offset % planeStep;
        const std::uint32_t plane = offset / planeStep;
        if (buffer >= kernel.buffers.size() || plane >= kernel.buffers[buffer].planes.size() ||
            length > kernel.buffers[buffer].planes[plane].size())
            return nullptr;
        return kernel.buffers[buffer].planes[plane].data();
    }

    void unmap(void *, std::size_t) override {}

    bool isGone() const { return kernel.unplugged[path] != generation; }

    FakeKernel &kernel;
    const std::string path;
    const int generation;
};

class FakeKernel::FakeWaiter : public cameras::Waiter
{
public:
    explicit FakeWaiter(FakeKernel &owner)
        : kernel(owner)
    {
    }

    Wake wait(cameras::Node *node, std::optional<std::chrono::nanoseconds> longest) override
    {
        std::unique_lock<std::mutex> lock(kernel.mutex);
        const auto *const open = static_cast<OpenNode *>(node);
        const std::chrono::nanoseconds end =
            kernel.time.awake + longest.value_or(std::chrono::nanoseconds(0));
        const auto isReady = [&] { return open && (open->isGone() || !kernel.filled.empty()); };
        const auto isOver = [&] { return longest && kernel.time.awake >= end; };
        ++kernel.waiting;
        kernel.changed.wait(lock, [&] { return called || isReady() || isOver(); });
        --kernel.waiting;
        if (called) {
            called = false;
            return Wake::Called;
        }
        return isReady() ? Wake::Ready : Wake::TimeUp;
    }

    void wake() override
    {
        {
            const std::lock_guard<std::mutex> lock(kernel.mutex);
            called = true;
        }
        kernel.changed.notify_all();
    }

private:
    FakeKernel &kernel;
    bool called = false;
};

FakeKernel::FakeKernel() = default;
FakeKernel::~FakeKernel() = default;

void FakeKernel::plug(const std::string &path, const FakeCamera &camera)
{
    const std::lock_guard<std::mutex> lock(mutex);
    plugged[path] = camera;
}

void FakeKernel::unplug(const std::string &path)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        plugged.erase(path);
        ++unplugged[path];
        if (streamer && streamer->path == path)
            streamer = nullptr;
    }
    changed.notify_all();
}

void FakeKernel::change(const std::string &path, const std::function<void(FakeCamera &)> &function)
{
    const std::lock_guard<std::mutex> lock(mutex);
    function(plugged.at(path));
}

void FakeKernel::refuse(unsigned long request, int error)
{
    const std::lock_guard<std::mutex> lock(mutex);
    refusals[request] = error;
}

void FakeKernel::answerBy(const Answer &function)
{
    const std::lock_guard<std::mutex> lock(mutex);
    answerer = function;
}

void FakeKernel::holdControls(bool held)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        controlsHeld = held;
    }
    changed.notify_all();
}

bool FakeKernel::deliver(const std::vector<std::uint8_t> &bytes, std::uint32_t flags)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!streamer || queued.empty())
            return false;
        Buffer &buffer = buffers[queued.front()];
        filled.push_back(queued.front());
        queued.pop_front();
        auto next = bytes.begin();
        for (std::size_t i = 0; i < buffer.planes.size(); ++i) {
            const auto count = std::min<std::ptrdiff_t>(bytes.end() - next, planeSizes[i]);
            std::copy_n(next, count, buffer.planes[i].begin() + dataOffset);
            next += count;
            buffer.used[i] = dataOffset + std::uint32_t(count);
        }
        buffer.flags = flags;
    }
    changed.notify_all();
    return true;
}

bool FakeKernel::deliverEven(std::uint8_t value)
{
    return deliver(std::vector<std::uint8_t>(format().sizeimage, value));
}

void FakeKernel::advance(std::chrono::nanoseconds span)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        time.awake += span;
    }
    changed.notify_all();
}

void FakeKernel::suspend(std::chrono::nanoseconds span)
{
    const std::lock_guard<std::mutex> lock(mutex);
    time.asleep += span;
}

bool FakeKernel::isOpen() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return nodesOpen > 0;
}

bool FakeKernel::isStreaming() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return streamer != nullptr;
}

int FakeKernel::opened() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return timesOpened;
}

int FakeKernel::streamsBegun() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return timesStreamed;
}

int FakeKernel::queuedBuffers() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return int(queued.size());
}

v4l2_pix_format FakeKernel::format() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return current;
}

std::int32_t FakeKernel::control(const std::string &path, std::uint32_t id) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return plugged.at(path).controls.at(id).value;
}

int FakeKernel::controlsSet() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return timesControlled;
}

bool FakeKernel::somebodyWaits() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return waiting > 0;
}

std::unique_ptr<cameras::Node> FakeKernel::open(const std::string &path, int &error)
{
    const std::lock_guard<std::mutex> lock(mutex);
    ++timesOpened;
    const auto camera = plugged.find(path);
    error = camera == plugged.end() ? ENOENT : camera->second.openError;
    if (error != 0)
        return nullptr;
    ++nodesOpen;
    return std::make_unique<OpenNode>(*this, path);
}

std::unique_ptr<cameras::Waiter> FakeKernel::makeWaiter()
{
    return std::make_unique<FakeWaiter>(*this);
}

cameras::Moment FakeKernel::now()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return time;
}

int FakeKernel::answer(const OpenNode &node, unsigned long request, void *argument)
{
    std::unique_lock<std::mutex> lock(mutex);
    if (node.isGone())
        return ENODEV;
    FakeCamera &camera = plugged.at(node.path);
    const auto refusal = refusals.find(request);
    if (refusal != refusals.end() && refusal->second != 0)
        return refusal->second;
    if (answerer) {
        if (const std::optional<int> given = answerer(request, argument))
            return *given;
    }
    switch (request) {
    case VIDIOC_QUERYCAP: {
        auto &answer = *static_cast<v4l2_capability *>(argument);
        setText(answer.driver, "essai");
        setText(answer.card, camera.card);
        setText(answer.bus_info, camera.bus);
        answer.device_caps = camera.capabilities;
        answer.capabilities = camera.capabilities | V4L2_CAP_DEVICE_CAPS;
        return 0;
    }
    case VIDIOC_ENUM_FMT:
        return enumerateFormat(camera, *static_cast<v4l2_fmtdesc *>(argument));
    case VIDIOC_ENUM_FRAMESIZES:
        return enumerateSize(camera, *static_cast<v4l2_frmsizeenum *>(argument));
    case VIDIOC_ENUM_FRAMEINTERVALS:
        return enumerateRate(camera, *static_cast<v4l2_frmivalenum *>(argument));
    case VIDIOC_S_FMT:
        return setFormat(camera, *static_cast<v4l2_format *>(argument));
    case VIDIOC_S_PARM:
        return 0;
    case VIDIOC_REQBUFS:
        return allot(*static_cast<v4l2_requestbuffers *>(argument), camera);
    case VIDIOC_QUERYBUF:
        return describe(*static_cast<v4l2_buffer *>(argument));
    case VIDIOC_QBUF:
        return enqueue(*static_cast<v4l2_buffer *>(argument));
    case VIDIOC_DQBUF:
        return dequeue(*static_cast<v4l2_buffer *>(argument));
    case VIDIOC_STREAMON:
        return streamOn(node, camera);
    case VIDIOC_STREAMOFF:
        streamer = nullptr;
        queued.clear();
        filled.clear();
        return 0;
    case VIDIOC_QUERYCTRL:
        return queryControl(camera, *static_cast<v4l2_queryctrl *>(argument));
    case VIDIOC_QUERYMENU:
        return queryMenu(camera, *static_cast<v4l2_querymenu *>(argument));
    case VIDIOC_G_CTRL: {
        auto &asked = *static_cast<v4l2_control *>(argument);
        const auto control = camera.controls.find(asked.id);
        if (control == camera.controls.end())
            return EINVAL;
        asked.value = control->second.value;
        return 0;
    }
    case VIDIOC_S_CTRL:
        return setControl(lock, camera, *static_cast<v4l2_control *>(argument));
    default:
        return ENOTTY;
    }
}

int FakeKernel::enumerateFormat(const FakeCamera &camera, v4l2_fmtdesc &answer) const
{
    std::vector<std::uint32_t> different;
    for (const Offer &one : camera.offers) {
        if (std::find(different.begin(), different.end(), one.fourcc) == different.end())
            different.push_back(one.fourcc);
    }
    if (answer.type != typeOf(camera) || answer.index >= different.size())
        return EINVAL;
    answer.pixelformat = different[answer.index];
    return 0;
}

int FakeKernel::enumerateSize(const FakeCamera &camera, v4l2_frmsizeenum &answer) const
{
    std::vector<cameras::Size> different;
    for (const Offer &one : camera.offers) {
        if (one.fourcc == answer.pixel_format &&
            std::find(different.begin(), different.end(), one.size) == different.end())
            different.push_back(one.size);
    }
    if (answer.index >= different.size())
        return EINVAL;
    const cameras::Size size = different[answer.index];
    answer.type = V4L2_FRMSIZE_TYPE_DISCRETE;
    answer.discrete = {std::uint32_t(size.width), std::uint32_t(size.height)};
    return 0;
}

int FakeKernel::enumerateRate(const FakeCamera &camera, v4l2_frmivalenum &answer) const
{
    std::uint32_t index = 0;
    for (const Offer &one : camera.offers) {
        if (!isOf(one, answer.pixel_format, answer.width, answer.height) ||
            index++ != answer.index || !one.rate.isKnown())
            continue;
        answer.type = V4L2_FRMIVAL_TYPE_DISCRETE;
        answer.discrete = {one.rate.seconds, one.rate.frames};
        return 0;
    }
    return EINVAL;
}

int FakeKernel::setFormat(const FakeCamera &camera, v4l2_format &format)
{
    if (format.type != typeOf(camera) || camera.offers.empty())
        return EINVAL;
    v4l2_pix_format pix = {};
    // The first fields of both structures are alike.
    pix.width = format.fmt.pix.width;
    pix.height = format.fmt.pix.height;
    pix.pixelformat = format.fmt.pix.pixelformat;
    const bool isOffered =
        std::any_of(camera.offers.begin(), camera.offers.end(), [&](const Offer &one) {
            return isOf(one, pix.pixelformat, pix.width, pix.height);
        });
    if (!isOffered) {
        pix.pixelformat = camera.offers.front().fourcc;
        pix.width = std::uint32_t(camera.offers.front().size.width);
        pix.height = std::uint32_t(camera.offers.front().size.height);
    }
    pix.field = V4L2_FIELD_NONE;
    pix.bytesperline = bytesPerRow(pix.pixelformat, pix.width);
    if (pix.bytesperline > 0)
        pix.bytesperline += camera.padding;
    planeSizes = bytesPerPlane(pix.pixelformat, pix.bytesperline, pix.width, pix.height);
    pix.sizeimage = std::accumulate(planeSizes.begin(), planeSizes.end(), std::uint32_t{0});
    pix.colorspace = camera.colorspace;
    pix.ycbcr_enc = camera.encoding;
    pix.quantization = camera.quantization;
    current = pix;
    dataOffset = 0;
    if (isMultiPlanar(format.type)) {
        dataOffset = camera.dataOffset;
        tellPlanes(format.fmt.pix_mp);
    } else {
        format.fmt.pix = pix;
    }
    return 0;
}

void FakeKernel::tellPlanes(v4l2_pix_format_mplane &answer) const
{
    answer = {};
    answer.width = current.width;
    answer.height = current.height;
    answer.pixelformat = current.pixelformat;
    answer.field = current.field;
    answer.colorspace = current.colorspace;
    answer.ycbcr_enc = std::uint8_t(current.ycbcr_enc);
    answer.quantization = std::uint8_t(current.quantization);
    answer.num_planes = std::uint8_t(planeSizes.size());
    for (std::size_t i = 0; i < planeSizes.size(); ++i) {
        answer.plane_fmt[i].sizeimage = planeSizes[i];
        const bool isHalf = current.pixelformat == V4L2_PIX_FMT_YUV420M && i > 0;
        answer.plane_fmt[i].bytesperline =
            isHalf ? (current.bytesperline + 1) / 2 : current.bytesperline;
    }
}

int FakeKernel::allot(v4l2_requestbuffers &request, const FakeCamera &camera)
{
    if (request.type != typeOf(camera))
        return EINVAL;
    request.count = std::min(request.count, camera.mostBuffers);
    Buffer buffer;
    for (const std::uint32_t size : planeSizes)
        buffer.planes.emplace_back(dataOffset + size);
    buffer.used.resize(planeSizes.size());
    buffers.assign(request.count, buffer);
    queued.clear();
    filled.clear();
    return 0;
}

int FakeKernel::describe(v4l2_buffer &answer) const
{
    if (answer.index >= buffers.size())
        return EINVAL;
    const Buffer &buffer = buffers[answer.index];
    if (!isMultiPlanar(answer.type)) {
        answer.length = std::uint32_t(buffer.planes[0].size());
        answer.bytesused = buffer.used[0];
        answer.m.offset = answer.index;
        return 0;
    }
    if (answer.length < buffer.planes.size())
        return EINVAL;
    answer.length = std::uint32_t(buffer.planes.size());
    for (std::uint32_t i = 0; i < answer.length; ++i) {
        answer.m.planes[i].length = std::uint32_t(buffer.planes[i].size());
        answer.m.planes[i].bytesused = buffer.used[i];
        answer.m.planes[i].data_offset = dataOffset;
        answer.m.planes[i].m.mem_offset = answer.index + i * planeStep;
    }
    return 0;
}

int FakeKernel::enqueue(v4l2_buffer &buffer)
{
    const auto holds = [&](const std::deque<std::uint32_t> &list) {
        return std::find(list.begin(), list.end(), buffer.index) != list.end();
    };
    if (buffer.index >= buffers.size() || holds(queued) || holds(filled))
        return EINVAL;
    queued.push_back(buffer.index);
    return 0;
}

int FakeKernel::dequeue(v4l2_buffer &buffer)
{
    if (!streamer)
        return EINVAL;
    if (filled.empty())
        return EAGAIN;
    buffer.index = filled.front();
    filled.pop_front();
    buffer.flags = buffers[buffer.index].flags;
    return describe(buffer);
}

int FakeKernel::streamOn(const OpenNode &node, const FakeCamera &camera)
{
    if (current.sizeimage > camera.largestFrame)
        return ENOSPC;
    streamer = &node;
    ++timesStreamed;
    return 0;
}

int FakeKernel::queryControl(const FakeCamera &camera, v4l2_queryctrl &query) const
{
    const auto control = camera.controls.find(query.id);
    if (control == camera.controls.end())
        return EINVAL;
    query.minimum = control->second.least;
    query.maximum = control->second.most;
    query.step = 1;
    query.flags = control->second.flags;
    return 0;
}

int FakeKernel::queryMenu(const FakeCamera &camera, v4l2_querymenu &query) const
{
    const auto control = camera.controls.find(query.id);
    if (control == camera.controls.end())
        return EINVAL;
    const auto entry = control->second.menu.find(std::int32_t(query.index));
    if (entry == control->second.menu.end())
        return EINVAL;
    query.value = entry->second;
    return 0;
}

int FakeKernel::setControl(std::unique_lock<std::mutex> &lock, FakeCamera &camera,
                           v4l2_control &control)
{
    ++timesControlled;
    changed.wait(lock, [this] { return !controlsHeld; });
    const auto entry = camera.controls.find(control.id);
    if (entry == camera.controls.end())
        return EINVAL;
    if (control.value < entry->second.least || control.value > entry->second.most)
        return ERANGE;
    entry->second.value = control.value;
    return 0;
}

} // namespace kivra::test
