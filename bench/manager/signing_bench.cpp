// Signed packages side by side with the same packages unsigned (arg 0 unsigned, arg 1
// signed), on 2,000 content files of 1-16 KB of text:
// - opening: the container and its record, plus the cheap signature checks when signed;
// - unpacking into a fresh platform folder: trust off for the unsigned package, Require for
//   the signed one, whose every file is compared with its digest on the way;
// - "ovxext pack" against "ovxext pack --sign".

#include "bench_extensions.h"
#include "bench_package.h"
#include "commands.h"
#include "extensions/trust/package_signing.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using namespace OvxComponent;

const OvxBench::ScratchFolder scratch("ovx-signing-bench");
constexpr int kFiles = 2000;
const OvxUtils::Guid kId(0xC0000001u, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10});

struct Packages {
    // The content files of the container benchmarks: 2,000 files of 1-16 KB of text.
    OvxBench::BenchPackage files{kFiles, 1024, 16 * 1024};
    fs::path content = files.Source();
    CString unsignedPackage;
    CString signedPackage;
    Minisign::SecretKey key = Minisign::GenerateSecretKey();
    fs::path keyFile = scratch.Path() / "bench.key";

    Packages() {
        if (!Minisign::StartSodium()) std::abort();
        unsignedPackage = OvxBench::PackBenchExtension(scratch.Path() / "source" / "p.OrvexExtension", kId,
                                                       u"application/x-bench", content, files.Files());
        signedPackage = CString::FromUtf8((scratch.Path() / "signed.OrvexExtension").string());
        if (!Trust::SignPackage(unsignedPackage, signedPackage, key, 1700000000, false)) std::abort();
        std::ofstream(keyFile, std::ios::binary) << Minisign::FormatSecretKeyFile(key, "")->View();
    }
    Trust::TrustStore Store(bool require) const {
        return require ? Trust::TrustStore({Minisign::PublicKeyOf(key)}) : Trust::TrustStore();
    }
};

const Packages& Bench() {
    static const Packages packages;
    return packages;
}

void BM_OpenSigned(benchmark::State& state) {
    const bool signedPackage = state.range(0) == 1;
    const CString& path = signedPackage ? Bench().signedPackage : Bench().unsignedPackage;
    const Trust::TrustStore store = Bench().Store(true);
    for (auto _ : state) {
        auto package = ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::ReadOnly);
        if (!package || !package->GetInfo()) state.SkipWithError("the package did not open");
        if (signedPackage && !Trust::CheckSignature(package->Container(), package->GetInfo(), store).Holds()) {
            state.SkipWithError("the signature does not hold");
        }
    }
}
BENCHMARK(BM_OpenSigned)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Arg 2: the signed package with the trust policy off.
void BM_UnpackSigned(benchmark::State& state) {
    const bool signedPackage = state.range(0) >= 1;
    const bool require = state.range(0) == 1;
    const CString& path = signedPackage ? Bench().signedPackage : Bench().unsignedPackage;
    const fs::path root = scratch.Path() / "root";
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove_all(root);
        fs::create_directories(root);
        auto manager = ExtensionManagerImpl::Make(
            CString::FromUtf8(root.string()), {}, [](OvxUtils::Delegate<void()>) {}, [](CString) { return true; },
            [](ExtensionAppSupport) { return true; }, {}, {u"bench", std::nullopt, nullptr}, Bench().Store(require));
        state.ResumeTiming();
        auto package = manager->OpenPackage(path);
        if (!package || !manager->Unpack(*package, manager->GetPlatformFolder())) state.SkipWithError("no unpack");
    }
}
BENCHMARK(BM_UnpackSigned)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PackSigned(benchmark::State& state) {
    const fs::path output = scratch.Path() / "packed.OrvexExtension";
    std::vector<std::string> args{"pack", Bench().content.string(), "-o", output.string(), "--id",
                                  "{C0000002-0001-0002-0304-05060708090A}", "--type", "application/x-bench", "--app",
                                  "Atlas", "--force", "--quiet"};
    if (state.range(0) == 1) args.insert(args.end(), {"--sign", Bench().keyFile.string()});
    for (auto _ : state) {
        std::ostringstream out, err;
        if (Ovxext::RunCommand(args, out, err) != 0) state.SkipWithError(err.str().c_str());
    }
}
BENCHMARK(BM_PackSigned)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
