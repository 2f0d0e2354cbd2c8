// Opening a package: the container (MIME type, manifest, metadata, the main root file and
// a second root file, parsed and read into the package's record) beside the floor of a
// bare libzip open that reads the same two root files' bytes, on the same package.

#include "bench_package.h"
#include "widget_package.h"

#include <benchmark/benchmark.h>
#include <zip.h>

#include <cstdlib>
#include <string>

namespace {

using VdcContainer::ZipFile::OpenMode;

// A widget package with 20 small content files beside its root files.
const OvxBench::BenchPackage& Package() {
    static const OvxBench::BenchPackage package(20, 1024, 4096);
    return package;
}

// Arg 1: the default, the package file read into memory whole; arg 0: read through the file,
// as packages above ContainerLimits::inMemoryOpenSize are.
void BM_OpenPackage(benchmark::State& state) {
    const CString path = Package().PathText();
    VdcContainer::ContainerLimits limits;
    if (state.range(0) == 0) limits.inMemoryOpenSize = 0;
    for (auto _ : state) {
        auto package = OvxTest::WidgetPackage::Open(path, OpenMode::ReadOnly, limits);
        if (!package || package->GetInfo() == nullptr) {
            state.SkipWithError("the package did not open with its record");
            break;
        }
        benchmark::DoNotOptimize(package->GetInfo()->need.data());
    }
}
BENCHMARK(BM_OpenPackage)->Arg(1)->Arg(0);

std::string ReadEntry(zip_t* archive, const char* name) {
    zip_stat_t stat;
    zip_file_t* file = nullptr;
    std::string bytes;
    if (zip_stat(archive, name, 0, &stat) != 0 || (file = zip_fopen(archive, name, 0)) == nullptr) std::abort();
    bytes.resize(stat.size);
    if (zip_fread(file, bytes.data(), bytes.size()) != static_cast<zip_int64_t>(bytes.size())) std::abort();
    zip_fclose(file);
    return bytes;
}

// The floor: what any reader of the two root files must do at least.
void BM_OpenFloorLibzip(benchmark::State& state) {
    const std::string path = Package().Path().string();
    for (auto _ : state) {
        int error = 0;
        zip_t* archive = zip_open(path.c_str(), ZIP_RDONLY, &error);
        if (archive == nullptr) std::abort();
        benchmark::DoNotOptimize(ReadEntry(archive, "widget.xml").data());
        benchmark::DoNotOptimize(ReadEntry(archive, "needs.xml").data());
        zip_discard(archive);
    }
}
BENCHMARK(BM_OpenFloorLibzip);

}  // namespace
