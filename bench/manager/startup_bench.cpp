// The start-up pass over extensions that are unpacked already: a fresh manager over a
// data folder holding 100, 500 or 1,000 of them, an installer registered, StartLoading, which
// verifies and loads every one, and FinishLoading, with nothing changed since the last
// session; the log goes to the manager's own file, as in a host. Beside it, in the same
// run, BM_StartupLogFloor: the lines that one such start-up logs, each written with one
// write call to a file and once more to a second one, as a host with a file log has them
// written. The aims: a start-up costs at most 3 times its floor, and 1,000 extensions at
// most about 11 times 100. BM_StartupAfterACrash: the same after a session that did not
// end cleanly (the thorough repair, which looks at every unpacked file).
// BM_StartupUnderPolicy: 1,000 signed extensions installed under Require, started with
// the policy off (arg 0) and under Require (arg 1), nothing changed since: the
// verification record answers for them, so Require should cost at most 1.2 times off.

#include "bench_extensions.h"
#include "extensions/trust/package_signing.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace OvxComponent;
using OvxBench::BenchInstaller;

const CString kBenchType = u"application/x-bench";

const OvxBench::ScratchFolder scratch("ovx-startup-bench");

const fs::path& Scratch() { return scratch.Path(); }

OvxUtils::Guid GuidOf(int number) {
    return OvxUtils::Guid(0xC0000000u + static_cast<std::uint32_t>(number), 1, 2, {3, 4, 5, 6, 7, 8, 9, 10});
}

// A package of three small content files.
CString MakePackage(int number) {
    const fs::path content = Scratch() / "content";
    static const std::vector<CString> files = [&] {
        std::vector<CString> made;
        for (const char* name : {"main.txt", "help.txt", "data/table.txt"}) {
            const fs::path file = content / name;
            fs::create_directories(file.parent_path());
            std::ofstream(file, std::ios::binary) << std::string(1500, 'x') << name;
            made.push_back(CString::FromUtf8(file.string()));
        }
        return made;
    }();
    return OvxBench::PackBenchExtension((Scratch() / "source" / std::to_string(number)).replace_extension("OrvexExtension"),
                                        GuidOf(number), kBenchType, content, files);
}

// A data folder with count extensions unpacked into it, made once per count.
const fs::path& DataFolder(int count) {
    static std::map<int, fs::path> made;
    if (const auto found = made.find(count); found != made.end()) return found->second;
    const fs::path root = Scratch() / ("root-" + std::to_string(count));
    fs::create_directories(root);
    const auto manager = OvxBench::MakeBenchManager(root);
    for (int i = 0; i < count; ++i) {
        auto package = manager->OpenPackage(MakePackage(i));
        if (!package || !manager->ShouldUnpack(*package, 1) || !manager->Unpack(*package, manager->GetPlatformFolder())) {
            std::abort();
        }
    }
    return made[count] = root;
}

// Starts a manager over root under trust, with count extensions to load, once per
// iteration. afterACrash: each start finds the marker of a session that did not end
// cleanly, and repairs thoroughly (every unpacked file is looked at).
void TimeStartups(benchmark::State& state, const fs::path& root, int count, bool afterACrash,
                  const Trust::TrustStore& trust = {}) {
    const auto installer = std::make_shared<BenchInstaller>();
    for (auto _ : state) {
        if (afterACrash) {
            state.PauseTiming();
            std::ofstream(root / "x64" / "orvex_extensions.session");
            state.ResumeTiming();
        }
        auto manager = OvxBench::MakeBenchManager(root, trust, true);
        auto registration = manager->RegisterInstaller({kBenchType}, installer);
        manager->StartLoading();
        manager->FinishLoading();
        state.PauseTiming();
        if (!manager->FindExtension(GuidOf(count - 1))) state.SkipWithError("an extension did not load");
        manager->UnloadAll();
        registration.reset();
        manager.reset();
        state.ResumeTiming();
    }
    if (installer->loads != count * static_cast<int>(state.iterations())) state.SkipWithError("loads went missing");
    state.counters["per_extension"] = benchmark::Counter(static_cast<double>(state.iterations()) * count,
                                                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

const Minisign::SecretKey& SigningKey() {
    static const Minisign::SecretKey key = [] {
        if (!Minisign::StartSodium()) std::abort();
        return Minisign::GenerateSecretKey();
    }();
    return key;
}

Trust::TrustStore Require() { return Trust::TrustStore({Minisign::PublicKeyOf(SigningKey())}); }

// A data folder with count signed extensions installed under Require, made once.
const fs::path& SignedDataFolder(int count) {
    static const fs::path root = [count] {
        const fs::path folder = Scratch() / "root-signed";
        const auto manager = OvxBench::MakeBenchManager(folder, Require());
        for (int i = 0; i < count; ++i) {
            const CString unsignedPackage = MakePackage(i);
            const CString signedPackage = unsignedPackage + u".signed.OrvexExtension";
            if (!Trust::SignPackage(unsignedPackage, signedPackage, SigningKey(), 1700000000, false)) std::abort();
            auto package = manager->OpenPackage(signedPackage);
            if (!package || !manager->Unpack(*package, manager->GetPlatformFolder())) std::abort();
        }
        return folder;
    }();
    return root;
}

void BM_StartupUnderPolicy(benchmark::State& state) {
    constexpr int kCount = 1000;
    TimeStartups(state, SignedDataFolder(kCount), kCount, false, state.range(0) == 1 ? Require() : Trust::TrustStore());
}
BENCHMARK(BM_StartupUnderPolicy)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// The lines that a start-up over the data folder of count extensions logs, nothing
// changed since the session before.
const std::vector<std::string>& StartupLines(int count) {
    static std::map<int, std::vector<std::string>> lines;
    if (const auto found = lines.find(count); found != lines.end()) return found->second;
    const fs::path& root = DataFolder(count);
    const auto installer = std::make_shared<BenchInstaller>();
    for (int start = 0; start < 2; ++start) {  // the first one may write the verification record
        auto manager = OvxBench::MakeBenchManager(root, {}, true);
        auto registration = manager->RegisterInstaller({kBenchType}, installer);
        manager->StartLoading();
        manager->FinishLoading();
        manager->UnloadAll();
    }
    return lines[count] = OvxBench::LogLinesOf(root / "x64" / "orvex_extensions.log", 2);
}

void BM_StartupLogFloor(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    OvxBench::TimeLogFloor(state, StartupLines(count), Scratch() / "floor");
}
BENCHMARK(BM_StartupLogFloor)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();

void RunStartup(benchmark::State& state, bool afterACrash) {
    const int count = static_cast<int>(state.range(0));
    TimeStartups(state, DataFolder(count), count, afterACrash);
}
void BM_Startup(benchmark::State& state) { RunStartup(state, false); }
void BM_StartupAfterACrash(benchmark::State& state) { RunStartup(state, true); }
BENCHMARK(BM_Startup)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_StartupAfterACrash)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
