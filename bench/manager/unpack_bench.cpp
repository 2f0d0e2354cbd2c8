// Opening, deciding on and unpacking packages into a fresh platform folder: 100 packages
// one after the other (time per package), and one package more when 0, 100 or 1,000 other
// extensions are installed already (how the cost grows with the install base).

#include "bench_extensions.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace OvxComponent;

const OvxBench::ScratchFolder scratch("ovx-unpack-bench");

const fs::path& Scratch() { return scratch.Path(); }

OvxUtils::Guid GuidOf(int number) {
    return OvxUtils::Guid(0xB0000000u + static_cast<std::uint32_t>(number), 1, 2, {3, 4, 5, 6, 7, 8, 9, 10});
}

// A package of ten content files of 1-4 KB.
CString MakePackage(int number) {
    const fs::path content = Scratch() / "content";
    static std::vector<CString> files = [&] {
        std::vector<CString> made;
        std::mt19937 random(7);
        for (int i = 0; i < 10; ++i) {
            const fs::path file = content / ("file" + std::to_string(i) + ".txt");
            fs::create_directories(file.parent_path());
            std::string text(1024 + random() % 3072, ' ');
            for (char& c : text) c = static_cast<char>('a' + random() % 20);
            std::ofstream(file, std::ios::binary) << text;
            made.push_back(CString::FromUtf8(file.string()));
        }
        return made;
    }();
    fs::path package = Scratch() / "source" / "p";
    package += std::to_string(number) + ".OrvexExtension";  // not "p" + ...: a false -Wrestrict in g++ 12
    return OvxBench::PackBenchExtension(package, GuidOf(number), u"application/x-bench", content, files);
}

const std::vector<CString>& Packages(int count) {
    static std::vector<CString> packages;
    while (static_cast<int>(packages.size()) < count) packages.push_back(MakePackage(static_cast<int>(packages.size())));
    return packages;
}

bool OpenDecideUnpack(ExtensionManagerImpl& manager, const CString& path) {
    auto package = manager.OpenPackage(path);
    return package && manager.ShouldUnpack(*package, 1) && manager.Unpack(*package, manager.GetPlatformFolder());
}

void BM_UnpackHundredPackages(benchmark::State& state) {
    const auto& packages = Packages(100);
    const fs::path root = Scratch() / "root-hundred";
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove_all(root);
        auto manager = OvxBench::MakeBenchManager(root);
        state.ResumeTiming();
        for (const CString& path : packages) {
            if (!OpenDecideUnpack(*manager, path)) state.SkipWithError("a package did not unpack");
        }
    }
    state.counters["per_package"] =
        benchmark::Counter(static_cast<double>(state.iterations() * packages.size()),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_UnpackHundredPackages)->Unit(benchmark::kMillisecond)->UseRealTime();

// One more package when arg extensions are installed already.
void BM_UnpackOneMore(benchmark::State& state) {
    const int installed = static_cast<int>(state.range(0));
    const auto& packages = Packages(installed + 1);
    const fs::path root = Scratch() / ("root-" + std::to_string(installed));
    fs::remove_all(root);
    auto manager = OvxBench::MakeBenchManager(root);
    for (int i = 0; i < installed; ++i) OpenDecideUnpack(*manager, packages[static_cast<std::size_t>(i)]);
    const CString extra = packages[static_cast<std::size_t>(installed)];
    const CString extraFolder = manager->GetPlatformFolder() + u"/" + GuidOf(installed).ToString();
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove_all(fs::path(extraFolder.ToUtf8()));
        state.ResumeTiming();
        if (!OpenDecideUnpack(*manager, extra)) state.SkipWithError("the package did not unpack");
    }
    manager.reset();
    fs::remove_all(root);
}
BENCHMARK(BM_UnpackOneMore)->Arg(0)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
