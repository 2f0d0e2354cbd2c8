/// \file
/// TrustPolicy: which packages a host lets the extension manager unpack and load, by the
/// publisher keys that signed them.
///
/// A signed package carries "META-INF/digests.txt", the SHA-256 digest of each of its
/// entries, and "META-INF/digests.txt.minisig", a minisign signature of that list whose
/// trusted comment names the package's document ID and version. docs/signing.md describes
/// the format and the trust model.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"

#include <string>
#include <vector>

namespace OvxComponent {

/// Which packages the manager lets run, by who signed them.
enum class TrustMode {
    /// Signatures are not looked at: every package is opened, unpacked and loaded as far as
    /// its requirements allow. The default.
    Off,
    /// Every package loads as with Off; one whose signature does not hold under a trusted
    /// key is logged as an error, with the reason.
    Warn,
    /// Only packages whose signature holds under a trusted key, and whose files match their
    /// digests, are unpacked and loaded; the others are refused before anything is written.
    Require,
};

/// A host's trust policy: the mode, the keys it trusts and the key IDs it revoked.
struct TrustPolicy {
    /// Off (the default), warn or require.
    TrustMode mode = TrustMode::Off;
    /// Publisher keys as minisign writes them: the base64 line of a public key file
    /// ("RWT..."), or the whole file's text. Several keys let a publisher rotate.
    std::vector<std::string> trustedKeys;
    /// Paths of minisign public key files, read when the manager is made.
    std::vector<CString> trustedKeyFiles;
    /// Key IDs as minisign prints them ("90C8B8E792068CFE"): signatures made with these keys
    /// no longer count, even when the key is listed as trusted.
    std::vector<std::string> revokedKeyIds;
};

}  // namespace OvxComponent
