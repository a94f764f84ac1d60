#pragma once

#include "cameras/video/capture.h"
#include "cameras/video/framedecoder.h"

#include <array>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace kivra::cameras {

/// A picture ready to be shown: words 0xFFRRGGBB, row after row without gaps.
struct DecodedFrame
{
    Size size;
    std::unique_ptr<std::uint32_t[]> pixels;
    std::uint64_t number = 0; ///< of the frame
};

/// Reusable memory for pictures, on any thread. It is freed with the pool and the last picture.
class DecodedFramePool : public std::enable_shared_from_this<DecodedFramePool>
{
public:
    /// A picture of \a size with any content; null if there is no memory.
    std::shared_ptr<DecodedFrame> take(Size size);

private:
    void giveBack(std::unique_ptr<DecodedFrame> frame);

    std::mutex mutex;
    std::vector<std::unique_ptr<DecodedFrame>> idle;
};

/// Decodes the newest frame of a stream for a window that may be slower than the camera.
///
/// At most one decoded frame waits, and behind it one frame in a buffer of the driver: the newest.
/// All others go back to the driver undecoded. While the first thread is still busy, a second one
/// decodes the next JPEG frame; pictures still come in order.
class NewestFrame
{
public:
    struct Surroundings
    {
        /// A buffer is no longer needed; on any thread.
        std::function<void(int buffer)> giveBack;
        /// There is a picture to take(); on a decoding thread.
        std::function<void()> onPicture;
        std::function<std::chrono::nanoseconds()> now;
    };

    NewestFrame(const FrameFormat &format, Orientation orientation,
                std::chrono::nanoseconds interval, Surroundings surroundings);
    /// Waits for the frames being decoded, and gives all buffers back.
    ~NewestFrame();

    NewestFrame(const NewestFrame &) = delete;
    NewestFrame &operator=(const NewestFrame &) = delete;

    /// Takes over \a frame; it replaces one that waits.
    void offer(const CapturedFrame &frame);
    /// Takes the picture that waits, on any thread. Null if there is none, or if it has waited
    /// longer than an interval while a newer frame came: onPicture() tells when that one is
    /// decoded.
    std::shared_ptr<const DecodedFrame> take();

    /// When the last good frame came, or the last one while a picture still waited. At first, the
    /// time of construction.
    std::chrono::nanoseconds lastGood() const;

private:
    void work(FrameDecoder decoder);
    bool mayDecode() const;
    std::shared_ptr<DecodedFrame> decode(FrameDecoder &decoder, const CapturedFrame &frame);
    void place(std::shared_ptr<DecodedFrame> picture, std::chrono::nanoseconds time);

    const FrameFormat format;
    const Orientation orientation;
    const std::chrono::nanoseconds interval;
    const Surroundings surroundings;
    const std::shared_ptr<DecodedFramePool> pool = std::make_shared<DecodedFramePool>();

    mutable std::mutex mutex; // guards what follows
    std::condition_variable wake;
    std::optional<CapturedFrame> newest;
    std::shared_ptr<DecodedFrame> ready;
    std::chrono::nanoseconds readySince{0};
    std::chrono::nanoseconds goodTime{0};
    std::uint64_t lastNumber = 0; // of the last picture that became ready
    int thrownAway = 0;           // pictures in a row that were too old
    bool ending = false;

    std::array<std::thread, 2> threads; // the second one only for JPEG
};

} // namespace kivra::cameras
