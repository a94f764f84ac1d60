#include "cameras/video/camerathread.h"

#include "cameras/video/camerareport.h"
#include "cameras/video/jpegstill.h"

#include <algorithm>
#include <cstdlib>

namespace kivra::cameras {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds longestWithoutFrame = 3s;
constexpr std::chrono::nanoseconds longestStill = 4s;
// Most reasons why a camera cannot be opened end without an event, so try again after this.
constexpr std::chrono::nanoseconds retryPause = 1s;
// Below this, the difference is only the time between reading one clock and the other.
constexpr std::chrono::nanoseconds leastSleep = 500ms;
// A driver might always have another frame: after so many, leave the loop and come back at once.
constexpr int mostFramesAtOnce = 64;

// After a change of format the automatic exposure starts again. It has settled when a picture is
// about as bright as the one before and not one of the first.
constexpr int framesBeforeSettled = 3;
constexpr int mostFramesToSettle = 30;
constexpr double settledChange = 0.02;

/// The mean of some green values, 0 to 255.
double brightnessOf(const DecodedFrame &frame)
{
    const std::size_t count = std::size_t(frame.size.width) * std::size_t(frame.size.height);
    const std::size_t step = std::max<std::size_t>(1, count / 4096);
    double sum = 0;
    std::size_t samples = 0;
    for (std::size_t i = 0; i < count; i += step, ++samples)
        sum += (frame.pixels[i] >> 8) & 0xff;
    return sum / double(samples);
}

std::shared_ptr<DecodedFrame> decoded(const FrameFormat &format, Orientation orientation,
                                      const RawFrame &frame)
{
    FrameDecoder decoder(format, orientation);
    const std::optional<Size> size = decoder.sizeOf(frame);
    if (!size)
        return nullptr;
    std::shared_ptr<DecodedFrame> picture = std::make_shared<DecodedFramePool>()->take(*size);
    if (!picture)
        return nullptr;
    const Picture memory{picture->pixels.get(), *size, std::size_t(size->width) * 4};
    return decoder.decode(frame, memory) ? picture : nullptr;
}

} // namespace

CameraThread::CameraThread(Surroundings surroundings, const VideoDevice &wanted,
                           std::shared_ptr<CameraListener> hearer)
    : around(std::move(surroundings))
    , listener(std::move(hearer))
    , waiter(around.kernel.makeWaiter())
    , sought(wanted)
{
    thread = std::thread([this] { run(); });
}

CameraThread::~CameraThread()
{
    quit();
    thread.join();
    around.claims.withdraw(*waiter);
}

int CameraThread::start()
{
    int number = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        streams = true;
        faultTold = false;
        losses = 0;
        number = ++startNumber;
        // The camera may still run. A picture left over from the last start would never be taken,
        // and so keep the next frame from being decoded.
        if (newest)
            newest->take();
    }
    waiter->wake();
    return number;
}

void CameraThread::stop()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        streams = false;
    }
    waiter->wake();
}

std::shared_ptr<const DecodedFrame> CameraThread::take()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return newest && streams ? newest->take() : nullptr;
}

void CameraThread::takeStill(const StillOrder &order)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        still = order;
    }
    waiter->wake();
}

void CameraThread::cancelStill()
{
    const std::lock_guard<std::mutex> lock(mutex);
    still.reset();
}

void CameraThread::lock(LockSet locks)
{
    bool isOpen = false;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        isOpen = controls != nullptr;
        if (isOpen)
            controls->lock(locks);
    }
    if (!isOpen)
        listener->onLocks(locks, false);
}

void CameraThread::unlock(LockSet locks)
{
    const std::lock_guard<std::mutex> guard(mutex);
    if (controls)
        controls->unlock(locks);
}

void CameraThread::compensate(double stops)
{
    const std::lock_guard<std::mutex> lock(mutex);
    ev = stops;
    if (controls)
        controls->compensate(ev);
}

void CameraThread::look()
{
    waiter->wake();
}

void CameraThread::quit()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        quitting = true;
        streams = false;
        still.reset();
    }
    waiter->wake();
}

void CameraThread::run()
{
    while (goesOn()) {
        if (!isWanted()) {
            close();
            failStill();
            waiter->wait(nullptr, std::nullopt);
        } else if (!camera) {
            search();
        } else {
            read();
        }
    }
    close();
    ended = true;
}

bool CameraThread::goesOn()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return !quitting;
}

/// A requested still is taken even if the camera has been stopped since.
bool CameraThread::isWanted()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return streams || (still && camera);
}

