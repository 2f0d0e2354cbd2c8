// Extracting a package of content files of 1-16 KB: opening it and ExtractFolder of the
// whole container into a fresh folder, beside `unzip -qq` of the same package into a fresh
// folder. Both are timed by wall clock without the removal of what they wrote.
// The argument is the number of content files (2,000 is the measured case; 200 suits
// profiling under callgrind with --benchmark_filter=/200).

#include "bench_package.h"

#include "OvxComponent/container/zip_container.h"
#include "container/extract_folder.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

namespace {

namespace fs = std::filesystem;
using VdcContainer::ZipFile::OpenMode;

const OvxBench::BenchPackage& Package(int fileCount) {
    static std::map<int, std::unique_ptr<OvxBench::BenchPackage>> packages;
    auto& package = packages[fileCount];
    if (!package) package = std::make_unique<OvxBench::BenchPackage>(fileCount, 1024, 16 * 1024);
    return *package;
}

template <class Extract>
void TimeExtraction(benchmark::State& state, Extract extract) {
    const OvxBench::BenchPackage& package = Package(static_cast<int>(state.range(0)));
    const fs::path target = package.Scratch() / "out";
    for (auto _ : state) {
        fs::remove_all(target);
        const auto start = std::chrono::steady_clock::now();
        const bool extracted = extract(package, target);
        const auto stop = std::chrono::steady_clock::now();
        if (!extracted) {
            state.SkipWithError("extraction failed");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(stop - start).count());
    }
    fs::remove_all(target);
    state.counters["files"] = static_cast<double>(state.range(0));
}

void BM_ExtractFolder(benchmark::State& state) {
    TimeExtraction(state, [](const OvxBench::BenchPackage& package, const fs::path& target) {
        auto container = VdcContainer::ZipContainer::Open(package.PathText(), OpenMode::ReadOnly);
        return container && VdcContainer::ExtractFolder(*container, u"", CString::FromUtf8(target.string()));
    });
}
BENCHMARK(BM_ExtractFolder)->Arg(2000)->Arg(200)->UseManualTime()->Unit(benchmark::kMillisecond);

// The yardstick: the command-line unzip, started through the shell.
void BM_Unzip(benchmark::State& state) {
    TimeExtraction(state, [](const OvxBench::BenchPackage& package, const fs::path& target) {
        const std::string command = "unzip -qq '" + package.Path().string() + "' -d '" + target.string() + "'";
        return std::system(command.c_str()) == 0;
    });
}
BENCHMARK(BM_Unzip)->Arg(2000)->Arg(200)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
