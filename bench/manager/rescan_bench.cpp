// A rescan of a source folder whose packages are all installed and unchanged, with 1, 100
// or 500 of them present: every line is written to the log file and the host's
// requirement check runs for each, but nothing has changed, so nothing needs reading
// again. Beside it, in the same run, BM_RescanLogFloor: the lines of one such rescan,
// each written with one write call to a file and once more to a second one. The aim: a
// rescan with 500 present costs at most 2 times its floor.

#include "bench_extensions.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace {

namespace fs = std::filesystem;
using namespace OvxComponent;
using OvxBench::BenchInstaller;

const CString kBenchType = u"application/x-bench";
const OvxBench::ScratchFolder scratch("ovx-rescan-bench");

// A host with count packages in its source folder, all installed and loaded.
struct Host {
    std::shared_ptr<ExtensionManagerImpl> manager;
    std::shared_ptr<const IExtensionInstaller> registration;
    CString source;
};

Host& HostWith(int count) {
    static std::map<int, Host> hosts;
    if (const auto found = hosts.find(count); found != hosts.end()) return found->second;
    const fs::path root = scratch.Path() / ("host-" + std::to_string(count));
    const fs::path content = root / "content";
    fs::create_directories(content);
    std::ofstream(content / "main.txt") << std::string(2000, 'x');
    const std::vector<CString> files{CString::FromUtf8((content / "main.txt").string())};
    for (int i = 0; i < count; ++i) {
        OvxBench::PackBenchExtension(root / "source" / (std::to_string(i) + ".OrvexExtension"),
                                     OvxUtils::Guid(0xB0000000u + static_cast<std::uint32_t>(i), 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}),
                                     kBenchType, content, files);
    }
    Host& host = hosts[count];
    host.source = CString::FromUtf8((root / "source").string());
    const ExtensionSourceFolder sources[] = {{u"bench", host.source}};
    auto apps = [](ExtensionAppSupport) { return true; };
    // The log goes to its file, as in a host.
    host.manager = ExtensionManagerImpl::Make(CString::FromUtf8((root / "data").string()), sources, nullptr, nullptr,
                                              apps, {}, {});
    host.registration = host.manager->RegisterInstaller({kBenchType}, std::make_shared<BenchInstaller>());
    host.manager->StartLoading();
    host.manager->FinishLoading();
    host.manager->Rescan(host.source);  // installs and loads every package
    return host;
}

void BM_RescanUnchanged(benchmark::State& state) {
    Host& host = HostWith(static_cast<int>(state.range(0)));
    const std::size_t heapBefore = ::mallinfo2().uordblks;
    for (auto _ : state) host.manager->Rescan(host.source);
    state.counters["per_package"] = benchmark::Counter(static_cast<double>(state.iterations()) * state.range(0),
                                                       benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    // What each rescan adds to the heap for good: the log's history keeps every entry.
    state.counters["heap_per_rescan"] =
        static_cast<double>(::mallinfo2().uordblks - heapBefore) / static_cast<double>(state.iterations());
}
void BM_RescanLogFloor(benchmark::State& state) {
    Host& host = HostWith(static_cast<int>(state.range(0)));
    const fs::path log = scratch.Path() / ("host-" + std::to_string(state.range(0))) / "data" / "x64" /
                         "orvex_extensions.log";
    const std::uintmax_t before = fs::file_size(log);
    host.manager->Rescan(host.source);
    OvxBench::TimeLogFloor(state, OvxBench::LogLinesOf(log, before), scratch.Path() / "floor");
}
BENCHMARK(BM_RescanLogFloor)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK(BM_RescanUnchanged)->Arg(1)->Arg(100)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