void CameraThread::search()
{
    const std::vector<VideoDevice> present = around.devices();
    const std::optional<VideoDevice> device = sought.findIn(present);
    if (!device) {
        tell(wasThere ? Fault::Unplugged : Fault::NotThere, 0);
    } else if (!around.claims.claim(device->node, *waiter)) {
        // Another thread of this process is about to close the node; then it wakes us.
        waiter->wait(nullptr, std::nullopt);
        return;
    } else {
        claimed = device->node;
        if (device->node != sought.device().node)
            listener->onFound(*device);
        sought.foundAs(*device, present);
        if (open(*device))
            return;
    }
    watchStill();
    waiter->wait(nullptr, retryPause);
}

bool CameraThread::open(const VideoDevice &device)
{
    const VideoSettings settings = around.settings();
    orientation = settings.orientation;
    camera =
        std::make_unique<OpenCamera>(around.kernel, settings, [this](LockSet locks, bool found) {
            listener->onLocks(locks, found);
        });
    const Fault fault = camera->begin(device);
    if (fault != Fault::None) {
        tell(fault == Fault::Unplugged && !wasThere ? Fault::NotThere : fault, camera->error());
        close();
        return false;
    }
    wasThere = true;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        controls = &camera->deviceControls();
        controls->compensate(ev);
        facts = factsOf(*camera);
    }
    beginPictures();
    return true;
}

void CameraThread::close()
{
    endPictures();
    {
        const std::lock_guard<std::mutex> lock(mutex);
        controls = nullptr;
    }
    camera.reset();
    if (!claimed.empty())
        around.claims.giveBack(claimed);
    claimed.clear();
}

void CameraThread::beginPictures()
{
    goodSince = now();
    asleep = around.kernel.now().asleep;
    Capture &stream = camera->stream();
    pictures = std::make_unique<NewestFrame>(
        stream.format(), orientation, stream.interval(),
        NewestFrame::Surroundings{[&stream](int buffer) { stream.giveBack(buffer); },
                                  [this] { onPicture(); }, [this] { return now(); }});
    const std::lock_guard<std::mutex> lock(mutex);
    newest = pictures.get();
}

void CameraThread::endPictures()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        newest = nullptr;
    }
    pictures.reset();
}

/// Called on a decoding thread.
void CameraThread::onPicture()
{
    int start = 0;
    bool isFirst = false;
    StreamFacts told;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        losses = 0;
        if (!streams)
            return;
        start = startNumber;
        isFirst = announced != start;
        announced = start;
        faultTold = false;
        if (isFirst)
            told = facts;
    }
    if (isFirst)
        listener->onStarted(start, told);
    listener->onPicture(start);
}

StreamFacts CameraThread::factsOf(const OpenCamera &opened) const
{
    StreamFacts result;
    const Capture &stream = opened.stream();
    result.rate = std::chrono::duration<double>(1s) / stream.interval();
    result.stillSizes.push_back(turned(stream.format().size, orientation));
    for (const Size size : opened.largerSizes())
        result.stillSizes.push_back(turned(size, orientation));
    result.locks = opened.deviceControls().supportedLocks();
    result.canCompensate = opened.deviceControls().canCompensate();
    return result;
}

void CameraThread::read()
{
    const std::optional<StillOrder> order = orderedStill();
    if (order && order->size != facts.stillSizes.front()) {
        takeLarge(*order);
        return;
    }
    watchStill();
    const std::chrono::nanoseconds left = longestWithoutFrame - frameless();
    const Waiter::Wake wake =
        waiter->wait(&camera->openNode(), std::max(left, std::chrono::nanoseconds(0)));
    watchSuspend();
    if (wake == Waiter::Wake::Called)
        return;
    std::optional<CapturedFrame> last;
    if (wake == Waiter::Wake::Ready && !drain(last)) {
        const Fault fault = camera->stream().fault();
        const int error = camera->stream().error();
        lose(fault, error);
        return;
    }
    if (last) {
        if (order)
            serveStill(*order, *last);
        pictures->offer(*last);
    }
    if (frameless() >= longestWithoutFrame)
        lose(Fault::NoFrames, 0);
}

/// Takes the newest of the waiting frames and gives the others back. False if the stream is over.
bool CameraThread::drain(std::optional<CapturedFrame> &last)
{
    Capture &stream = camera->stream();
    for (int count = 0; count < mostFramesAtOnce; ++count) {
        CapturedFrame frame;
        const Capture::Next next = stream.dequeue(frame);
        if (next == Capture::Next::None)
            break;
        if (next == Capture::Next::Skipped)
            continue;
        if (last)
            stream.giveBack(last->buffer);
        last.reset();
        if (next == Capture::Next::Failed)
            return false;
        frame.time = now();
        frame.number = ++frameNumber;
        last = frame;
    }
    return true;
}

