// The checks of a signed package.
#include "extensions/trust/signature_check.h"

#include "container/archive_reader.h"

#include <algorithm>

namespace OvxComponent::Trust {

namespace {

using OvxUtils::Error;
using OvxUtils::Quoted;

// Beyond this many, name problems are counted rather than listed.
constexpr std::size_t kMaxNameProblems = 10;

std::string_view NameOf(const DigestLine& line) { return line.name; }
std::string_view NameOf(const std::string& name) { return name; }

const CString& ListName() {
    static const CString name = CString::FromUtf8(kDigestListEntry);
    return name;
}

// The text of a small signature entry, refused before inflating when it claims too much.
OvxUtils::Result<std::string> ReadEntry(const VdcContainer::ZipContainer& package,
                                        const VdcContainer::ArchiveEntry& entry, std::size_t cap) {
    if (entry.claimedSize > cap) {
        return Error{Quoted(entry.name.Utf8()) + u" is larger than the cap of " + OvxUtils::DecimalText(cap) +
                     u" bytes"};
    }
    const VdcContainer::ArchiveReader& reader = *package.Reader();
    VdcContainer::InflateBudget budget(package.GetLimits(), reader.FileSize());
    auto bytes = reader.ReadAll(entry, budget, cap);
    if (!bytes) return Error{Quoted(entry.name.Utf8()) + u" cannot be read: " + bytes.ErrorText()};
    return bytes;
}

// The value of field in a trusted comment of tab-separated "name:value" fields.
std::optional<std::string_view> Field(std::string_view comment, std::string_view name) {
    while (!comment.empty()) {
        const std::string_view field = comment.substr(0, comment.find('\t'));
        if (field.size() > name.size() && field.starts_with(name) && field[name.size()] == ':') {
            return field.substr(name.size() + 1);
        }
        comment.remove_prefix(std::min(field.size() + 1, comment.size()));
    }
    return std::nullopt;
}

// The trusted comment names this package: a signature moved from another package fails.
std::optional<CString> CommentMismatch(const std::string& comment, const ExtensionContainerInfo* info) {
    if (info == nullptr) return CString(u"the package has no metadata to match the trusted comment against");
    const auto id = Field(comment, "document-id");
    const auto version = Field(comment, "version");
    const auto signedId = id ? OvxUtils::Guid::FromString(CString::FromUtf8(*id)) : std::nullopt;
    const auto signedVersion = version ? OvxUtils::Version::TryParse(CString::FromUtf8(*version)) : std::nullopt;
    if (!signedId || !signedVersion) {
        return CString(u"the trusted comment does not name a document ID and version (\"document-id:\", "
                       u"\"version:\")");
    }
    if (*signedId != info->GetDocumentID() || *signedVersion != info->GetVersion()) {
        return u"the signature was made for " + CString::FromUtf8(*id) + u" version " + CString::FromUtf8(*version) +
               u", not for this package's " + info->GetDocumentID().ToString() + u" version " +
               info->GetVersion().ToString();
    }
    return std::nullopt;
}

// Every entry but the signature entries listed once, every listed name an entry: exact
// bytes, no case folding. The list is strictly sorted, so its names differ; when each is
// an entry and there are as many as there are entries, every entry is listed.
void CheckNames(const VdcContainer::ArchiveReader& reader, const std::vector<DigestLine>& digests,
                std::vector<CString>& problems) {
    std::size_t count = 0;
    const auto note = [&](CString problem) {
        if (++count <= kMaxNameProblems) problems.push_back(std::move(problem));
    };
    for (const DigestLine& line : digests) {
        if (IsSignatureEntry(line.name)) {
            note(u"the signature entry " + Quoted(line.name) + u" is listed in " + ListName());
        } else if (reader.Find(line.name) == nullptr) {
            note(u"the listed entry " + Quoted(line.name) + u" is not in the package");
        }
    }
    const std::size_t signatureEntries =
        (reader.Find(kDigestListEntry) ? 1 : 0) + (reader.Find(kSignatureEntry) ? 1 : 0);
    if (count == 0 && digests.size() + signatureEntries == reader.Entries().size()) return;
    for (const VdcContainer::ArchiveEntry& entry : reader.Entries()) {
        const std::string& name = entry.name.Utf8();
        const bool listed = std::binary_search(digests.begin(), digests.end(), name,
                                               [](const auto& a, const auto& b) { return NameOf(a) < NameOf(b); });
        if (!IsSignatureEntry(name) && !listed) {
            note(u"the entry " + Quoted(name) + u" is not listed in " + ListName());
        }
    }
    if (count > kMaxNameProblems) {
        problems.push_back(OvxUtils::DecimalText(count - kMaxNameProblems) + u" more entries are listed wrongly");
    }
}

}  // namespace

SignatureVerdict CheckSignature(const VdcContainer::ZipContainer& package, const ExtensionContainerInfo* info,
                                const TrustStore& store) {
    SignatureVerdict verdict;
    const VdcContainer::ArchiveReader* reader = package.Reader();
    const VdcContainer::ArchiveEntry* signatureEntry = reader ? reader->Find(kSignatureEntry) : nullptr;
    const VdcContainer::ArchiveEntry* listEntry = reader ? reader->Find(kDigestListEntry) : nullptr;
    verdict.isSigned = signatureEntry != nullptr;
    if (!signatureEntry || !listEntry) {
        verdict.problems.push_back(!signatureEntry && !listEntry
                                       ? CString(u"the package is not signed")
                                       : u"the package has " + Quoted(signatureEntry ? kSignatureEntry : kDigestListEntry) +
                                             u" without " +
                                             Quoted(signatureEntry ? kDigestListEntry : kSignatureEntry));
        return verdict;
    }
    auto signatureText = ReadEntry(package, *signatureEntry, kMaxSignatureFileSize);
    auto signature = signatureText ? Minisign::ParseSignatureFile(*signatureText)
                                   : OvxUtils::Result<Minisign::Signature>(signatureText.TakeError());
    auto listText = ReadEntry(package, *listEntry, kMaxDigestListSize);
    // The list is parsed only once its signature holds: until then its bytes are anyone's.
    bool listVerified = false;
    if (signature) {
        verdict.signer = Signer{signature->keyId, signature->trustedComment};
        auto key = store.KeyFor(signature->keyId);
        if (!key) {
            verdict.problems.push_back(key.ErrorText());
        } else if (listText) {
            auto verified = Minisign::Verify(*listText, *signature, **key);
            if (!verified) verdict.problems.push_back(verified.ErrorText());
            listVerified = verified.HasValue();
        }
        if (auto mismatch = CommentMismatch(signature->trustedComment, info)) verdict.problems.push_back(*mismatch);
    } else {
        verdict.problems.push_back(signature.ErrorText());
    }
    if (!listText) {
        verdict.problems.push_back(listText.ErrorText());
        return verdict;
    }
    if (!listVerified) return verdict;
    auto digests = ParseDigestList(*listText);
    if (!digests) {
        verdict.problems.push_back(digests.ErrorText());
        return verdict;
    }
    CheckNames(*reader, *digests, verdict.problems);
    verdict.digests = std::move(*digests);
    return verdict;
}

void ContentDigestCheck::Begin(std::string_view entryName) {
    m_watching = !IsSignatureEntry(entryName);
    if (m_watching) m_hasher.Begin(entryName);
}

void ContentDigestCheck::Add(std::string_view chunk) {
    if (m_watching) m_hasher.Add(chunk);
}

OvxUtils::Result<void> ContentDigestCheck::End(std::string_view) {
    if (m_watching) m_hasher.End();
    return {};
}

OvxUtils::Result<void> ContentDigestCheck::Finish() {
    for (const auto& [name, digest] : m_hasher.Finish()) {
        const auto line = std::lower_bound(m_digests.begin(), m_digests.end(), name,
                                           [](const DigestLine& a, const std::string& b) { return a.name < b; });
        if (line == m_digests.end() || line->name != name) {
            m_mismatches.push_back(u"the entry " + Quoted(name) + u" is not listed in " + ListName());
        } else if (!SameDigest(digest, line->digest)) {
            m_mismatches.push_back(u"the content of " + Quoted(name) + u" does not match its digest");
        }
    }
    if (m_failFast && !m_mismatches.empty()) return Error{m_mismatches.front()};
    return {};
}

std::vector<CString> CheckContents(const VdcContainer::ZipContainer& package, const std::vector<DigestLine>& digests) {
    std::vector<CString> problems;
    const VdcContainer::ArchiveReader* reader = package.Reader();
    if (!reader) return {u"the package has not been saved yet"};
    VdcContainer::InflateBudget budget(package.GetLimits(), reader->FileSize());
    ContentDigestCheck check(digests, false);
    for (const DigestLine& line : digests) {
        const VdcContainer::ArchiveEntry* entry = reader->Find(line.name);
        if (!entry || entry->name.IsFolder() || IsSignatureEntry(line.name)) continue;  // a name problem already
        check.Begin(line.name);
        auto read = reader->Read(*entry, budget, package.GetLimits().maxTotalSize, [&](std::string_view chunk) {
            check.Add(chunk);
            return OvxUtils::Result<void>();
        });
        if (!read) {
            problems.push_back(Quoted(line.name) + u" cannot be read: " + read.ErrorText());
            continue;
        }
        static_cast<void>(check.End(line.name));
    }
    static_cast<void>(check.Finish());
    problems.insert(problems.end(), check.Mismatches().begin(), check.Mismatches().end());
    return problems;
}

std::string TrustedCommentFor(std::uint64_t timestamp, const OvxUtils::Guid& documentId,
                              const OvxUtils::Version& version) {
    constexpr std::string_view kListFileName = kDigestListEntry.substr(kDigestListEntry.rfind('/') + 1);
    return "timestamp:" + std::to_string(timestamp) + "\tfile:" + std::string(kListFileName) +
           "\thashed\tdocument-id:" + documentId.ToString().ToUtf8() + "\tversion:" + version.ToString().ToUtf8();
}

}  // namespace OvxComponent::Trust
