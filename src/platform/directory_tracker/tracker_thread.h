// TrackerThread: the one thread of the process that waits for folder changes and calls
// the trackings' callbacks. Implemented once per platform: tracker_thread_inotify.cpp
// and tracker_thread_win.cpp.
#pragma once

#include "platform/directory_tracker/change_tracking.h"

#include <memory>

namespace OvxUtils::DirectoryTracking {

// Owned by the registry of trackings (directories_changes_tracker.cpp) from the first
// tracking to the last; Watch and Unwatch come from any thread, the tracker thread
// included. Destroying it ends the thread: on Linux it is joined, unless the destructor
// runs on the tracker thread itself; on Windows it ends by itself and is never waited
// for, holding a reference to this module until it is gone, so that it may outlive a
// release made while the module is being unloaded.
class TrackerThread {
public:
    // Starts the thread; nullptr when the system refuses.
    static std::unique_ptr<TrackerThread> Start();
    ~TrackerThread();
    TrackerThread(const TrackerThread&) = delete;
    TrackerThread& operator=(const TrackerThread&) = delete;

    // Starts watching tracking's folder tree. The system watches it when this returns
    // true; false when the folder cannot be watched.
    bool Watch(const std::shared_ptr<ChangeTracking>& tracking);
    // Lets go of the system's watch of a tracking given to Watch: when it returns, the
    // system no longer holds the folder. The tracking was stopped before, so no callback
    // follows whatever the system still reports.
    void Unwatch(const std::shared_ptr<ChangeTracking>& tracking);
    // False once the system ended the thread without it returning (process exit on
    // Windows).
    bool IsAlive() const;

    class Loop;  // the thread's state, shared with the running thread

private:
    struct Native;  // the platform's handle of the thread
    TrackerThread(std::shared_ptr<Loop> loop, std::unique_ptr<Native> native);

    std::shared_ptr<Loop> m_loop;
    std::unique_ptr<Native> m_native;
};

}  // namespace OvxUtils::DirectoryTracking
