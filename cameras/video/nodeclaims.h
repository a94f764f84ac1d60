#pragma once

#include <mutex>
#include <set>
#include <string>

namespace kivra::cameras {

class Waiter;

/// Which nodes this process has open. A camera may be chosen again while its old thread is still
/// closing it; the new thread then waits, instead of finding the node in use by its own program.
class NodeClaims
{
public:
    /// True if \a node was free and is now taken. Otherwise \a waiter is woken when nodes are given
    /// back; it must live until it is withdrawn.
    bool claim(const std::string &node, Waiter &waiter);
    void giveBack(const std::string &node);
    void withdraw(Waiter &waiter);

private:
    std::mutex mutex;
    std::set<std::string> taken;
    std::set<Waiter *> waiting;
};

} // namespace kivra::cameras
