// CDirectoriesChangesTracker: the registry of live trackings and of the tracker thread
// that serves them; the watching itself is the platform's TrackerThread.
#include "platform/directory_tracker/directories_changes_tracker.h"

#include "platform/directory_tracker/change_tracking.h"
#include "platform/directory_tracker/tracker_thread.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace OvxUtils {

namespace {

using DirectoryTracking::ChangeTracking;
using DirectoryTracking::TrackerThread;

// The trackings that were started and not yet stopped, and the thread that serves them
// while there is any. Never destroyed: a tracking released during static destruction, or
// a tracker thread still ending at process exit, must not find it gone.
struct Registry {
    std::mutex mutex;
    std::vector<std::shared_ptr<ChangeTracking>> trackings;  // oldest first
    std::shared_ptr<TrackerThread> thread;
};

Registry& TheRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

// Takes tracking out of the registry, stops it and lets go of its watch; the tracker
// thread ends with the last tracking. No lock is held while waiting for a callback or
// ending the thread, since a callback may itself start or stop trackings.
void Remove(const void* id) {
    Registry& registry = TheRegistry();
    std::shared_ptr<ChangeTracking> tracking;
    std::shared_ptr<TrackerThread> thread;
    std::shared_ptr<TrackerThread> retired;
    {
        std::lock_guard<std::mutex> lock(registry.mutex);
        const auto it = std::find_if(registry.trackings.begin(), registry.trackings.end(),
                                     [id](const auto& t) { return t.get() == id; });
        if (it == registry.trackings.end()) return;
        tracking = std::move(*it);
        registry.trackings.erase(it);
        thread = registry.thread;
        if (registry.trackings.empty()) retired = std::move(registry.thread);
    }
    tracking->Stop([&thread] { return thread->IsAlive(); });
    thread->Unwatch(tracking);
}

}  // namespace

void StopTrackingHelper::operator()(void** handle) const {
    if (!handle) return;
    CDirectoriesChangesTracker::StopTrackingChangeIn(*handle);
    delete handle;
}

std::unique_ptr<void*, StopTrackingHelper> CDirectoriesChangesTracker::TrackChangeIn(
    CString folder, int /*reserved*/, unsigned long filter, std::function<void()> callback,
    BlameTracker blame) {
    if (!callback || (filter & kAllChanges) == 0) return nullptr;
    auto tracking = std::make_shared<ChangeTracking>(std::move(folder), filter & kAllChanges,
                                                     std::move(callback), std::move(blame.owner));
    // Registered before it is watched, so that the thread cannot end meanwhile.
    Registry& registry = TheRegistry();
    std::shared_ptr<TrackerThread> thread;
    {
        std::lock_guard<std::mutex> lock(registry.mutex);
        if (!registry.thread) registry.thread = TrackerThread::Start();
        if (!registry.thread) return nullptr;
        thread = registry.thread;
        registry.trackings.push_back(tracking);
    }
    if (!thread->Watch(tracking)) {
        thread.reset();
        Remove(tracking.get());
        return nullptr;
    }
    return std::unique_ptr<void*, StopTrackingHelper>(new void*(tracking.get()));
}

void CDirectoriesChangesTracker::StopTrackingChangeIn(void* tracking) { Remove(tracking); }

std::vector<CDirectoriesChangesTracker::ActiveTracking> CDirectoriesChangesTracker::GetActiveTrackings() {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    std::vector<ActiveTracking> active;
    active.reserve(registry.trackings.size());
    for (const auto& tracking : registry.trackings)
        active.push_back({tracking->Folder(), tracking->Owner()});
    return active;
}

}  // namespace OvxUtils
