// SignPackage: a signed copy of a package, its digest list and minisign signature added.
// Internal; ovxext's pack --sign and sign commands use it.
#pragma once

#include "extensions/trust/background_hasher.h"
#include "extensions/trust/minisign.h"
#include "extensions/trust/signature_check.h"

#include "container/entry_watcher.h"

#include <cstdint>

namespace OvxComponent::Trust {

// Writes target from the package at source: every entry of source but an earlier
// signature copied as stored (nothing is inflated into it again), then the digest list of
// those entries and its signature by key, with the trusted comment for timestamp. With
// reproducible the new entries get the fixed time of reproducible packages. Refuses a
// package without metadata, and one with folder entries, which sha256sum cannot check.
// The caller renames target into place once it has read it back.
OvxUtils::Result<Signer> SignPackage(const CString& source, const CString& target, const Minisign::SecretKey& key,
                                     std::uint64_t timestamp, bool reproducible);

// Signs a new package while it is saved (VdcContainer::ZipContainer::SetSaveSeal): sees
// every entry's bytes as the save writes them, hashing them on a thread of its own, and
// ends the archive with their digest list and its signature, so packing and signing read
// each file once.
class SigningSeal final : public VdcContainer::SaveSeal {
public:
    SigningSeal(const Minisign::SecretKey& key, std::string trustedComment)
        : m_key(key), m_trustedComment(std::move(trustedComment)) {}
    void Begin(std::string_view entryName) override { m_hasher.Begin(entryName); }
    void Add(std::string_view chunk) override { m_hasher.Add(chunk); }
    OvxUtils::Result<void> End(std::string_view) override {
        m_hasher.End();
        return {};
    }
    std::vector<TrailingEntry> TrailingEntries() override;

private:
    const Minisign::SecretKey& m_key;
    std::string m_trustedComment;
    BackgroundHasher m_hasher;
    std::string m_list;
};

}  // namespace OvxComponent::Trust
