// TrackerThread on Windows: one thread waiting on an I/O completion port for the
// ReadDirectoryChangesW reads of every tracked folder, each read covering the subtree.
#include "platform/directory_tracker/tracker_thread.h"

#include "platform/directory_tracker/wine_subtree_win.h"
#include "platform/system_io/win32_io.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace OvxUtils::DirectoryTracking {

namespace {

using SystemIO::Detail::UniqueFileHandle;

// More than 64 KiB is refused for folders on network shares.
constexpr DWORD kBufferSize = 64 * 1024;
// How often the tracked folders' paths are looked at: a folder that went (or is not made
// yet) is watched again once it is back, and one renamed away is let go, since its handle
// would follow it to its new place.
constexpr DWORD kRecheckIntervalMs = 200;
// How long stopping a tracking waits for its cancelled read to end. The system ends it at
// once; the bound only keeps a host from hanging should it not.
constexpr DWORD kReadEndWaitMs = 2000;

// The folder's identity on its volume, to tell a folder renamed away from one at its path.
struct FolderIdentity {
    DWORD volume = 0;
    DWORD indexHigh = 0;
    DWORD indexLow = 0;
    bool operator==(const FolderIdentity&) const = default;
};

UniqueFileHandle OpenWithSharing(const CString& path, DWORD access, DWORD flags) {
    return UniqueFileHandle(::CreateFileW(SystemIO::Detail::ToWin32Path(path).GetString(), access,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                          OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr));
}

// The identity of the folder that handle holds; none when it holds no folder.
std::optional<FolderIdentity> IdentityOf(const UniqueFileHandle& handle) {
    BY_HANDLE_FILE_INFORMATION info{};
    if (!handle.IsValid() || !::GetFileInformationByHandle(handle.Get(), &info) ||
        (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return std::nullopt;
    }
    return FolderIdentity{info.dwVolumeSerialNumber, info.nFileIndexHigh, info.nFileIndexLow};
}

// The folder at path, opened for reads of its changes; an invalid handle when there is none.
UniqueFileHandle OpenFolder(const CString& path, FolderIdentity& identity) {
    UniqueFileHandle folder = OpenWithSharing(path, FILE_LIST_DIRECTORY, FILE_FLAG_OVERLAPPED);
    const std::optional<FolderIdentity> opened = IdentityOf(folder);
    if (!opened) return UniqueFileHandle();
    identity = *opened;
    return folder;
}

// What is at a tracked folder's path: the folder of the watch, another folder (the
// first was replaced), or no folder.
enum class AtPath { Same, Other, None };

AtPath LookAt(const CString& path, const FolderIdentity& identity) {
    const std::optional<FolderIdentity> there = IdentityOf(OpenWithSharing(path, FILE_READ_ATTRIBUTES, 0));
    if (!there) return AtPath::None;
    return *there == identity ? AtPath::Same : AtPath::Other;
}

// One tracked folder, with the one read that is issued on it at a time. Its address is
// the completion key of its folder handle, so it never moves.
struct DirectoryWatch {
    DirectoryWatch(std::shared_ptr<ChangeTracking> t, UniqueFileHandle f)
        : tracking(std::move(t)), folder(std::move(f)) {}

    // False when the system refuses the read: the folder went away.
    bool Issue() {
        overlapped = OVERLAPPED{};
        ::ResetEvent(readEnded->Get());
        overlapped.hEvent = readEnded->Get();
        pending = ::ReadDirectoryChangesW(folder.Get(), buffer.get(), kBufferSize, TRUE, tracking->Filter(),
                                          nullptr, &overlapped, nullptr) != FALSE;
        return pending;
    }

    std::shared_ptr<ChangeTracking> tracking;
    UniqueFileHandle folder;  // closed when the folder went away, so that its deletion completes
    FolderIdentity identity;  // of the folder that the handle holds
    OVERLAPPED overlapped{};
    // Set by the system when the read ends, as its completion is queued; shared with a
    // stop that waits for it after letting go of the lock.
    std::shared_ptr<UniqueFileHandle> readEnded =
        std::make_shared<UniqueFileHandle>(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::unique_ptr<DWORD[]> buffer = std::make_unique<DWORD[]>(kBufferSize / sizeof(DWORD));
    bool pending = false;   // a read is issued and its completion not yet handled
    bool removing = false;  // the tracking was stopped; dropped when no read is pending
    bool waiting = false;   // the folder went (or is not made yet); its path is looked at again
    // While waiting: the folder was replaced by another one, which was reported; should
    // that one go before it is watched, its going is reported too.
    bool replaced = false;
};

// What the thread does after a read completed, once it has let go of its lock.
struct Completion {
    std::shared_ptr<ChangeTracking> changed;  // the tracking to call
    std::vector<CString> addedNames{};        // under Wine: folders among them are opened
    bool openAll = false;                     // under Wine: the records were lost
};

// Any address inside this module names the module.
const char kModuleAnchor = 0;

}  // namespace

// Shared by the owner and the thread; the thread keeps it alive until it returns.
class TrackerThread::Loop {
public:
    explicit Loop(UniqueFileHandle port) : m_port(std::move(port)) {}

    bool Add(std::unique_ptr<DirectoryWatch> watch) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!watch->readEnded->IsValid() || (!watch->waiting && !Arm(*watch))) return false;
        m_watches.push_back(std::move(watch));
        // The thread looks at paths only while it has watches; wake it to start.
        ::PostQueuedCompletionStatus(m_port.Get(), 0, 0, nullptr);
        return true;
    }

