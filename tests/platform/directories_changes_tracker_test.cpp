// CDirectoriesChangesTracker on real folders: what it reports, releases, and survives.
#include "platform/directory_tracker/directories_changes_tracker.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "support/temp_folder.h"
#include "support/wait_until.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

namespace {

using namespace std::chrono_literals;
using OvxTest::FsPath;
using OvxTest::TempFolder;
using OvxTest::WaitUntil;
using Tracker = OvxUtils::CDirectoriesChangesTracker;
using Handle = std::unique_ptr<void*, OvxUtils::StopTrackingHelper>;
namespace File = OvxUtils::SystemIO::File;
namespace Folder = OvxUtils::SystemIO::Folder;

// What the extension manager asks for: file names, last write and creation.
constexpr unsigned long kManagerFilter = 0x51;

// Counts the calls of a callback; the count is shared with the callback, so a late call
// finds it still there.
struct Calls {
    std::shared_ptr<std::atomic<int>> count = std::make_shared<std::atomic<int>>(0);

    std::function<void()> Callback() const {
        return [count = count] { ++*count; };
    }
    int Count() const { return *count; }
    bool WaitBeyond(int than) const {
        return WaitUntil([&] { return *count > than; });
    }
    // The count once no call came for window: a change may be reported by more than one
    // call, so a step that must not be taken for the previous one waits for this first.
    int Quiet(std::chrono::milliseconds window = 100ms) const {
        for (int last = Count();;) {
            std::this_thread::sleep_for(window);
            if (Count() == last) return last;
            last = Count();
        }
    }
};

// Makes a change and expects a call after it.
void ExpectCallFor(const Calls& calls, const char* what, const std::function<void()>& change) {
    const int before = calls.Count();
    change();
    EXPECT_TRUE(calls.WaitBeyond(before)) << "no call after: " << what;
}

Handle Track(const CString& folder, unsigned long filter, std::function<void()> callback,
             const char* owner = "test") {
    return Tracker::TrackChangeIn(folder, 0, filter, std::move(callback),
                                  OvxUtils::BlameTracker{CString::FromUtf8(owner)});
}

void Rename(const CString& from, const CString& to) { std::filesystem::rename(FsPath(from), FsPath(to)); }
void Append(const CString& path, const char* text) { std::ofstream(FsPath(path), std::ios::app) << text; }

// Enough changes to overflow the system's queue while the tracker thread is held: on
// Linux three events per file against the queue's length, on Windows more records than
// the 64 KiB buffer holds.
int BurstSize() {
#if defined(_WIN32)
    return 3000;
#else
    int queued = 16384;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> queued;
    return queued / 3 + 1000;
#endif
}

// Tracks folder with a callback that counts its calls and then holds the tracker thread
// until gate is set; returns once the thread is held.
Handle TrackAndHold(const TempFolder& folder, unsigned long filter, const Calls& calls,
                    std::promise<void>& gate) {
    Handle handle = Track(folder.Path(), filter, [count = calls.Callback(), open = gate.get_future().share()] {
        count();
        open.wait();
    });
    EXPECT_TRUE(handle);
    folder.WriteFile(u"first.txt", "x");
    EXPECT_TRUE(calls.WaitBeyond(0));
    return handle;
}

TEST(DirectoriesChangesTracker, ReportsEachKindOfChangeInItsFilter) {
    struct Case {
        const char* name;
        unsigned long filter;
        void (*change)(const TempFolder&);
    };
    const Case cases[] = {
        {"new file", Tracker::kFileName, [](const TempFolder& t) { t.WriteFile(u"new.txt", "x"); }},
        {"renamed file", Tracker::kFileName, [](const TempFolder& t) { Rename(t / u"a.txt", t / u"b.txt"); }},
        {"deleted file", Tracker::kFileName, [](const TempFolder& t) { File::Delete(t / u"a.txt"); }},
        {"written file", Tracker::kLastWrite, [](const TempFolder& t) { Append(t / u"a.txt", "more"); }},
        {"created file", Tracker::kCreation, [](const TempFolder& t) { t.WriteFile(u"new.txt", "x"); }},
        {"new folder", Tracker::kDirName, [](const TempFolder& t) { EXPECT_TRUE(Folder::EnsureExists(t / u"sub")); }},
        {"file written in a nested folder", kManagerFilter,
         [](const TempFolder& t) { Append(t / u"nested/deeper/c.txt", "more"); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TempFolder temp;
        temp.WriteFile(u"a.txt", "x");
        temp.WriteFile(u"nested/deeper/c.txt", "x");
        Calls calls;
        const Handle handle = Track(temp.Path(), c.filter, calls.Callback());
        ASSERT_TRUE(handle);
        c.change(temp);
        EXPECT_TRUE(calls.WaitBeyond(0));
    }
}

TEST(DirectoriesChangesTracker, FollowsFoldersMadeOrMovedAfterTrackingStarted) {
    TempFolder temp;
    Calls calls;
    // Folder names too: Windows reports a folder's new name only under that bit.
    const Handle handle = Track(temp.Path(), kManagerFilter | Tracker::kDirName, calls.Callback());
    ASSERT_TRUE(handle);

    ExpectCallFor(calls, "new folders with a file", [&] { temp.WriteFile(u"new/deeper/first.txt", "x"); });
    ExpectCallFor(calls, "new file", [&] { temp.WriteFile(u"new/deeper/second.txt", "x"); });
    ExpectCallFor(calls, "write", [&] { Append(temp / u"new/deeper/second.txt", "more"); });
    ExpectCallFor(calls, "rename", [&] { Rename(temp / u"new/deeper/second.txt", temp / u"new/deeper/third.txt"); });
    ExpectCallFor(calls, "delete", [&] { File::Delete(temp / u"new/deeper/third.txt"); });
    ExpectCallFor(calls, "folder rename", [&] { Rename(temp / u"new", temp / u"moved"); });
    // What follows shows that the watch followed: it must not be a late call of the move.
    calls.Quiet();
    ExpectCallFor(calls, "file in the moved folder", [&] { temp.WriteFile(u"moved/deeper/fourth.txt", "x"); });

    // A folder filled outside the tree and moved in.
    TempFolder outside;
    outside.WriteFile(u"package/content.txt", "x");
    ExpectCallFor(calls, "folder moved in", [&] { Rename(outside / u"package", temp / u"package"); });
    calls.Quiet();
    ExpectCallFor(calls, "file in it", [&] { temp.WriteFile(u"package/later.txt", "x"); });
}

TEST(DirectoriesChangesTracker, RefusesWhatItCannotTrack) {
    TempFolder temp;
    const CString file = temp.WriteFile(u"file.txt", "x");
    Calls calls;
    EXPECT_FALSE(Track(file, kManagerFilter, calls.Callback()));
    EXPECT_FALSE(Track(temp.Path(), kManagerFilter, nullptr));
    EXPECT_FALSE(Track(temp.Path(), 0, calls.Callback()));
    EXPECT_FALSE(Track(temp.Path(), 0x80, calls.Callback()));
    EXPECT_TRUE(Tracker::GetActiveTrackings().empty());
}

TEST(DirectoriesChangesTracker, CallsNothingOnceReleasedWhileChangesGoOn) {
    TempFolder temp;
    Calls released, probe;
    // The probe is served first and slowly, so that the release mostly comes while the
    // tracker thread is about to serve the released tracking.
    const Handle probeHandle = Track(temp.Path(), kManagerFilter, [count = probe.Callback()] {
        count();
        std::this_thread::sleep_for(20ms);
    });
    Handle handle = Track(temp.Path(), kManagerFilter, released.Callback());
    ASSERT_TRUE(handle && probeHandle);
    std::atomic<bool> writing{true};
    std::thread writer([&] {
        for (int i = 0; writing; ++i) temp.WriteFile(CString::FromUtf8("f" + std::to_string(i % 20)), "x");
    });
    ASSERT_TRUE(released.WaitBeyond(0));
    handle.reset();
    const int atRelease = released.Count();
    EXPECT_TRUE(probe.WaitBeyond(probe.Count() + 2));
    writing = false;
    writer.join();
    // The tracker serves a folder's changes in order: once the probe has seen a change
    // made after the writer stopped, every earlier one has been served.
    ExpectCallFor(probe, "last change", [&] { temp.WriteFile(u"last", "x"); });
    EXPECT_EQ(released.Count(), atRelease);
}

TEST(DirectoriesChangesTracker, ReleaseWaitsForTheCallInProgress) {
    TempFolder temp, other;
    // Another tracking goes on, so that the release cannot end the thread.
    Calls otherCalls;
    const Handle otherHandle = Track(other.Path(), kManagerFilter, otherCalls.Callback());
    std::atomic<bool> entered{false}, releasing{false}, finished{false};
    Handle handle = Track(temp.Path(), kManagerFilter, [&] {
        if (entered.exchange(true)) return;
        WaitUntil([&] { return releasing.load(); });
        std::this_thread::sleep_for(200ms);  // time for a release that does not wait to return
        finished = true;
    });
    ASSERT_TRUE(handle);
    temp.WriteFile(u"a.txt", "x");
    ASSERT_TRUE(WaitUntil([&] { return entered.load(); }));
    releasing = true;
    handle.reset();
    EXPECT_TRUE(finished);
    WaitUntil([&] { return finished.load(); });
}

// A host may delete a folder as soon as it stopped tracking it, even while the tracker
// thread is busy with another tracking's call, and right after a change that made the
// tracker watch the folder anew.
TEST(DirectoriesChangesTracker, LetsGoOfTheFolderWhenReleased) {
    TempFolder temp, other;
    std::atomic<bool> entered{false};
    const Handle busy = Track(other.Path(), kManagerFilter, [&] { entered = true; std::this_thread::sleep_for(300ms); });
    temp.WriteFile(u"tracked/nested/a.txt", "x");
    Calls calls;
    Handle handle = Track(temp / u"tracked", kManagerFilter, calls.Callback());
    ASSERT_TRUE(handle && busy);
    ExpectCallFor(calls, "change", [&] { Append(temp / u"tracked/nested/a.txt", "more"); });
    other.WriteFile(u"hold.txt", "x");
    ASSERT_TRUE(WaitUntil([&] { return entered.load(); }));
    handle.reset();
    // Deleted, not only renamed away pending its deletion.
    EXPECT_TRUE(Folder::DeleteRecursive(temp / u"tracked", true));
    EXPECT_TRUE(Folder::GetSubfolders(temp.Path(), false).empty());
}

// As a manager does whose last reference goes on the tracker's thread.
TEST(DirectoriesChangesTracker, ReleasesFromInsideItsOwnCallback) {
    TempFolder temp;
    // While another tracking goes on, which then shows that later changes are reported.
    Calls probe;
    const Handle probeHandle = Track(temp.Path(), kManagerFilter, probe.Callback());
    std::mutex mutex;
    std::atomic<int> selfCalls{0};
    Handle self;  // released first, before what its callback touches
    {
        std::lock_guard<std::mutex> lock(mutex);
        self = Track(temp.Path(), kManagerFilter, [&] {
            ++selfCalls;
            Handle mine;
            std::lock_guard<std::mutex> guard(mutex);
            mine = std::move(self);
        });
    }
    ExpectCallFor(probe, "first change", [&] { temp.WriteFile(u"a.txt", "x"); });
    EXPECT_TRUE(WaitUntil([&] { return selfCalls == 1; }));
    ExpectCallFor(probe, "second change", [&] { temp.WriteFile(u"b.txt", "x"); });
    EXPECT_EQ(selfCalls, 1);
}

TEST(DirectoriesChangesTracker, KeepsReportingAfterItsQueueOverflows) {
    TempFolder temp;
    Calls calls;
    std::promise<void> gate;
    const Handle handle = TrackAndHold(temp, kManagerFilter, calls, gate);
    for (int i = 0, size = BurstSize(); i < size; ++i)
        temp.WriteFile(CString::FromUtf8("burst-" + std::to_string(i) + ".txt"), "x");
    EXPECT_TRUE(Folder::EnsureExists(temp / u"made meanwhile"));  // not ASSERT: the gate must open
    const int held = calls.Count();
    gate.set_value();
    EXPECT_TRUE(calls.WaitBeyond(held));
    calls.Quiet();
    ExpectCallFor(calls, "file in the folder made during the overflow",
                  [&] { temp.WriteFile(u"made meanwhile/late.txt", "x"); });
}

// A tracked folder that is not there yet, or goes (deleted or renamed away), is waited for
// and watched again when it is back; its return and what it then holds are reported.
// While the folder is away only its return is reported, so the calls of its going must be
// over before it comes back: a late one would pass for the return, and the next step could
// take the folder away again before the tracker looked (nothing to report then). The
// tracker looks at the path five times a second, and on Windows reports a going only then.
TEST(DirectoriesChangesTracker, FollowsTheTrackedFolderThroughItsAbsence) {
    constexpr auto kGoingReported = 500ms;
    TempFolder temp;
    const CString folder = temp / u"tracked";
    Calls calls;
    const Handle handle = Track(folder, kManagerFilter, calls.Callback());
    ASSERT_TRUE(handle);
    ExpectCallFor(calls, "folder made", [&] { temp.WriteFile(u"tracked/first.txt", "x"); });
    ExpectCallFor(calls, "file in it", [&] { temp.WriteFile(u"tracked/second.txt", "x"); });
    ExpectCallFor(calls, "folder deleted", [&] { EXPECT_TRUE(Folder::DeleteRecursive(folder, true)); });
    calls.Quiet(kGoingReported);
    ExpectCallFor(calls, "folder made again", [&] { temp.WriteFile(u"tracked/third.txt", "x"); });
    ExpectCallFor(calls, "folder renamed away", [&] { Rename(folder, temp / u"elsewhere"); });
    calls.Quiet(kGoingReported);
    ExpectCallFor(calls, "folder back", [&] { Rename(temp / u"elsewhere", folder); });
    ExpectCallFor(calls, "file in the folder back", [&] { temp.WriteFile(u"tracked/fourth.txt", "x"); });
}

}  // namespace
