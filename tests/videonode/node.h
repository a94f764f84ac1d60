#pragma once

#include "tests/videonode/tree.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <linux/videodev2.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace kivra::test::videonode {

/// What all nodes of this process have done; a benchmark reads it as kivra_videonode_figures.
struct Figures
{
    std::atomic<long long> delivered{0}; ///< frames that were put into a buffer
    std::atomic<long long> lost{0};      ///< frames for which no buffer was there
    /// When the frame dequeued last was complete, by CLOCK_MONOTONIC.
    std::atomic<long long> lastDequeuedNs{0};
    std::atomic<long long> startDelayNs{0}; ///< from the last start to its first frame
};

/// A camera's node, opened once, under any number of descriptors. A thread of its own fills the
/// waiting buffers with frames at the camera's rate.
class Node
{
public:
    /// Opens "video0"; null with errno set.
    static std::shared_ptr<Node> open(const std::string &name, int flags);
    ~Node();

    Node(const Node &) = delete;
    Node &operator=(const Node &) = delete;

    /// A descriptor that is readable while a frame is there, or once the camera is unplugged. The
    /// node owns it.
    int ready() const { return readyDescriptor; }
    /// The descriptor that is mapped in place of the node. The node owns it.
    int memory() const { return memoryDescriptor; }

    /// Answers as ioctl() does.
    int answer(unsigned long request, void *argument);

private:
    struct Filled
    {
        __u32 index;
        __u32 bytes;
        __u32 sequence;
        long long completeNs;
    };

    Node(std::string name, int flags);

    bool isGone() const;
    int describe(v4l2_capability &answer) const;
    static int describe(v4l2_input &answer);
    int describe(v4l2_fmtdesc &answer) const;
    int describe(v4l2_frmsizeenum &answer) const;
    int describe(v4l2_frmivalenum &answer) const;
    int describe(v4l2_streamparm &answer) const;
    static int describe(v4l2_format &answer, const Format &chosen);
    int describe(v4l2_buffer &answer) const;
    int choose(v4l2_format &wanted, bool keep);
    int chooseRate(v4l2_streamparm &wanted);
    int allot(v4l2_requestbuffers &request);
    int enqueue(v4l2_buffer &buffer);
    int dequeue(v4l2_buffer &buffer);
    int start();
    int stop();
    void deliver();
    bool deliverOne(std::unique_lock<std::mutex> &guard);
    void forgetBuffers();

    const std::string node;
    const bool waits; ///< a call for a frame blocks
    const ino_t plug; ///< tells this camera from the next one of that name
    const int readyDescriptor;
    const int memoryDescriptor;

    std::mutex lock;
    std::condition_variable ended;
    std::thread thread;
    bool streams = false;
    const std::vector<Format> formats;
    Format format;
    std::vector<std::vector<char>> frames; ///< of the format, while it streams
    unsigned char *bytes = nullptr;        ///< of all buffers
    __u32 count = 0;                       ///< of buffers
    std::deque<__u32> waiting;
    std::deque<Filled> filled;
    __u32 number = 0; ///< of the next frame
    long long startedNs = 0;
};

} // namespace kivra::test::videonode
