// PackageExtraction: a package's files written into its unpacked folder, each compared with
// its signed digest on the way while the host's trust policy is on.
#pragma once

#include "extensions/loading/loaded_extension.h"
#include "extensions/log/extension_log.h"
#include "extensions/trust/signature_check.h"
#include "extensions/trust/trust_store.h"

#include <optional>

namespace OvxComponent {

class PackageExtraction {
public:
    // package.trust is null while the policy is off: then nothing is compared. untrusted is
    // what the policy makes of a file that differs from its digest.
    PackageExtraction(const OpenedPackage& package, Trust::TrustStore::Untrusted untrusted);

    // Extracts the whole package (VdcContainer::ExtractFolder). Under Require the first
    // file that differs from its digest fails the extraction before the folder appears;
    // under Warn extraction goes on.
    OvxUtils::Result<void> Into(const CString& unpackedFolder);
    // The level of the reason line for a failed extraction: Error when a digest failed it.
    ExtensionLogLevel ReasonLevel(ExtensionLogLevel usual) const;
    // Under Warn, the files that differ from their digests, as one error under documentId
    // with the first as its reason.
    void ReportMismatches(ExtensionLog& log, const OvxUtils::Guid& documentId) const;
    bool HasMismatches() const { return m_check && !m_check->Mismatches().empty(); }

private:
    const OpenedPackage& m_package;
    std::optional<Trust::ContentDigestCheck> m_check;
};

}  // namespace OvxComponent