    // A pending read is cancelled and the folder's handle closed; the watch goes when the
    // read's completion arrives. Returns once the read has ended, since until then the
    // system still holds the folder: a folder deleted meanwhile would stay, pending
    // deletion, and keep its parent from being deleted. At process exit, when the system
    // has ended the tracker thread, it does not wait.
    void Remove(const std::shared_ptr<ChangeTracking>& tracking, bool waitForTheRead) {
        std::shared_ptr<UniqueFileHandle> readEnded;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const auto it = std::find_if(m_watches.begin(), m_watches.end(),
                                         [&](const auto& watch) { return watch->tracking == tracking; });
            if (it == m_watches.end()) return;
            DirectoryWatch& watch = **it;
            watch.removing = true;
            if (!watch.pending) {
                m_watches.erase(it);
                return;
            }
            ::CancelIoEx(watch.folder.Get(), &watch.overlapped);
            watch.folder.Reset();
            readEnded = watch.readEnded;
        }
        if (waitForTheRead) ::WaitForSingleObject(readEnded->Get(), kReadEndWaitMs);
    }

    void End() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
        ::PostQueuedCompletionStatus(m_port.Get(), 0, 0, nullptr);
    }

    void Run() {
        DWORD lastRecheck = ::GetTickCount();
        for (;;) {
            DWORD bytes = 0;
            ULONG_PTR key = 0;
            OVERLAPPED* overlapped = nullptr;
            const DWORD timeout = HasWatches() ? kRecheckIntervalMs : INFINITE;
            const BOOL ok = ::GetQueuedCompletionStatus(m_port.Get(), &bytes, &key, &overlapped, timeout);
            const DWORD error = ok ? ERROR_SUCCESS : ::GetLastError();
            if (!ok && !overlapped && error != WAIT_TIMEOUT) return;  // the port itself failed
            std::vector<Completion> completions(1);
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                if (overlapped) completions.front() = Completed(key, error, bytes);
                if (m_ending && m_watches.empty()) return;
                if (::GetTickCount() - lastRecheck >= kRecheckIntervalMs) {
                    lastRecheck = ::GetTickCount();
                    Recheck(completions);
                }
            }
            // With no lock held: the callback may start and stop trackings.
            for (const Completion& completion : completions) {
                if (!completion.changed) continue;
                const CString& folder = completion.changed->Folder();
                if (completion.openAll) WineSubtree::OpenFoldersBelow(folder);
                WineSubtree::OpenAddedFolders(folder, completion.addedNames);
                completion.changed->Notify();
            }
        }
    }

private:
    bool HasWatches() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return !m_watches.empty();
    }

    // Opens the watch's folder (when it has no handle) and issues its first read.
    bool Arm(DirectoryWatch& watch) {
        if (!watch.folder.IsValid()) watch.folder = OpenFolder(watch.tracking->Folder(), watch.identity);
        const auto key = reinterpret_cast<ULONG_PTR>(&watch);
        if (!watch.folder.IsValid() || !::CreateIoCompletionPort(watch.folder.Get(), m_port.Get(), key, 0) ||
            !watch.Issue()) {
            watch.folder.Reset();
            return false;
        }
        watch.waiting = false;
        return true;
    }

    // Lets go of folders that left their path, and watches again those that are back;
    // both are reported. A replacement that goes again before it could be watched (the
    // cancelled read of the first folder had not ended yet) is reported as it goes too.
    void Recheck(std::vector<Completion>& completions) {
        for (const auto& watch : m_watches) {
            if (watch->removing) continue;
            if (!watch->waiting) {
                const AtPath there = LookAt(watch->tracking->Folder(), watch->identity);
                if (there == AtPath::Same) continue;
                watch->waiting = true;
                watch->replaced = there == AtPath::Other;
                if (watch->pending) ::CancelIoEx(watch->folder.Get(), &watch->overlapped);
                watch->folder.Reset();
                completions.push_back(Completion{watch->tracking});
            } else if (!watch->pending && Arm(*watch)) {
                watch->replaced = false;
                Completion back{watch->tracking};
                back.openAll = WineSubtree::IsWine();
                completions.push_back(std::move(back));
            } else if (watch->replaced && LookAt(watch->tracking->Folder(), {}) == AtPath::None) {
                watch->replaced = false;
                completions.push_back(Completion{watch->tracking});
            }
        }
    }

    // A read completed: with records, with none because they did not fit (the caller
    // must look at everything again), or with an error.
    Completion Completed(ULONG_PTR key, DWORD error, DWORD bytes) {
        const auto it = std::find_if(m_watches.begin(), m_watches.end(),
                                     [&](const auto& watch) { return reinterpret_cast<ULONG_PTR>(watch.get()) == key; });
        if (it == m_watches.end()) return {};
        DirectoryWatch& watch = **it;
        watch.pending = false;
        if (watch.removing) {
            m_watches.erase(it);
            return {};
        }
        if (watch.waiting) return {};  // let go by Recheck, which has reported it
        Completion completion;
        completion.changed = watch.tracking;
        if (WineSubtree::IsWine()) {
            if (error == ERROR_SUCCESS && bytes > 0)
                completion.addedNames = WineSubtree::AddedNames(watch.buffer.get(), bytes);
            else
                completion.openAll = true;
        }
        // An abort that nobody asked for comes when the thread that issued the read ended;
        // changes may have been missed meanwhile. Any other error means the folder is gone.
        const bool readAgain = error == ERROR_SUCCESS || error == ERROR_NOTIFY_ENUM_DIR ||
                               error == ERROR_OPERATION_ABORTED;
        if (!readAgain || !watch.Issue()) {
            watch.folder.Reset();
            watch.waiting = true;
        }
        return completion;
    }

    UniqueFileHandle m_port;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<DirectoryWatch>> m_watches;  // guarded by m_mutex
    bool m_ending = false;                                   // guarded by m_mutex
};

