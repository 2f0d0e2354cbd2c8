// The signature of a package as ovxext shows it.
#include "signature_report.h"

namespace Ovxext {

namespace {

namespace Minisign = OvxComponent::Minisign;
namespace Trust = OvxComponent::Trust;

std::string Problems(const std::vector<CString>& problems) {
    std::string joined;
    for (const CString& problem : problems) joined += (joined.empty() ? "" : "; ") + Utf8(problem);
    return joined;
}

}  // namespace

OvxUtils::Result<Trust::TrustStore> ReadTrustedKeys(const std::vector<std::string>& keyFiles) {
    OvxComponent::TrustPolicy policy{OvxComponent::TrustMode::Require, {}, {}, {}};
    for (const std::string& key : keyFiles) policy.trustedKeyFiles.push_back(FromUtf8(key));
    return Trust::TrustStore::Make(policy);
}

Trust::SignatureVerdict CheckPackageSignature(const OvxComponent::ExtensionContainer& package,
                                              const Trust::TrustStore& store) {
    Trust::SignatureVerdict verdict = Trust::CheckSignature(package.Container(), package.GetInfo(), store);
    if (!verdict.digests.empty()) {
        for (CString& problem : Trust::CheckContents(package.Container(), verdict.digests)) {
            verdict.problems.push_back(std::move(problem));
        }
    }
    return verdict;
}

OvxUtils::Result<SignatureReport> ReportSignature(const OvxComponent::ExtensionContainer& package,
                                                  const std::vector<std::string>& keyFiles) {
    // Without keys the checks run under a store that trusts nothing: they read the claim.
    if (keyFiles.empty()) return SignatureReport{Trust::CheckSignature(package.Container(), package.GetInfo(), Trust::TrustStore()), false};
    auto store = ReadTrustedKeys(keyFiles);
    if (!store) return store.TakeError();
    return SignatureReport{CheckPackageSignature(package, *store), true};
}

std::string SignatureText(const SignatureReport& report) {
    const Trust::SignatureVerdict& verdict = report.verdict;
    if (!verdict.isSigned) return "unsigned";
    if (!verdict.signer) {
        return report.checked ? "does not hold: " + Problems(verdict.problems)
                              : "signed, but the signature cannot be read: " + Utf8(verdict.problems.front());
    }
    const std::string keyId = Minisign::KeyIdText(verdict.signer->keyId);
    if (!report.checked) return "claims key ID " + keyId + " (not checked: pass -p KEY to verify)";
    if (verdict.Holds()) {
        return "holds: signed by key ID " + keyId + ", trusted comment: " + Shown(verdict.signer->trustedComment);
    }
    return "claims key ID " + keyId + ", but does not hold: " + Problems(verdict.problems);
}

Json SignatureJson(const SignatureReport& report) {
    const Trust::SignatureVerdict& verdict = report.verdict;
    if (!verdict.isSigned) return nullptr;
    Json json = {{"claimedKeyId", verdict.signer ? Json(Minisign::KeyIdText(verdict.signer->keyId)) : Json(nullptr)},
                 {"trustedComment", verdict.signer ? Json(verdict.signer->trustedComment) : Json(nullptr)},
                 {"checked", report.checked}};
    if (report.checked) {
        Json problems = Json::array();
        for (const CString& problem : verdict.problems) problems.push_back(JsonText(problem));
        json["holds"] = verdict.Holds();
        json["problems"] = problems;
    } else if (!verdict.signer) {
        json["error"] = JsonText(verdict.problems.front());
    }
    return json;
}

}  // namespace Ovxext
