// The checks of a signed package: the cheap ones, run when it is opened (its signature,
// the signing key, the trusted comment against the package's metadata, and the listed
// names against the archive's entries), and the digests of the content, checked as the
// content is extracted or read. Internal.
#pragma once

#include "OvxComponent/container/zip_container.h"
#include "OvxComponent/extensions/format/extension_container_info.h"
#include "container/extract_folder.h"
#include "extensions/trust/background_hasher.h"
#include "extensions/trust/digest_list.h"
#include "extensions/trust/trust_store.h"

#include <optional>
#include <string>
#include <vector>

namespace OvxComponent::Trust {

// Who signed a package, as its signature entry says, whether or not the signature holds.
struct Signer {
    Minisign::KeyId keyId{};
    std::string trustedComment;
};

// What the cheap checks found.
struct SignatureVerdict {
    bool isSigned = false;            // the package holds a signature entry
    std::optional<Signer> signer;     // when the signature entry could be read
    std::vector<CString> problems;    // each broken rule, most telling first; none when it holds
    std::vector<DigestLine> digests;  // the listed digests, to check the content against
    // An installed copy whose record says that it and its unpacked files were verified
    // under a key the policy still trusts: nothing was read again, and digests is empty.
    bool vouchedByRecord = false;
    bool Holds() const { return problems.empty(); }
};

// Runs the cheap checks on an open package under the store's keys; reads the two signature
// entries and no other. info is the package's metadata (null when it has none).
SignatureVerdict CheckSignature(const VdcContainer::ZipContainer& package, const ExtensionContainerInfo* info,
                                const TrustStore& store);

// Compares extracted files with the listed digests, hashing them on a thread of its own
// while extraction goes on; once every file is out, Finish notes each file that differs,
// or is not listed, in Mismatches. Failing fast, the first one also fails the extraction
// before the files reach their target. The signature entries are not checked.
class ContentDigestCheck final : public VdcContainer::EntryWatcher {
public:
    ContentDigestCheck(const std::vector<DigestLine>& digests, bool failFast)
        : m_digests(digests), m_failFast(failFast) {}
    void Begin(std::string_view entryName) override;
    void Add(std::string_view chunk) override;
    OvxUtils::Result<void> End(std::string_view entryName) override;
    OvxUtils::Result<void> Finish() override;
    const std::vector<CString>& Mismatches() const { return m_mismatches; }

private:
    const std::vector<DigestLine>& m_digests;
    bool m_failFast;
    bool m_watching = false;
    BackgroundHasher m_hasher;
    std::vector<CString> m_mismatches;
};

// Reads every listed entry of the package and compares it with its digest; the problems
// found, one per entry.
std::vector<CString> CheckContents(const VdcContainer::ZipContainer& package, const std::vector<DigestLine>& digests);

// "timestamp:<t>\tfile:digests.txt\thashed\tdocument-id:<id>\tversion:<v>": minisign's own
// trusted comment, with the package's identity, which the checks match against it.
std::string TrustedCommentFor(std::uint64_t timestamp, const OvxUtils::Guid& documentId,
                              const OvxUtils::Version& version);

}  // namespace OvxComponent::Trust
