// Checking a targets role that lists 1,000 packages (read, canonical form, one Ed25519
// signature, every target's fields) against parsing the same bytes with nlohmann-json
// alone: the price of the checks over the parser. Aim: at most 2x.
#include "update/repository_builder.h"
#include "update/role_signatures.h"

#include <benchmark/benchmark.h>

#include <ctime>

namespace {

struct SignedTargets {
    std::string bytes;
    OvxUpdate::KeyMap keys;
    OvxUpdate::RoleKeys role;
};

const SignedTargets& ThousandTargets() {
    static const SignedTargets made = [] {
        auto key = OvxUpdate::SigningKey::Generate();
        nlohmann::json targets = nlohmann::json::object();
        for (int i = 0; i < 1000; ++i) {
            std::string hash(64, "0123456789abcdef"[i % 16]);
            targets["ext/package-" + std::to_string(i) + ".OrvexExtension"] = {
                {"length", 100'000 + i},
                {"hashes", {{"sha256", hash}}},
                {"custom",
                 {{"orvex",
                   {{"document_id", "{6F9619FF-8B86-D011-B42D-00C04FC964FF}"},
                    {"version", "1.2.0.0"},
                    {"applications", {"Atlas", "Delta"}},
                    {"platforms", {"x64"}}}}}}};
        }
        nlohmann::json part = {{"_type", "targets"},
                               {"spec_version", "1.0.31"},
                               {"version", 7},
                               {"expires", OvxUpdate::ExpiryText(std::time(nullptr) + 86'400)},
                               {"targets", targets}};
        SignedTargets result{
            OvxUpdate::SignDocument(part, {key}).Value(), {{key.Id(), key.Public()}}, {{key.Id()}, 1}};
        return result;
    }();
    return made;
}

void ParseOnly(benchmark::State& state) {
    const auto& made = ThousandTargets();
    for (auto _ : state) benchmark::DoNotOptimize(nlohmann::json::parse(made.bytes));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * made.bytes.size()));
}
BENCHMARK(ParseOnly)->Unit(benchmark::kMillisecond);

void ReadAndVerify(benchmark::State& state) {
    const auto& made = ThousandTargets();
    for (auto _ : state) {
        auto document = OvxUpdate::ReadSignedDocument(made.bytes);
        auto targets = OvxUpdate::ReadTargets(*document);
        auto signedBy = OvxUpdate::CheckThreshold(*document, made.keys, made.role, "targets");
        if (!targets || !signedBy || targets->targets.size() != 1000)
            state.SkipWithError("the targets do not check");
        benchmark::DoNotOptimize(targets);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * made.bytes.size()));
}
BENCHMARK(ReadAndVerify)->Unit(benchmark::kMillisecond);

}  // namespace
