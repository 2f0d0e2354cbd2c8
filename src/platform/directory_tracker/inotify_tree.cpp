// InotifyTree: a folder tree under one inotify instance, and the mapping of the
// FILE_NOTIFY_CHANGE_* filter bits onto inotify events.
#include "platform/directory_tracker/inotify_tree.h"

#include "platform/directory_tracker/directories_changes_tracker.h"

#include <dirent.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace OvxUtils::DirectoryTracking {

namespace {

using Tracker = CDirectoriesChangesTracker;

constexpr std::uint32_t kNameEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;

// The events that every watch asks for: those the filter reports, and those that keep
// the tree's watches in step with its folders.
std::uint32_t MaskFor(unsigned long filter) {
    std::uint32_t mask = IN_CREATE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF |
                         IN_EXCL_UNLINK;
    if (filter & (Tracker::kFileName | Tracker::kDirName)) mask |= IN_DELETE;
    if (filter & (Tracker::kSize | Tracker::kLastWrite)) mask |= IN_MODIFY;
    if (filter & Tracker::kLastWrite) mask |= IN_CLOSE_WRITE;
    if (filter & (Tracker::kAttributes | Tracker::kSecurity)) mask |= IN_ATTRIB;
    if (filter & Tracker::kLastAccess) mask |= IN_ACCESS;
    return mask;
}

// Whether an event about an entry of a watched folder is a change of a kind in filter.
// Names are told apart by IN_ISDIR, as Windows tells file names from folder names; a
// creation counts as a change of creation time too, Linux keeping no other one.
bool Reports(std::uint32_t mask, unsigned long filter) {
    if (mask & kNameEvents) {
        if (filter & ((mask & IN_ISDIR) ? Tracker::kDirName : Tracker::kFileName)) return true;
        if ((mask & IN_CREATE) && (filter & Tracker::kCreation)) return true;
    }
    if ((mask & IN_MODIFY) && (filter & (Tracker::kSize | Tracker::kLastWrite))) return true;
    if ((mask & IN_CLOSE_WRITE) && (filter & Tracker::kLastWrite)) return true;
    if ((mask & IN_ATTRIB) && (filter & (Tracker::kAttributes | Tracker::kSecurity))) return true;
    return (mask & IN_ACCESS) && (filter & Tracker::kLastAccess);
}

struct DirCloser {
    void operator()(DIR* dir) const { ::closedir(dir); }
};
using UniqueDir = std::unique_ptr<DIR, DirCloser>;

bool IsUnder(const std::string& path, const std::string& folder) {
    return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 &&
           path[folder.size()] == '/';
}

}  // namespace

std::unique_ptr<InotifyTree> InotifyTree::Create(std::shared_ptr<ChangeTracking> tracking) {
    SystemIO::Detail::UniqueFd fd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!fd.IsValid()) return nullptr;
    std::unique_ptr<InotifyTree> tree(new InotifyTree(std::move(fd), std::move(tracking)));
    // The tracked folder may be a link to a folder; links below it are never followed.
    tree->m_rootWd = tree->WatchFolder(tree->m_root, 0);
    if (tree->m_rootWd >= 0) {
        tree->WatchBelow(tree->m_root);
    } else if (errno == ENOENT) {
        tree->m_waiting = true;
    } else {
        return nullptr;
    }
    return tree;
}

InotifyTree::InotifyTree(SystemIO::Detail::UniqueFd fd, std::shared_ptr<ChangeTracking> tracking)
    : m_fd(std::move(fd)),
      m_tracking(std::move(tracking)),
      m_root(m_tracking->Folder().ToUtf8()),
      m_mask(MaskFor(m_tracking->Filter())) {
    while (m_root.size() > 1 && m_root.back() == '/') m_root.pop_back();
}

