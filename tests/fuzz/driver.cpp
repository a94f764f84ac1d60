// An input is what a camera's driver answers. Whatever it is, listing, streaming, decoding and
// setting controls must end, and must not touch memory that they were not given.
//
// One byte decides on each call: below 128 the driver is honest, below 192 it refuses with an
// error, otherwise the bytes that follow fill its structure. At the end of the input it is honest.

#include "cameras/video/devicecontrols.h"
#include "cameras/video/framedecoder.h"
#include "cameras/video/opencamera.h"
#include "tests/fuzz/target.h"
#include "tests/support/fakekernel.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>

namespace kivra::fuzz {

namespace {

using namespace cameras;
using test::FakeCamera;
using test::FakeKernel;
using test::offer;

constexpr const char *path = "/dev/video0";
constexpr int frames = 4;
constexpr int mostPixels = 1 << 20; // larger ones only take longer

/// The input, consumed by the camera's threads in the order of their calls.
class Script
{
public:
    Script(const std::uint8_t *bytes, std::size_t count)
        : next(bytes)
        , end(bytes + count)
    {
    }

    std::optional<int> answer(unsigned long request, void *argument)
    {
        constexpr std::array<int, 8> errors{EINVAL, ENODEV, EBUSY,  ENOSPC,
                                            EIO,    EAGAIN, ENOTTY, EACCES};
        const std::lock_guard<std::mutex> lock(mutex);
        if (next == end || *next < 128) {
            next += next == end ? 0 : 1;
            return std::nullopt;
        }
        const std::uint8_t decision = *next++;
        if (decision < 192)
            return errors[decision % errors.size()];
        const std::size_t count =
            std::min<std::size_t>(_IOC_SIZE(request), std::size_t(end - next));
        std::memcpy(argument, next, count);
        next += count;
        return 0;
    }

private:
    std::mutex mutex;
    const std::uint8_t *next;
    const std::uint8_t *const end;
};

FakeCamera richCamera()
{
    FakeCamera camera;
    camera.offers = {offer(V4L2_PIX_FMT_YUYV, 64, 48, 5), offer(V4L2_PIX_FMT_MJPEG, 64, 48, 30),
                     offer(V4L2_PIX_FMT_NV12, 33, 17, 30)};
    camera.controls[V4L2_CID_FOCUS_AUTO] = {0, 1, 1, 0, {}};
    camera.controls[V4L2_CID_EXPOSURE_AUTO] = {0, 3, 3, 0, {}};
    camera.controls[V4L2_CID_EXPOSURE_ABSOLUTE] = {1, 1000, 100, 0, {}};
    camera.controls[V4L2_CID_AUTO_EXPOSURE_BIAS] = {0, 1, 0, 0, {{0, 0}, {1, 1000}}};
    camera.controls[V4L2_CID_POWER_LINE_FREQUENCY] = {0, 3, 0, 0, {{3, 0}}};
    return camera;
}

void decode(FrameDecoder &decoder, const RawFrame &frame)
{
    const std::optional<Size> size = decoder.sizeOf(frame);
    if (!size || static_cast<long long>(size->width) * size->height > mostPixels)
        return;
    std::vector<std::uint32_t> pixels(std::size_t(size->width) * std::size_t(size->height));
    decoder.decode(frame, {pixels.data(), *size, std::size_t(size->width) * 4});
}

void stream(FakeKernel &kernel, OpenCamera &camera)
{
    Capture &capture = camera.stream();
    FrameDecoder decoder(capture.format(), {});
    for (int i = 0; i < frames; ++i) {
        kernel.deliver(std::vector<std::uint8_t>(4096, std::uint8_t(i)));
        CapturedFrame frame;
        const Capture::Next next = capture.dequeue(frame);
        if (next == Capture::Next::Failed)
            return;
        if (next != Capture::Next::Frame)
            continue;
        decode(decoder, frame.frame);
        capture.giveBack(frame.buffer);
    }
}

} // namespace

std::unique_ptr<Surroundings> prepare(int &, char **)
{
    return nullptr;
}

void run(const std::uint8_t *data, std::size_t size)
{
    FakeKernel kernel;
    kernel.plug(path, richCamera());
    Script script(data, size);
    kernel.answerBy(
        [&](unsigned long request, void *argument) { return script.answer(request, argument); });
    VideoDevice device;
    device.node = path;
    {
        OpenCamera camera(kernel, {}, [](LockSet, bool) {});
        if (camera.begin(device) == Fault::None) {
            camera.deviceControls().lock(LockOfFocus | LockOfExposure);
            camera.deviceControls().compensate(1);
            stream(kernel, camera);
            require(!camera.largerSizes().empty() || camera.stream().interval().count() > 0,
                    "a stream without a rate");
            camera.stream().end();
        }
    }
    require(!kernel.isOpen(), "the node is still open");
}

} // namespace kivra::fuzz
