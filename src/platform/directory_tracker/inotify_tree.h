// InotifyTree: one inotify instance watching one folder tree for one tracking.
#pragma once

#include "platform/directory_tracker/change_tracking.h"
#include "platform/system_io/posix_io.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

struct inotify_event;

namespace OvxUtils::DirectoryTracking {

// Keeps a watch on every folder of a tree, following the tree as folders are made, moved
// and deleted, and tells which events its tracking's filter reports. Created by the
// thread that starts the tracking; afterwards only the tracker thread uses it. It lives
// until the tracking is stopped and the tracker thread lets go of it.
//
// Each tree has its own instance, so that an overflow of the system's queue concerns one
// tracking only; each instance counts against the user's fs.inotify.max_user_instances.
class InotifyTree {
public:
    // Watches the tree below tracking->Folder(); a folder that is not there yet is waited
    // for. nullptr when the path cannot be watched for another reason (it is a file, or no
    // watches are left). Subfolders that cannot be watched are left out.
    static std::unique_ptr<InotifyTree> Create(std::shared_ptr<ChangeTracking> tracking);
    InotifyTree(const InotifyTree&) = delete;
    InotifyTree& operator=(const InotifyTree&) = delete;

    // Readable when events are queued; never blocks.
    int Fd() const { return m_fd.Get(); }
    const std::shared_ptr<ChangeTracking>& Tracking() const { return m_tracking; }

    // Reads and handles every queued event; true when one of them is to be reported.
    bool ReadEvents();

    // The tracked folder is gone (deleted, moved away, or not made yet); the tree waits
    // for a folder to be at its path again.
    bool IsWaiting() const { return m_waiting; }
    // While waiting: watches the folder if it is back; true when it is (to be reported,
    // since anything may have been put in it meanwhile).
    bool TryRearm();

private:
    InotifyTree(SystemIO::Detail::UniqueFd fd, std::shared_ptr<ChangeTracking> tracking);

    bool Handle(const inotify_event& event);
    // Adds one watch; the watch descriptor, or -1.
    int WatchFolder(const std::string& folder, std::uint32_t flags);
    // Watches folder and everything below it; true when it holds anything.
    bool AddTree(const std::string& folder);
    // Watches everything below folder; true when it holds anything.
    bool WatchBelow(const std::string& folder);
    // Drops the watches of folder and everything below it.
    void RemoveTree(const std::string& folder);
    // After an overflow: watches what is there now and drops what has gone.
    void Resync();
    // The tracked folder went away: its watches go, and the tree waits for it.
    void StartWaiting();

    SystemIO::Detail::UniqueFd m_fd;
    std::shared_ptr<ChangeTracking> m_tracking;
    std::string m_root;                    // the tracked folder, as the system names it
    std::uint32_t m_mask = 0;              // what every watch asks the system for
    std::unordered_map<int, std::string> m_folders;  // watch descriptor -> folder path
    int m_rootWd = -1;
    bool m_waiting = false;
};

}  // namespace OvxUtils::DirectoryTracking
