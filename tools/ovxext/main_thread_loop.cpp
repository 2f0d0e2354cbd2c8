// MainThreadLoop: the main thread of ovxext's hosts, running what the manager dispatches.
#include "main_thread_loop.h"

namespace Ovxext {

namespace {

constexpr auto kTick = std::chrono::milliseconds(50);

}  // namespace

void MainThreadLoop::Post(OvxUtils::Delegate<void()> work) {
    {
        std::lock_guard lock(m_mutex);
        m_queue.push_back(std::move(work));
    }
    m_posted.notify_one();
}

bool MainThreadLoop::RunOne(std::chrono::steady_clock::duration wait) {
    OvxUtils::Delegate<void()> work;
    {
        std::unique_lock lock(m_mutex);
        if (!m_posted.wait_for(lock, wait, [this] { return !m_queue.empty(); })) return false;
        work = std::move(m_queue.front());
        m_queue.pop_front();
    }
    work();
    ++m_runCount;
    return true;
}

bool MainThreadLoop::RunUntil(const std::function<bool()>& stop, std::chrono::steady_clock::duration timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!stop()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        RunOne(kTick);
    }
    return true;
}

void MainThreadLoop::RunUntilQuiet(std::chrono::steady_clock::duration quiet, std::chrono::steady_clock::duration timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline && RunOne(quiet)) {
    }
}

}  // namespace Ovxext