struct TrackerThread::Native {
    UniqueFileHandle thread;
};

namespace {

struct ThreadStart {
    std::shared_ptr<TrackerThread::Loop> loop;
    HMODULE module = nullptr;  // a reference of the thread's own
};

DWORD WINAPI TrackerThreadMain(void* parameter) {
    std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(parameter));
    const HMODULE module = start->module;
    start->loop->Run();
    start.reset();
    // Returning would run code of this module after a FreeLibrary of it may have let it go.
    ::FreeLibraryAndExitThread(module, 0);
}

}  // namespace

std::unique_ptr<TrackerThread> TrackerThread::Start() {
    UniqueFileHandle port(::CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1));
    if (!port.IsValid()) return nullptr;
    auto start = std::make_unique<ThreadStart>();
    start->loop = std::make_shared<Loop>(std::move(port));
    if (!::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&kModuleAnchor),
                              &start->module)) {
        return nullptr;
    }
    std::shared_ptr<Loop> loop = start->loop;
    const HMODULE module = start->module;
    auto native = std::make_unique<Native>();
    native->thread = UniqueFileHandle(::CreateThread(nullptr, 0, &TrackerThreadMain, start.get(), 0, nullptr));
    if (!native->thread.IsValid()) {
        ::FreeLibrary(module);
        return nullptr;
    }
    start.release();  // the thread's now
    return std::unique_ptr<TrackerThread>(new TrackerThread(std::move(loop), std::move(native)));
}

TrackerThread::TrackerThread(std::shared_ptr<Loop> loop, std::unique_ptr<Native> native)
    : m_loop(std::move(loop)), m_native(std::move(native)) {}

// Never waits: the thread ends by itself once its last read is cancelled.
TrackerThread::~TrackerThread() { m_loop->End(); }

bool TrackerThread::Watch(const std::shared_ptr<ChangeTracking>& tracking) {
    FolderIdentity identity;
    UniqueFileHandle folder = OpenFolder(tracking->Folder(), identity);
    // A folder that is not there yet is waited for; a path that is something else is refused.
    const DWORD error = folder.IsValid() ? ERROR_SUCCESS : ::GetLastError();
    const bool missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    if (!folder.IsValid() && !missing) return false;
    // Wine watches a subfolder of a subtree read only once its server has opened it. The
    // folders are opened before the read is issued, so that they are watched from its
    // start (opened only after it, a change made at once in a nested folder was missed in
    // about one start in six on a busy machine), and again after, for any made meanwhile.
    if (!missing && WineSubtree::IsWine()) WineSubtree::OpenFoldersBelow(tracking->Folder());
    auto watch = std::make_unique<DirectoryWatch>(tracking, std::move(folder));
    watch->identity = identity;
    watch->waiting = missing;
    if (!m_loop->Add(std::move(watch))) return false;
    if (!missing && WineSubtree::IsWine()) WineSubtree::OpenFoldersBelow(tracking->Folder());
    return true;
}

void TrackerThread::Unwatch(const std::shared_ptr<ChangeTracking>& tracking) { m_loop->Remove(tracking, IsAlive()); }

bool TrackerThread::IsAlive() const { return ::WaitForSingleObject(m_native->thread.Get(), 0) == WAIT_TIMEOUT; }

}  // namespace OvxUtils::DirectoryTracking
