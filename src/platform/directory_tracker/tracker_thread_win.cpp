// TrackerThread on Windows: one thread waiting on an I/O completion port for the
// ReadDirectoryChangesW reads of every tracked folder, each read covering the subtree.
#include "platform/directory_tracker/tracker_thread.h"

#include "platform/directory_tracker/wine_subtree_win.h"
#include "platform/system_io/win32_io.h"

#include <windows.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace OvxUtils::DirectoryTracking {

namespace {

using SystemIO::Detail::UniqueFileHandle;

// More than 64 KiB is refused for folders on network shares.
constexpr DWORD kBufferSize = 64 * 1024;

// One tracked folder, with the one read that is issued on it at a time. Its address is
// the completion key of its folder handle, so it never moves.
struct DirectoryWatch {
    DirectoryWatch(std::shared_ptr<ChangeTracking> t, UniqueFileHandle f)
        : tracking(std::move(t)), folder(std::move(f)) {}

    // False when the system refuses the read: the folder went away.
    bool Issue() {
        overlapped = OVERLAPPED{};
        pending = ::ReadDirectoryChangesW(folder.Get(), buffer.get(), kBufferSize, TRUE, tracking->Filter(),
                                          nullptr, &overlapped, nullptr) != FALSE;
        return pending;
    }

    std::shared_ptr<ChangeTracking> tracking;
    UniqueFileHandle folder;  // closed when the folder went away, so that its deletion completes
    OVERLAPPED overlapped{};
    std::unique_ptr<DWORD[]> buffer = std::make_unique<DWORD[]>(kBufferSize / sizeof(DWORD));
    bool pending = false;   // a read is issued and its completion not yet handled
    bool removing = false;  // the tracking was stopped; dropped when no read is pending
};

// What the thread does after a read completed, once it has let go of its lock.
struct Completion {
    std::shared_ptr<ChangeTracking> changed;  // the tracking to call
    std::vector<CString> addedNames;          // under Wine: folders among them are opened
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
        const auto key = reinterpret_cast<ULONG_PTR>(watch.get());
        if (!::CreateIoCompletionPort(watch->folder.Get(), m_port.Get(), key, 0) || !watch->Issue())
            return false;
        m_watches.push_back(std::move(watch));
        return true;
    }

    // A pending read is cancelled; the watch goes when its completion arrives.
    void Remove(const std::shared_ptr<ChangeTracking>& tracking) {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = std::find_if(m_watches.begin(), m_watches.end(),
                                     [&](const auto& watch) { return watch->tracking == tracking; });
        if (it == m_watches.end()) return;
        DirectoryWatch& watch = **it;
        watch.removing = true;
        if (!watch.pending)
            m_watches.erase(it);
        else
            ::CancelIoEx(watch.folder.Get(), &watch.overlapped);
    }

    void End() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
        ::PostQueuedCompletionStatus(m_port.Get(), 0, 0, nullptr);
    }

    void Run() {
        for (;;) {
            DWORD bytes = 0;
            ULONG_PTR key = 0;
            OVERLAPPED* overlapped = nullptr;
            const BOOL ok = ::GetQueuedCompletionStatus(m_port.Get(), &bytes, &key, &overlapped, INFINITE);
            const DWORD error = ok ? ERROR_SUCCESS : ::GetLastError();
            if (!ok && !overlapped) return;  // the port itself failed
            Completion completion;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                if (overlapped) completion = Completed(key, error, bytes);
                if (m_ending && m_watches.empty()) return;
            }
            // With no lock held: the callback may start and stop trackings.
            if (!completion.changed) continue;
            const CString& folder = completion.changed->Folder();
            if (completion.openAll) WineSubtree::OpenFoldersBelow(folder);
            WineSubtree::OpenAddedFolders(folder, completion.addedNames);
            completion.changed->Notify();
        }
    }

private:
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
        if (!readAgain || !watch.Issue()) watch.folder.Reset();
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
    UniqueFileHandle folder(::CreateFileW(SystemIO::Detail::ToWin32Path(tracking->Folder()).GetString(),
                                          FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                          nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED,
                                          nullptr));
    BY_HANDLE_FILE_INFORMATION info{};
    if (!folder.IsValid() || !::GetFileInformationByHandle(folder.Get(), &info) ||
        (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return false;
    }
    if (!m_loop->Add(std::make_unique<DirectoryWatch>(tracking, std::move(folder)))) return false;
    if (WineSubtree::IsWine()) WineSubtree::OpenFoldersBelow(tracking->Folder());
    return true;
}

void TrackerThread::Unwatch(const std::shared_ptr<ChangeTracking>& tracking) { m_loop->Remove(tracking); }

bool TrackerThread::IsAlive() const { return ::WaitForSingleObject(m_native->thread.Get(), 0) == WAIT_TIMEOUT; }

}  // namespace OvxUtils::DirectoryTracking