bool InotifyTree::ReadEvents() {
    alignas(inotify_event) char buffer[64 * 1024];
    bool report = false;
    for (;;) {
        const ssize_t size = ::read(m_fd.Get(), buffer, sizeof(buffer));
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) return report;  // EAGAIN: all read
        for (const char* next = buffer; next < buffer + size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(next);
            report = Handle(*event) || report;
            next += sizeof(inotify_event) + event->len;
        }
    }
}

bool InotifyTree::Handle(const inotify_event& event) {
    if (m_waiting) return false;
    if (event.mask & IN_Q_OVERFLOW) {
        Resync();
        return true;
    }
    if (event.wd == m_rootWd && (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED))) {
        StartWaiting();
        return true;
    }
    if (event.mask & IN_IGNORED) {
        m_folders.erase(event.wd);
        return false;
    }
    const auto folder = m_folders.find(event.wd);
    // A watch already dropped, or a subfolder's own end, which its parent reports.
    if (folder == m_folders.end() || event.len == 0) return false;

    const std::string path = folder->second + "/" + event.name;
    bool report = Reports(event.mask, m_tracking->Filter());
    if (event.mask & IN_ISDIR) {
        if (event.mask & IN_MOVED_FROM) RemoveTree(path);
        // What was made inside before the watch was in place is reported as well.
        if ((event.mask & (IN_CREATE | IN_MOVED_TO)) && AddTree(path)) report = true;
    }
    return report;
}

int InotifyTree::WatchFolder(const std::string& folder, std::uint32_t flags) {
    const int wd = ::inotify_add_watch(m_fd.Get(), folder.c_str(), m_mask | IN_ONLYDIR | flags);
    if (wd >= 0) m_folders[wd] = folder;
    return wd;
}

bool InotifyTree::AddTree(const std::string& folder) {
    if (WatchFolder(folder, IN_DONT_FOLLOW) < 0) return false;  // gone already, or no watches left
    return WatchBelow(folder);
}

bool InotifyTree::WatchBelow(const std::string& folder) {
    bool holdsAnything = false;
    std::vector<std::string> pending{folder};
    while (!pending.empty()) {
        const std::string current = std::move(pending.back());
        pending.pop_back();
        UniqueDir dir(::opendir(current.c_str()));
        if (!dir) continue;
        while (const dirent* entry = ::readdir(dir.get())) {
            if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
            holdsAnything = true;
            std::string path = current + "/" + entry->d_name;
            bool isFolder = entry->d_type == DT_DIR;
            if (entry->d_type == DT_UNKNOWN) {
                struct stat st {};
                isFolder = ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
            }
            if (isFolder && WatchFolder(path, IN_DONT_FOLLOW) >= 0) pending.push_back(std::move(path));
        }
    }
    return holdsAnything;
}

void InotifyTree::RemoveTree(const std::string& folder) {
    for (auto it = m_folders.begin(); it != m_folders.end();) {
        if (it->second == folder || IsUnder(it->second, folder)) {
            ::inotify_rm_watch(m_fd.Get(), it->first);
            it = m_folders.erase(it);
        } else {
            ++it;
        }
    }
}

void InotifyTree::Resync() {
    const std::unordered_map<int, std::string> before = std::move(m_folders);
    m_folders.clear();
    m_rootWd = WatchFolder(m_root, 0);
    if (m_rootWd < 0) {
        m_folders = before;
        StartWaiting();
        return;
    }
    WatchBelow(m_root);
    for (const auto& [wd, path] : before) {
        if (m_folders.count(wd) == 0) ::inotify_rm_watch(m_fd.Get(), wd);
    }
}

void InotifyTree::StartWaiting() {
    for (const auto& [wd, path] : m_folders) ::inotify_rm_watch(m_fd.Get(), wd);
    m_folders.clear();
    m_rootWd = -1;
    m_waiting = true;
}

bool InotifyTree::TryRearm() {
    if (!m_waiting) return false;
    m_rootWd = WatchFolder(m_root, 0);
    if (m_rootWd < 0) return false;
    m_waiting = false;
    WatchBelow(m_root);
    return true;
}

}  // namespace OvxUtils::DirectoryTracking
