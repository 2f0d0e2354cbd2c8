// From a package renamed into a tracked source folder to the installer's Load: the road a
// host sees (the folder notification, the dispatch to the main thread, the rescan, the
// open, check and unpack, the load), with 0, 100, 500 or 1,000 other packages present and
// loaded. The time stops when the installer's Load runs, not when the rescan returns. Each
// repetition is one drop; "p99" over the repetitions is the figure. The aim: with 500
// present at most 25 ms, and at most 3 times the figure with none.

#include "bench_extensions.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>

namespace {

namespace fs = std::filesystem;
using namespace OvxComponent;
using Clock = std::chrono::steady_clock;

const CString kBenchType = u"application/x-bench";
const OvxBench::ScratchFolder scratch("ovx-drop-bench");

// The host's main thread: the tracker posts, the benchmark runs what was posted.
class MainThreadQueue {
public:
    void Post(OvxUtils::Delegate<void()> work) {
        {
            std::lock_guard lock(m_mutex);
            m_work.push_back(std::move(work));
        }
        m_posted.notify_one();
    }

    // Runs posted work until done() holds; false when a minute passes first.
    template <class Done>
    bool RunUntil(Done done) {
        const auto deadline = Clock::now() + std::chrono::minutes(1);
        while (!done()) {
            std::unique_lock lock(m_mutex);
            if (!m_posted.wait_until(lock, deadline, [this] { return !m_work.empty(); })) return done();
            auto work = std::move(m_work.front());
            m_work.pop_front();
            lock.unlock();
            work();
        }
        return true;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_posted;
    std::deque<OvxUtils::Delegate<void()>> m_work;
};

struct Host {
    MainThreadQueue mainThread;
    std::shared_ptr<OvxBench::BenchInstaller> installer = std::make_shared<OvxBench::BenchInstaller>();
    std::shared_ptr<ExtensionManagerImpl> manager;
    std::shared_ptr<const IExtensionInstaller> registration;
    fs::path root;
    std::vector<CString> files;  // what every package holds
    int drops = 0;
};

OvxUtils::Guid GuidOf(int number) {
    return OvxUtils::Guid(0xD0000000u + static_cast<std::uint32_t>(number), 1, 2, {3, 4, 5, 6, 7, 8, 9, 10});
}

// A tracking host with present packages installed and loaded.
Host& HostWith(int present) {
    static std::map<int, Host> hosts;
    if (const auto found = hosts.find(present); found != hosts.end()) return found->second;
    const fs::path root = scratch.Path() / ("host-" + std::to_string(present));
    const fs::path content = root / "content";
    fs::create_directories(content);
    std::ofstream(content / "main.txt") << std::string(2000, 'x');
    const std::vector<CString> files{CString::FromUtf8((content / "main.txt").string())};
    const fs::path source = root / "source";
    fs::create_directories(source);
    for (int i = 0; i < present; ++i) {
        OvxBench::PackBenchExtension(source / (std::to_string(i) + ".OrvexExtension"), GuidOf(i), kBenchType, content, files);
    }

    Host& host = hosts[present];
    host.root = root;
    host.files = files;

    const ExtensionSourceFolder sources[] = {{u"bench", CString::FromUtf8(source.string())}};
    auto apps = [](ExtensionAppSupport) { return true; };
    auto dispatch = [&host](OvxUtils::Delegate<void()> work) { host.mainThread.Post(std::move(work)); };
    // The log goes to its file, as in a host.
    host.manager = ExtensionManagerImpl::Make(CString::FromUtf8((root / "data").string()), sources, dispatch, nullptr,
                                              apps, {}, {});
    host.registration = host.manager->RegisterInstaller({kBenchType}, host.installer);
    host.manager->StartLoading();
    host.manager->FinishLoading();
    host.manager->TrackSourceFolders();
    if (!host.mainThread.RunUntil([&] { return host.installer->loads == present; })) std::abort();
    return host;
}

double Percentile99(const std::vector<double>& values) {
    std::vector<double> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    const auto rank = static_cast<std::size_t>(std::ceil(0.99 * static_cast<double>(sorted.size())));
    return sorted[std::max<std::size_t>(rank, 1) - 1];
}

// Each drop is another extension: one that was loaded in this session stays known to the
// manager after its removal, so dropping it again would be refused as already loaded.
void BM_DropToLoad(benchmark::State& state) {
    Host& host = HostWith(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const std::string name = "drop-" + std::to_string(host.drops) + ".OrvexExtension";
        const fs::path staged = host.root / "staged" / name, dropped = host.root / "source" / name;
        OvxBench::PackBenchExtension(staged, GuidOf(1'000'000 + host.drops++), kBenchType, host.root / "content",
                                     host.files);

        const int loads = host.installer->loads;
        const auto start = Clock::now();
        fs::rename(staged, dropped);
        if (!host.mainThread.RunUntil([&] { return host.installer->loads > loads; })) {
            state.SkipWithError("the dropped package was not loaded");
            break;
        }
        // Up to the installer's Load, which comes in the middle of the rescan. The rest of
        // the rescan (the scan for packages that went) keeps the main thread busy after
        // it: reported beside, in milliseconds.
        state.SetIterationTime(std::chrono::duration<double>(host.installer->lastLoad - start).count());
        state.counters["rescan_done_ms"] = std::chrono::duration<double, std::milli>(Clock::now() - start).count();

        // Taken away again, so that the number present stays the same.
        const int unloads = host.installer->unloads;
        fs::rename(dropped, staged);
        if (!host.mainThread.RunUntil([&] { return host.installer->unloads > unloads; })) {
            state.SkipWithError("the taken package was not unloaded");
            break;
        }
    }
}
BENCHMARK(BM_DropToLoad)
    ->Arg(0)
    ->Arg(100)
    ->Arg(500)
    ->Arg(1000)
    ->Iterations(1)
    ->Repetitions(100)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->ComputeStatistics("p99", Percentile99)
    ->ReportAggregatesOnly(true);

}  // namespace
