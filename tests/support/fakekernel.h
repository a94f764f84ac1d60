#pragma once

#include "cameras/video/formatchoice.h"
#include "cameras/video/kernel.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <linux/videodev2.h>
#include <map>
#include <mutex>
#include <vector>

namespace kivra::test {

constexpr std::uint32_t yuyv = V4L2_PIX_FMT_YUYV;
constexpr std::uint32_t mjpeg = V4L2_PIX_FMT_MJPEG;

/// A control of a camera of FakeKernel.
struct FakeControl
{
    std::int32_t least = 0;
    std::int32_t most = 1;
    std::int32_t value = 0;
    std::uint32_t flags = 0;
    std::map<std::int32_t, std::int64_t> menu; ///< what each entry stands for
};

/// What a camera of FakeKernel is.
struct FakeCamera
{
    std::string card = "Visualiseur d'essai";
    std::string bus = "usb-essai-1";
    /// With V4L2_CAP_VIDEO_CAPTURE_MPLANE: on the multi-planar interface.
    std::uint32_t capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    std::uint32_t dataOffset = 0; ///< bytes before the content of each plane, on that interface
    std::vector<cameras::Offer> offers; ///< in the order in which the driver lists them
    std::map<std::uint32_t, FakeControl> controls;
    std::uint32_t mostBuffers = 32;
    std::uint32_t padding = 0; ///< bytes behind each row
    std::uint32_t colorspace = V4L2_COLORSPACE_SRGB;
    std::uint32_t encoding = V4L2_YCBCR_ENC_DEFAULT;
    std::uint32_t quantization = V4L2_QUANTIZATION_DEFAULT;
    int openError = 0;
    /// Refuses to stream formats with more bytes a frame: no room on the bus.
    std::uint32_t largestFrame = 0xffffffff;
};

/// A kernel whose cameras, frames, faults and time the test decides. May be called on any thread.
class FakeKernel : public cameras::Kernel
{
public:
    FakeKernel();
    ~FakeKernel() override;

    /// \name Cameras
    /// @{
    void plug(const std::string &path, const FakeCamera &camera);
    /// Whoever has it open gets ENODEV from now on.
    void unplug(const std::string &path);
    /// Changes the camera at \a path.
    void change(const std::string &path, const std::function<void(FakeCamera &)> &function);
    /// The call \a request ends with \a error from now on; 0 ends that.
    void refuse(unsigned long request, int error);
    /// Called before the camera is: gives an answer in place of the camera's, or nothing.
    using Answer = std::function<std::optional<int>(unsigned long request, void *argument)>;
    void answerBy(const Answer &function);
    /// While \a held, setting a control blocks.
    void holdControls(bool held);
    /// @}

    /// \name Frames and time
    /// @{
    /// The driver fills a buffer with \a bytes; \a flags are added to the buffer's. False if nobody
    /// streams or no buffer is free.
    bool deliver(const std::vector<std::uint8_t> &bytes, std::uint32_t flags = 0);
    /// A raw frame of the present format with all bytes \a value.
    bool deliverEven(std::uint8_t value);
    void advance(std::chrono::nanoseconds time);
    /// Lets the machine sleep for this long.
    void suspend(std::chrono::nanoseconds time);
    /// @}

    /// \name What was done
    /// @{
    bool isOpen() const;
    bool isStreaming() const;
    int opened() const;
    int streamsBegun() const;
    /// How many buffers the driver holds.
    int queuedBuffers() const;
    v4l2_pix_format format() const;
    std::int32_t control(const std::string &path, std::uint32_t id) const;
    int controlsSet() const;
    /// Whether somebody waits for the camera or for the time.
    bool somebodyWaits() const;
    /// @}

    std::unique_ptr<cameras::Node> open(const std::string &path, int &error) override;
    std::unique_ptr<cameras::Waiter> makeWaiter() override;
    cameras::Moment now() override;

private:
    class OpenNode;
    class FakeWaiter;
    struct Buffer
    {
        std::vector<std::vector<std::uint8_t>> planes;
        std::vector<std::uint32_t> used;
        std::uint32_t flags = 0;
    };

    int answer(const OpenNode &node, unsigned long request, void *argument);
    int enumerateFormat(const FakeCamera &camera, v4l2_fmtdesc &answer) const;
    int enumerateSize(const FakeCamera &camera, v4l2_frmsizeenum &answer) const;
    int enumerateRate(const FakeCamera &camera, v4l2_frmivalenum &answer) const;
    int setFormat(const FakeCamera &camera, v4l2_format &format);
    void tellPlanes(v4l2_pix_format_mplane &answer) const;
    int allot(v4l2_requestbuffers &request, const FakeCamera &camera);
    int describe(v4l2_buffer &answer) const;
    int enqueue(v4l2_buffer &buffer);
    int dequeue(v4l2_buffer &buffer);
    int streamOn(const OpenNode &node, const FakeCamera &camera);
    int queryControl(const FakeCamera &camera, v4l2_queryctrl &query) const;
    int queryMenu(const FakeCamera &camera, v4l2_querymenu &query) const;
    int setControl(std::unique_lock<std::mutex> &lock, FakeCamera &camera, v4l2_control &control);

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, FakeCamera> plugged;
    std::map<std::string, int> unplugged; // how often
    std::map<unsigned long, int> refusals;
    Answer answerer;
    cameras::Moment time{std::chrono::seconds(1000), std::chrono::nanoseconds(0)};
    v4l2_pix_format current = {};
    std::vector<std::uint32_t> planeSizes; // of the content
    std::uint32_t dataOffset = 0;
    std::vector<Buffer> buffers;
    std::deque<std::uint32_t> queued;
    std::deque<std::uint32_t> filled;
    const OpenNode *streamer = nullptr; // the node whose stream runs
    bool controlsHeld = false;
    int nodesOpen = 0;
    int timesOpened = 0;
    int timesStreamed = 0;
    int timesControlled = 0;
    int waiting = 0;
};

/// Answers \a request in place of the camera: \a fill writes the answer, and the call succeeds.
template<typename Argument>
FakeKernel::Answer answering(unsigned long request, const std::function<void(Argument &)> &fill)
{
    return [=](unsigned long asked, void *argument) -> std::optional<int> {
        if (asked != request)
            return std::nullopt;
        fill(*static_cast<Argument *>(argument));
        return 0;
    };
}

/// The offer of \a fourcc with this many frames a second.
cameras::Offer offer(std::uint32_t fourcc, int width, int height, std::uint32_t rate);

} // namespace kivra::test
