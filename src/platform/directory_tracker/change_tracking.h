// ChangeTracking: one tracked folder with its filter and its owner's callback.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace OvxUtils::DirectoryTracking {

// What one TrackChangeIn asked for, and the guard round its callback. It is shared by the
// registry of live trackings and the tracker thread, and lives until both let it go: the
// tracker thread calls Notify, any thread calls Stop once. Stop makes sure that no call
// of the callback starts afterwards, and waits for one in progress unless it is made from
// inside that call.
class ChangeTracking {
public:
    ChangeTracking(CString folder, unsigned long filter, std::function<void()> callback,
                   CString owner);
    ChangeTracking(const ChangeTracking&) = delete;
    ChangeTracking& operator=(const ChangeTracking&) = delete;

    const CString& Folder() const { return m_folder; }
    unsigned long Filter() const { return m_filter; }
    const CString& Owner() const { return m_owner; }

    // Tracker thread: calls the callback unless the tracking was stopped. An exception
    // thrown by the callback is dropped, so that it cannot end the thread of every other
    // tracking.
    void Notify();

    // Any thread. callbackThreadAlive answers whether the thread that runs callbacks still
    // exists; a call in progress on a thread that the system ended (at process exit on
    // Windows) is not waited for.
    void Stop(const std::function<bool()>& callbackThreadAlive);

private:
    const CString m_folder;
    const unsigned long m_filter;
    const CString m_owner;

    std::mutex m_mutex;
    std::condition_variable m_idle;
    // Only touched while no call is in progress; emptied when the tracking is stopped,
    // so that what it captured is released at once.
    std::function<void()> m_callback;
    bool m_stopped = false;
    bool m_running = false;
    std::thread::id m_runningOn;
};

}  // namespace OvxUtils::DirectoryTracking
