#pragma once

#include <QByteArray>
#include <mutex>

namespace kivra::test {

/// Content of a file in a format that only this test program knows, whose reader does what the file
/// says: "crash", "wait" and "work" (without end), "leave" (ends the process), or "memory" and a
/// number of MiB: takes so much, and gives a picture of one pixel if it got it; "lock": tells
/// heldLock(), waits for it, and gives such a picture.
QByteArray faultyPicture(const char *what);

/// What a reader may need and another thread hold.
struct HeldLock
{
    HeldLock();
    ~HeldLock();
    /// Returns when a reader, in any process, is about to take the lock.
    void awaitReader() const;

    std::mutex mutex;
    int readers; ///< an eventfd
};

HeldLock &heldLock();

} // namespace kivra::test
