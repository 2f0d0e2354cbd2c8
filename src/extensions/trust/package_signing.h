// SignPackage: a signed copy of a package, its digest list and minisign signature added.
// Internal; ovxext's pack --sign and sign commands use it.
#pragma once

#include "extensions/trust/minisign.h"
#include "extensions/trust/signature_check.h"

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

}  // namespace OvxComponent::Trust
