// The signature of a package as ovxext shows it: checked as a host that trusts the keys
// given with -p checks it (verify, and info and check with -p), or, without keys, only what
// its signature entry claims, said to be unchecked (info and check).
#pragma once

#include "command_context.h"
#include "json_output.h"

#include "OvxComponent/extensions/format/extension_container.h"
#include "extensions/trust/signature_check.h"

#include <string>
#include <vector>

namespace Ovxext {

struct SignatureReport {
    OvxComponent::Trust::SignatureVerdict verdict;
    bool checked = false;  // under keys; otherwise the verdict only tells what is claimed
};

// The public key files of -p, read as a host's trust policy reads them; the error names
// the key that cannot be used.
OvxUtils::Result<OvxComponent::Trust::TrustStore> ReadTrustedKeys(const std::vector<std::string>& keyFiles);

// Every check a trusting host makes: the signature under the store's keys, the trusted
// comment, the listed names, and the content of every listed entry against its digest.
OvxComponent::Trust::SignatureVerdict CheckPackageSignature(const OvxComponent::ExtensionContainer& package,
                                                            const OvxComponent::Trust::TrustStore& store);

// Checked under keyFiles when there are any, else only read; fails when a key cannot be used.
OvxUtils::Result<SignatureReport> ReportSignature(const OvxComponent::ExtensionContainer& package,
                                                  const std::vector<std::string>& keyFiles);

// One line, shown by the display rule: "unsigned", "claims key ID <ID> (not checked: pass
// -p KEY to verify)", "holds: signed by key ID <ID>, trusted comment: <comment>", "claims
// key ID <ID>, but does not hold: <problem>; <problem>", or, for a signature that cannot be
// read, why.
std::string SignatureText(const SignatureReport& report);
// null for an unsigned package; else {"claimedKeyId", "trustedComment", "checked"}, with
// "holds" and "problems" when checked and "error" when unchecked and unreadable.
Json SignatureJson(const SignatureReport& report);

}  // namespace Ovxext
