// PackageExtraction: extraction with the signed digests checked on the way.
#include "extensions/manager/package_extraction.h"

#include "container/extract_folder.h"
#include "extensions/log/extension_log_messages.h"

namespace OvxComponent {

using namespace LogMessages;

PackageExtraction::PackageExtraction(const OpenedPackage& package, Trust::TrustStore::Untrusted untrusted)
    : m_package(package) {
    using Untrusted = Trust::TrustStore::Untrusted;
    // An unsigned package, or one whose list could not be read, has nothing to compare with;
    // under Require it never gets this far.
    if (package.trust && !package.trust->digests.empty() && untrusted != Untrusted::Ignored) {
        m_check.emplace(package.trust->digests, untrusted == Untrusted::Refused);
    }
}

OvxUtils::Result<void> PackageExtraction::Into(const CString& unpackedFolder) {
    return VdcContainer::ExtractFolder(*m_package.container, u"", unpackedFolder, m_check ? &*m_check : nullptr);
}

ExtensionLogLevel PackageExtraction::ReasonLevel(ExtensionLogLevel usual) const {
    return m_check && !m_check->Mismatches().empty() ? ExtensionLogLevel::Error : usual;
}

void PackageExtraction::ReportMismatches(ExtensionLog& log, const OvxUtils::Guid& documentId) const {
    if (!m_check || m_check->Mismatches().empty()) return;
    log.Write(kContentNotAsSigned, documentId);
    log.Reason(kContentNotAsSigned.level, documentId, m_check->Mismatches().front());
}

}  // namespace OvxComponent
