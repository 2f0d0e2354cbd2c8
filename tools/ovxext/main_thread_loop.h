// MainThreadLoop: the main thread of the hosts that ovxext plays: work posted from any
// thread (the manager's change callbacks) runs on the thread that runs the loop.
#pragma once

#include "OvxComponent/platform/delegate.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace Ovxext {

class MainThreadLoop {
public:
    // Any thread.
    void Post(OvxUtils::Delegate<void()> work);

    // Runs posted work until stop() answers true, checking it after each item and at
    // least every tick; false when the deadline passed first.
    bool RunUntil(const std::function<bool()>& stop, std::chrono::steady_clock::duration timeout);
    // Runs posted work until none has come for quiet, or timeout passed.
    void RunUntilQuiet(std::chrono::steady_clock::duration quiet, std::chrono::steady_clock::duration timeout);
    // How many items have run so far.
    std::size_t RunCount() const { return m_runCount; }

private:
    // Runs one item, waiting up to wait for one; false when none came.
    bool RunOne(std::chrono::steady_clock::duration wait);

    std::mutex m_mutex;
    std::condition_variable m_posted;
    std::deque<OvxUtils::Delegate<void()>> m_queue;
    std::size_t m_runCount = 0;  // main thread only
};

}  // namespace Ovxext
