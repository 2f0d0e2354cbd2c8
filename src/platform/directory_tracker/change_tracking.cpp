// ChangeTracking: the callback guard shared by both platforms' tracker threads.
#include "platform/directory_tracker/change_tracking.h"

#include <chrono>
#include <utility>

namespace OvxUtils::DirectoryTracking {

ChangeTracking::ChangeTracking(CString folder, unsigned long filter, std::function<void()> callback,
                               CString owner)
    : m_folder(std::move(folder)),
      m_filter(filter),
      m_owner(std::move(owner)),
      m_callback(std::move(callback)) {}

void ChangeTracking::Notify() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopped || m_running) return;
        m_running = true;
        m_runningOn = std::this_thread::get_id();
    }
    try {
        m_callback();
    } catch (...) {
    }
    std::function<void()> finished;  // destroyed after the lock is let go
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_running = false;
        if (m_stopped) finished = std::move(m_callback);
    }
    m_idle.notify_all();
}

void ChangeTracking::Stop(const std::function<bool()>& callbackThreadAlive) {
    std::function<void()> finished;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_stopped = true;
        if (m_running && m_runningOn == std::this_thread::get_id()) return;  // Notify empties it
        while (m_running) {
            if (m_idle.wait_for(lock, std::chrono::milliseconds(100), [this] { return !m_running; }))
                break;
            if (!callbackThreadAlive()) return;
        }
        finished = std::move(m_callback);
    }
}

}  // namespace OvxUtils::DirectoryTracking
