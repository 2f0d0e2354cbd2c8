// Feeds arbitrary bytes to the update channel's reading of repository metadata, the first
// thing it does with a server's reply: the JSON, the signatures, each role's fields, and
// the trusted metadata's rules. The first byte picks the role the rest is offered as; a
// fixed repository's trusted root and timestamp stand before it, so that the version,
// expiry and signature checks run too. Whatever is read must also have a canonical form
// that reads back to the same document.

#include "update/canonical_json.h"
#include "update/repository_builder.h"
#include "update/trusted_metadata.h"

#include <sodium.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

const OvxUpdate::RepositoryBuilder& Repository() {
    static const OvxUpdate::RepositoryBuilder repository = [] {
        OvxUpdate::RepositoryBuilder made(1'700'000'000, 86'400 * 365 * 50);
        made.AddTarget("a/b.OrvexExtension", "package", {{"orvex", {{"platforms", {"x64"}}}}});
        if (!made.Publish()) std::abort();
        return made;
    }();
    return repository;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool started = sodium_init() >= 0;
    if (!started || size == 0) return 0;
    std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (auto document = OvxUpdate::ReadSignedDocument(bytes)) {
        // Canonical JSON leaves control characters in strings raw, which JSON cannot read:
        // only a canonical form without them is read back.
        const std::string& canonical = document->canonical;
        if (std::none_of(canonical.begin(), canonical.end(), [](char c) { return c >= 0 && c < 0x20; })) {
            auto again = OvxUpdate::ReadSignedDocument("{\"signatures\":[],\"signed\":" + canonical + "}");
            if (!again || again->canonical != canonical) std::abort();
        }
        (void)OvxUpdate::ReadRoot(*document);
        (void)OvxUpdate::ReadTimestamp(*document);
        (void)OvxUpdate::ReadSnapshot(*document);
        if (auto targets = OvxUpdate::ReadTargets(*document); targets && targets->delegations) {
            for (const auto& role : targets->delegations->roles)
                (void)OvxUpdate::Covers(role, "a/b.OrvexExtension");
            if (const auto& succinct = targets->delegations->succinct)
                (void)succinct->IsOneOf(succinct->RoleFor("a/b"));
        }
    }
    const auto& files = Repository().MetadataFiles();
    auto trusted = OvxUpdate::TrustedMetadata::FromRoot(Repository().FirstRoot(), 1'700'000'100);
    if (!trusted) std::abort();
    switch (data[0] % 4) {
        case 0: (void)trusted->UpdateRoot(bytes); break;
        case 1: (void)trusted->UpdateTimestamp(bytes); break;
        case 2:
            if (!trusted->UpdateTimestamp(files.at("timestamp.json"))) std::abort();
            (void)trusted->UpdateSnapshot(bytes, data[0] & 4);
            break;
        default:
            if (!trusted->UpdateTimestamp(files.at("timestamp.json")) ||
                !trusted->UpdateSnapshot(files.at("1.snapshot.json"), false))
                std::abort();
            (void)trusted->UpdateTargets(bytes, "targets", "root");
            break;
    }
    return 0;
}
