#include "cameras/video/newestframe.h"

#include <algorithm>
#include <new>

namespace kivra::cameras {

namespace {

// Without a limit, a window that is always late would never get a picture.
constexpr int mostThrownAway = 3;
// One shown, one ready, two being decoded.
constexpr std::size_t mostIdle = 4;

} // namespace

std::shared_ptr<DecodedFrame> DecodedFramePool::take(Size size)
{
    std::unique_ptr<DecodedFrame> frame;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        while (!idle.empty() && !frame) {
            if (idle.back()->size == size)
                frame = std::move(idle.back());
            idle.pop_back(); // one of another size belongs to an earlier stream
        }
    }
    if (!frame) {
        frame = std::make_unique<DecodedFrame>();
        frame->size = size;
        const std::size_t words = std::size_t(size.width) * std::size_t(size.height);
        frame->pixels.reset(new (std::nothrow) std::uint32_t[words]);
        if (!frame->pixels)
            return nullptr;
    }
    return {frame.release(), [pool = shared_from_this()](DecodedFrame *used) {
                pool->giveBack(std::unique_ptr<DecodedFrame>(used));
            }};
}

void DecodedFramePool::giveBack(std::unique_ptr<DecodedFrame> frame)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (idle.size() < mostIdle)
        idle.push_back(std::move(frame));
}

NewestFrame::NewestFrame(const FrameFormat &frameFormat, Orientation upright,
                         std::chrono::nanoseconds frameInterval, Surroundings around)
    : format(frameFormat)
    , orientation(upright)
    , interval(frameInterval)
    , surroundings(std::move(around))
    , goodTime(surroundings.now())
{
    const std::size_t count = isCompressed(format.fourcc) ? 2 : 1;
    for (std::size_t i = 0; i < count; ++i) {
        threads[i] = std::thread([this] { work(FrameDecoder(format, orientation)); });
    }
}

NewestFrame::~NewestFrame()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        ending = true;
    }
    wake.notify_all();
    for (std::thread &thread : threads) {
        if (thread.joinable())
            thread.join();
    }
    if (newest)
        surroundings.giveBack(newest->buffer);
}

void NewestFrame::offer(const CapturedFrame &frame)
{
    std::optional<CapturedFrame> outdated;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        outdated = newest;
        newest = frame;
        if (ready)
            goodTime = frame.time;
    }
    wake.notify_one();
    if (outdated)
        surroundings.giveBack(outdated->buffer);
}

std::shared_ptr<const DecodedFrame> NewestFrame::take()
{
    std::shared_ptr<DecodedFrame> picture;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        picture = std::move(ready);
        ready = nullptr;
        const bool isOld = picture && newest && surroundings.now() - readySince > interval;
        if (isOld && thrownAway < mostThrownAway) {
            ++thrownAway;
            picture = nullptr;
        } else if (picture) {
            thrownAway = 0;
        }
    }
    wake.notify_one();
    return picture;
}

std::chrono::nanoseconds NewestFrame::lastGood() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return goodTime;
}

bool NewestFrame::mayDecode() const
{
    return newest && !ready;
}

void NewestFrame::work(FrameDecoder decoder)
{
    std::unique_lock<std::mutex> lock(mutex);
    while (true) {
        wake.wait(lock, [this] { return ending || mayDecode(); });
        if (ending)
            return;
        const CapturedFrame frame = *newest;
        newest.reset();
        lock.unlock();
        std::shared_ptr<DecodedFrame> picture = decode(decoder, frame);
        surroundings.giveBack(frame.buffer);
        lock.lock();
        if (!picture || picture->number <= lastNumber || ending)
            continue;
        place(std::move(picture), frame.time);
        lock.unlock();
        surroundings.onPicture();
        lock.lock();
    }
}

std::shared_ptr<DecodedFrame> NewestFrame::decode(FrameDecoder &decoder, const CapturedFrame &frame)
{
    const std::optional<Size> size = decoder.sizeOf(frame.frame);
    std::shared_ptr<DecodedFrame> picture = size ? pool->take(*size) : nullptr;
    if (!picture)
        return nullptr;
    picture->number = frame.number;
    const Picture memory{picture->pixels.get(), *size, std::size_t(size->width) * 4};
    return decoder.decode(frame.frame, memory) ? picture : nullptr;
}

void NewestFrame::place(std::shared_ptr<DecodedFrame> picture, std::chrono::nanoseconds time)
{
    lastNumber = picture->number;
    ready = std::move(picture);
    readySince = surroundings.now();
    goodTime = std::max(goodTime, time);
}

} // namespace kivra::cameras
