// TrackerThread on Linux: one thread polling the inotify instance of every tracking and
// an eventfd that wakes it when the set of trackings changes or it is to end.
#include "platform/directory_tracker/tracker_thread.h"

#include "platform/directory_tracker/inotify_tree.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace OvxUtils::DirectoryTracking {

namespace {

// How often a tracked folder that is gone is looked for again.
constexpr int kRearmIntervalMs = 200;

}  // namespace

// Shared by the owner and the thread; the thread keeps it alive until it returns.
class TrackerThread::Loop {
public:
    explicit Loop(SystemIO::Detail::UniqueFd wake) : m_wake(std::move(wake)) {}

    void Add(std::shared_ptr<InotifyTree> tree) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_trees.push_back(std::move(tree));
        Wake();
    }

    void Remove(const std::shared_ptr<ChangeTracking>& tracking) {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::erase_if(m_trees, [&](const auto& tree) { return tree->Tracking() == tracking; });
        Wake();
    }

    void End() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
        Wake();
    }

    void Run();

private:
    void Wake() {
        const std::uint64_t one = 1;
        (void)SystemIO::Detail::WriteAll(m_wake.Get(), &one, sizeof(one));
    }
    void DrainWake() {
        std::uint64_t count = 0;
        while (::read(m_wake.Get(), &count, sizeof(count)) < 0 && errno == EINTR) {
        }
    }

    SystemIO::Detail::UniqueFd m_wake;  // eventfd, non-blocking
    std::mutex m_mutex;
    std::vector<std::shared_ptr<InotifyTree>> m_trees;  // guarded by m_mutex
    bool m_ending = false;                              // guarded by m_mutex
};

void TrackerThread::Loop::Run() {
    // The thread's own copy of the trees, so that a tree's descriptor is closed only when
    // no poll uses it: when the copy taken after it was removed replaces this one.
    std::vector<std::shared_ptr<InotifyTree>> trees;
    std::vector<pollfd> fds;
    std::vector<ChangeTracking*> changed;
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_ending) return;
            trees = m_trees;
        }
        fds.assign(1, pollfd{m_wake.Get(), POLLIN, 0});
        bool waiting = false;
        for (const auto& tree : trees) {
            fds.push_back(pollfd{tree->Fd(), POLLIN, 0});
            waiting = waiting || tree->IsWaiting();
        }
        if (::poll(fds.data(), fds.size(), waiting ? kRearmIntervalMs : -1) < 0) continue;  // EINTR
        if (fds[0].revents & POLLIN) DrainWake();
        changed.clear();
        for (std::size_t i = 0; i < trees.size(); ++i) {
            const bool events = (fds[i + 1].revents & POLLIN) && trees[i]->ReadEvents();
            if (events || trees[i]->TryRearm()) changed.push_back(trees[i]->Tracking().get());
        }
        // Callbacks run with no lock held: they may start and stop trackings.
        for (ChangeTracking* tracking : changed) tracking->Notify();
    }
}

struct TrackerThread::Native {
    std::thread thread;
};

std::unique_ptr<TrackerThread> TrackerThread::Start() {
    SystemIO::Detail::UniqueFd wake(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!wake.IsValid()) return nullptr;
    auto loop = std::make_shared<Loop>(std::move(wake));
    auto native = std::make_unique<Native>();
    try {
        native->thread = std::thread([loop] { loop->Run(); });
    } catch (const std::system_error&) {
        return nullptr;
    }
    return std::unique_ptr<TrackerThread>(new TrackerThread(std::move(loop), std::move(native)));
}

TrackerThread::TrackerThread(std::shared_ptr<Loop> loop, std::unique_ptr<Native> native)
    : m_loop(std::move(loop)), m_native(std::move(native)) {}

TrackerThread::~TrackerThread() {
    m_loop->End();
    // From a callback of the last tracking the thread cannot wait for itself; it returns
    // as soon as that callback does.
    if (m_native->thread.get_id() == std::this_thread::get_id())
        m_native->thread.detach();
    else
        m_native->thread.join();
}

bool TrackerThread::Watch(const std::shared_ptr<ChangeTracking>& tracking) {
    std::unique_ptr<InotifyTree> tree = InotifyTree::Create(tracking);
    if (!tree) return false;
    m_loop->Add(std::move(tree));
    return true;
}

void TrackerThread::Unwatch(const std::shared_ptr<ChangeTracking>& tracking) { m_loop->Remove(tracking); }

bool TrackerThread::IsAlive() const { return true; }

}  // namespace OvxUtils::DirectoryTracking
