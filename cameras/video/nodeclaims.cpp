#include "cameras/video/nodeclaims.h"

#include "cameras/video/kernel.h"

namespace kivra::cameras {

bool NodeClaims::claim(const std::string &node, Waiter &waiter)
{
    const std::lock_guard<std::mutex> lock(mutex);
    if (taken.insert(node).second)
        return true;
    waiting.insert(&waiter);
    return false;
}

void NodeClaims::giveBack(const std::string &node)
{
    const std::lock_guard<std::mutex> lock(mutex);
    taken.erase(node);
    for (Waiter *const waiter : waiting)
        waiter->wake();
    waiting.clear();
}

void NodeClaims::withdraw(Waiter &waiter)
{
    const std::lock_guard<std::mutex> lock(mutex);
    waiting.erase(&waiter);
}

} // namespace kivra::cameras
