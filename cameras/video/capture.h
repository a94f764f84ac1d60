#pragma once

#include "cameras/video/fault.h"
#include "cameras/video/formatchoice.h"
#include "cameras/video/frameformat.h"

#include <chrono>
#include <vector>

namespace kivra::cameras {

class Node;

/// A frame in one of the driver's buffers, which is ours until it is given back.
struct CapturedFrame
{
    int buffer = -1;
    RawFrame frame;
    std::chrono::nanoseconds time{0}; ///< when we got it, by Kernel::now()
    std::uint64_t number = 0;         ///< counts the frames of a stream
};

/// The stream of an open node in one format. Every answer of the driver is checked.
class Capture
{
public:
    /// \a node must outlive it.
    explicit Capture(Node &node);
    ~Capture();

    Capture(const Capture &) = delete;
    Capture &operator=(const Capture &) = delete;

    /// Sets the format of \a offer and streams. An earlier stream must have ended. After a fault
    /// nothing streams.
    Fault begin(const Offer &offer);
    /// Ends the stream; its frames must no longer be read.
    void end();

    /// The format as the driver set it; size and rate may differ from those asked for.
    const FrameFormat &format() const { return current; }
    /// The time from one frame to the next.
    std::chrono::nanoseconds interval() const;

    enum class Next {
        Frame,   ///< a frame that looks whole
        Skipped, ///< a frame that the driver marks as faulty, or an empty one; given back
        None,    ///< none is waiting
        Failed,  ///< the stream is over: fault()
    };
    /// The frame that has waited longest, with its buffer and content.
    Next dequeue(CapturedFrame &frame);
    /// Gives a buffer back; may be called on any thread.
    void giveBack(int buffer);

    /// Why the last call failed.
    Fault fault() const { return lastFault; }
    int error() const { return lastError; }

private:
    struct Plane
    {
        void *memory = nullptr;
        std::size_t length = 0;
    };
    struct Buffer
    {
        std::array<Plane, 3> planes;
    };

    Fault fail(int error);
    Fault fail(Fault fault);
    Fault setFormat(const Offer &offer);
    void setRate(const Offer &offer);
    Fault allocate();
    Fault mapBuffer(std::uint32_t index);
    void release();
    bool take(const void *answer, CapturedFrame &frame) const;

    Node &node;
    bool multiPlanar = false;
    bool streaming = false;
    bool allocated = false;
    FrameFormat current;
    Rate rate;
    std::vector<Buffer> buffers;
    Fault lastFault = Fault::None;
    int lastError = 0;
};

} // namespace kivra::cameras
