// The checks of an install under a trust policy: whether files verified before still count
// under today's policy, and the comparison of unpacked files with the signed digests that a
// start makes where nothing verified them before. Internal.
#pragma once

#include "extensions/trust/digest_list.h"
#include "extensions/trust/trust_store.h"

#include <string>
#include <vector>

namespace OvxComponent::Trust {

// Whether the unpacked files that matched the digests signed by filesVerifiedBy may load
// under store: the key is trusted and not revoked now.
bool Vouches(const Minisign::PublicKey& filesVerifiedBy, const TrustStore& store);

// Compares the files below unpackedFolder with the signed digests: each listed file must be
// there with its digest, and no other file may be there but the two signature entries.
// The problems found, the first ten of them named.
std::vector<CString> CheckUnpackedFiles(const CString& unpackedFolder, const std::vector<DigestLine>& digests);

}  // namespace OvxComponent::Trust