std::chrono::nanoseconds CameraThread::frameless() const
{
    return now() - std::max(pictures->lastGood(), goodSince);
}

// After a suspend a camera needs a moment: the time without frames counts anew.
void CameraThread::watchSuspend()
{
    const Moment moment = around.kernel.now();
    if (moment.asleep - asleep > leastSleep)
        goodSince = moment.awake;
    asleep = moment.asleep;
}

/// The stream is over. Drivers have hiccups: one that a restart cures at once is not reported.
void CameraThread::lose(Fault fault, int error)
{
    close();
    bool isHiccup = false;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isHiccup = ++losses == 1 && fault == Fault::DoesNotAnswer;
    }
    if (isHiccup)
        return;
    tell(fault, error);
    watchStill();
    if (fault != Fault::Unplugged)
        waiter->wait(nullptr, retryPause);
}

void CameraThread::tell(Fault fault, int error)
{
    int start = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (faultTold || !streams)
            return;
        faultTold = true;
        announced = 0;
        start = startNumber;
    }
    listener->onFault(start, faultReport(sought.device(), fault, error));
}

std::optional<StillOrder> CameraThread::orderedStill()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return still;
}

/// The still that this frame of the stream makes; without a picture if the frame is not good.
StillResult CameraThread::stillFrom(const CapturedFrame &frame, const StillOrder &order) const
{
    const FrameFormat &format = camera->stream().format();
    StillResult result;
    result.id = order.id;
    result.picture = decoded(format, orientation, frame.frame);
    if (result.picture && order.asFile && isCompressed(format.fourcc))
        result.file = jpegFile(frame.frame.planes[0], frame.frame.lengths[0], orientation);
    return result;
}

/// Takes the still from a frame of the stream; if that is not good, the next frame is tried.
void CameraThread::serveStill(const StillOrder &order, const CapturedFrame &frame)
{
    StillResult result = stillFrom(frame, order);
    if (!result.picture)
        return;
    listener->onStillExposed(order.id);
    answerStill(std::move(result));
}

/// Switches the format for one picture and back. Meanwhile the last live picture stays on the
/// screen.
void CameraThread::takeLarge(const StillOrder &order)
{
    endPictures();
    Capture &stream = camera->stream();
    stream.end();
    StillResult result;
    result.id = order.id;
    // The camera's size: turning swaps the sides, and turning again swaps them back.
    if (camera->beginLarge(turned(order.size, orientation)) == Fault::None) {
        result = settledStill(order);
        stream.end();
    }
    if (result.picture)
        listener->onStillExposed(order.id);
    answerStill(std::move(result));
    const Fault fault = camera->beginAgain();
    if (fault != Fault::None) {
        lose(fault, camera->error());
        return;
    }
    beginPictures();
}

/// A still from the running stream with settled exposure, or else from the last frame that came in
/// time. Without a picture if none was good.
StillResult CameraThread::settledStill(const StillOrder &order)
{
    Capture &stream = camera->stream();
    const std::chrono::nanoseconds end = now() + longestStill;
    StillResult last;
    last.id = order.id;
    double lastBrightness = 0;
    for (int count = 0; count < mostFramesToSettle && now() < end && goesOn();) {
        if (waiter->wait(&camera->openNode(), end - now()) != Waiter::Wake::Ready)
            continue;
        std::optional<CapturedFrame> frame;
        if (!drain(frame))
            break;
        if (!frame)
            continue;
        StillResult taken = stillFrom(*frame, order);
        stream.giveBack(frame->buffer);
        ++count;
        if (!taken.picture)
            continue;
        const double brightness = brightnessOf(*taken.picture);
        const bool isSettled =
            last.picture && std::abs(brightness - lastBrightness) <= settledChange * 255;
        last = std::move(taken);
        lastBrightness = brightness;
        if (isSettled && count > framesBeforeSettled)
            break;
    }
    return last;
}

void CameraThread::answerStill(StillResult result)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!still || still->id != result.id)
            return;
        still.reset();
    }
    listener->onStill(result);
}

void CameraThread::failStill()
{
    if (const std::optional<StillOrder> order = orderedStill())
        answerStill({order->id, nullptr, std::nullopt});
}

/// Fails a still that could not be taken in longestStill.
void CameraThread::watchStill()
{
    const std::optional<StillOrder> order = orderedStill();
    if (!order)
        return;
    if (stillWatched != order->id) {
        stillWatched = order->id;
        stillSince = now();
    } else if (now() - stillSince >= longestStill) {
        failStill();
    }
}

} // namespace kivra::cameras
