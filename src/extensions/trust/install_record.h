// InstallRecord: what was verified of an install, kept in its version folder, so that a
// later start under a policy that still trusts the same key loads it without hashing its
// files again; and the check of unpacked files against the signed digests that a start
// makes where no record vouches for them. Internal.
#pragma once

#include "extensions/trust/digest_list.h"
#include "extensions/trust/trust_store.h"
#include "platform/system_io/file.h"

#include <optional>
#include <string>
#include <vector>

namespace OvxComponent::Trust {

struct InstallRecord {
    // The installed copy as it was when its signature held and every unpacked file matched
    // its digest: any change to the file (a rewrite in place included) changes it.
    OvxUtils::SystemIO::File::FileIdentity copy;
    // The key that the signature held under: the whole key, not only its ID, which the
    // key's maker chose.
    Minisign::PublicKey key;
};

// The record's text, and back; nothing for a text that is not one.
std::string FormatInstallRecord(const InstallRecord& record);
std::optional<InstallRecord> ParseInstallRecord(std::string_view text);

// Whether record answers for the installed copy whose identity is copy under store: the
// copy is the one checked, and its key is trusted and not revoked now.
bool Vouches(const InstallRecord& record, const OvxUtils::SystemIO::File::FileIdentity& copy,
             const TrustStore& store);

// Compares the files below unpackedFolder with the signed digests: each listed file must be
// there with its digest, and no other file may be there but the two signature entries.
// The problems found, the first ten of them named.
std::vector<CString> CheckUnpackedFiles(const CString& unpackedFolder, const std::vector<DigestLine>& digests);

}  // namespace OvxComponent::Trust
