// CDirectoriesChangesTracker: calls a function whenever something changes below a folder.
//
// The watching is done by the system (inotify on Linux, ReadDirectoryChangesW on
// Windows) on one tracker thread shared by the whole process; the callbacks run on it.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <functional>
#include <memory>
#include <vector>

namespace OvxUtils {

// Names whoever asked for a tracking. It has no effect on the tracking; it is kept with
// it so that GetActiveTrackings can tell, when a folder is still tracked that should not
// be, whose handle was never released.
struct BlameTracker {
    CString owner;
};

// The deleter of a tracking handle: deleting the handle stops the tracking, exactly as
// StopTrackingChangeIn does, and frees the handle's cell.
struct StopTrackingHelper {
    void operator()(void** handle) const;
};

// Tracks changes in folder trees for their owners. Every member may be called on any
// thread, including the tracker thread from inside a callback. The tracker thread starts
// with the first tracking and ends after the last one is stopped; it is never joined
// during module unload or process exit.
class CDirectoriesChangesTracker {
public:
    // The FILE_NOTIFY_CHANGE_* bits that a filter may hold; other bits are ignored.
    static constexpr unsigned long kFileName = 0x001;
    static constexpr unsigned long kDirName = 0x002;
    static constexpr unsigned long kAttributes = 0x004;
    static constexpr unsigned long kSize = 0x008;
    static constexpr unsigned long kLastWrite = 0x010;
    static constexpr unsigned long kLastAccess = 0x020;
    static constexpr unsigned long kCreation = 0x040;
    static constexpr unsigned long kSecurity = 0x100;
    static constexpr unsigned long kAllChanges = 0x17F;

    // Calls callback on the tracker thread after changes of the kinds in filter happen in
    // folder or anywhere below it, subfolders made later included. Several changes close
    // together may give one call: the promise is at least one call after each change,
    // never a call per change. When the system loses changes (its queue overflowed) the
    // callback is called too, and the caller should look at the whole tree again. When the
    // folder itself goes (deleted or moved away), the callback is called once and the
    // tracking waits for a folder to be at that path again (looking a few times a second);
    // when one is, it is watched and the callback is called once more. A folder that does
    // not exist yet is waited for in the same way.
    //
    // The second argument is reserved and ignored; pass 0. Returns an empty handle, and
    // tracks nothing, when callback is empty, filter holds none of the bits above, or the
    // system refuses to watch the path (it is a file, or the system's watches ran out).
    static std::unique_ptr<void*, StopTrackingHelper> TrackChangeIn(
        CString folder, int reserved, unsigned long filter, std::function<void()> callback,
        BlameTracker blame);

    // Stops the tracking that the handle's cell names (*handle). When this returns, the
    // callback is not running and will not be called again, except when it is called from
    // inside that very callback: then the call in progress finishes and no other follows.
    // The folder is no longer held by the tracking either, so it may be deleted at once.
    // An unknown or already stopped tracking is ignored.
    static void StopTrackingChangeIn(void* tracking);

    struct ActiveTracking {
        CString folder;
        CString owner;  // BlameTracker::owner
    };
    // The trackings that have not been stopped, oldest first.
    static std::vector<ActiveTracking> GetActiveTrackings();
};

}  // namespace OvxUtils
