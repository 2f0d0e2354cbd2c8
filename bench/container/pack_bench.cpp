// Packing 2,000 content files of 1-16 KB into a new package in this process, with the
// allocator as a host has it, beside `zip -r -q -6` of the same folder. Both are timed by
// wall clock without the removal of the package.

#include "bench_package.h"
#include "widget_package.h"

#include "OvxComponent/container/zip_container.h"
#include "container/add_files.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace {

namespace fs = std::filesystem;

const OvxBench::BenchPackage& Package() {
    static const OvxBench::BenchPackage package(2000, 1024, 16 * 1024);
    return package;
}

template <class Pack>
void TimePacking(benchmark::State& state, const fs::path& output, Pack pack) {
    for (auto _ : state) {
        fs::remove(output);
        const auto start = std::chrono::steady_clock::now();
        const bool packed = pack();
        const auto stop = std::chrono::steady_clock::now();
        if (!packed) {
            state.SkipWithError("packing failed");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(stop - start).count());
    }
    state.counters["bytes"] = static_cast<double>(fs::file_size(output));
    fs::remove(output);
}

void BM_PackFiles(benchmark::State& state) {
    const OvxBench::BenchPackage& package = Package();
    const fs::path output = package.Scratch() / "packed.pkg";
    TimePacking(state, output, [&] {
        auto packed = OvxTest::WidgetPackage::Open(CString::FromUtf8(output.string()), VdcContainer::ZipFile::OpenMode::Create);
        if (!packed) return false;
        packed->SetInfo(std::make_unique<OvxTest::WidgetInfo>(OvxTest::SampleWidget()));
        return VdcContainer::AddFiles(*packed, CString::FromUtf8(package.Source().string()), package.Files(), u"content") &&
               packed->Close();
    });
}
BENCHMARK(BM_PackFiles)->UseManualTime()->Unit(benchmark::kMillisecond);

// The yardstick: the command-line zip at its default level, started through the shell.
void BM_Zip(benchmark::State& state) {
    const OvxBench::BenchPackage& package = Package();
    const fs::path output = package.Scratch() / "zipped.zip";
    TimePacking(state, output, [&] {
        const std::string command =
            "cd '" + package.Source().string() + "' && zip -r -q -6 '" + output.string() + "' .";
        return std::system(command.c_str()) == 0;
    });
}
BENCHMARK(BM_Zip)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
