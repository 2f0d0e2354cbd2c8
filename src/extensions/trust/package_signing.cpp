// SignPackage: hashing a package's entries and writing it again with its signature.
#include "extensions/trust/package_signing.h"

#include "OvxComponent/extensions/format/extension_container.h"
#include "container/archive_reader.h"
#include "container/archive_writer.h"

#include <map>

namespace OvxComponent::Trust {

namespace {

using OvxUtils::Error;
using OvxUtils::Quoted;

// The digest list is stored, not deflated: hex digests hardly compress, and a host reads
// the list at every open of a signed package, where inflating it cost more than all the
// other checks together.
constexpr bool kStoreDigestList = true;

// The digest of each entry but the signature entries, and the items that copy them.
OvxUtils::Result<std::vector<DigestLine>> HashEntries(const VdcContainer::ZipContainer& package,
                                                      std::vector<VdcContainer::WriteItem>& items) {
    const VdcContainer::ArchiveReader& reader = *package.Reader();
    VdcContainer::InflateBudget budget(package.GetLimits(), reader.FileSize());
    std::vector<DigestLine> digests;
    digests.reserve(reader.Entries().size());
    Sha256Hasher hasher;
    for (const VdcContainer::ArchiveEntry& entry : reader.Entries()) {
        const std::string& name = entry.name.Utf8();
        if (IsSignatureEntry(name)) continue;
        if (entry.name.IsFolder()) {
            return Error{u"the package holds the folder entry " + Quoted(name) +
                         u", which a digest list cannot check: pack it again with ovxext pack"};
        }
        hasher.Restart();
        auto read = reader.Read(entry, budget, package.GetLimits().maxTotalSize, [&](std::string_view chunk) {
            hasher.Add(chunk);
            return OvxUtils::Result<void>();
        });
        if (!read) return Error{Quoted(name) + u" cannot be read: " + read.ErrorText()};
        digests.push_back({name, hasher.Finish()});
        items.push_back({VdcContainer::WriteItem::Source::Archive, name, {}, {}, entry.index, false});
    }
    return digests;
}

}  // namespace

OvxUtils::Result<Signer> SignPackage(const CString& source, const CString& target, const Minisign::SecretKey& key,
                                     std::uint64_t timestamp, bool reproducible) {
    if (!Minisign::StartSodium()) return Error{u"libsodium does not start"};
    auto package = ExtensionContainer::Open(source, VdcContainer::ZipFile::OpenMode::ReadOnly);
    if (!package) return package.TakeError();
    const ExtensionContainerInfo* info = package->GetInfo();
    if (info == nullptr) return Error{u"the package has no extension metadata to sign: " + package->GetInfoError()};
    const VdcContainer::ZipContainer& container = package->Container();

    std::vector<VdcContainer::WriteItem> items;
    auto digests = HashEntries(container, items);
    if (!digests) return digests.TakeError();
    auto list = FormatDigestList(std::move(*digests));
    if (!list) return list.TakeError();
    const Minisign::Signature signature =
        Minisign::Sign(*list, key, TrustedCommentFor(timestamp, info->GetDocumentID(), info->GetVersion()));
    using Source = VdcContainer::WriteItem::Source;
    items.push_back({Source::Bytes, std::string(kDigestListEntry), std::move(*list), {}, 0, kStoreDigestList});
    items.push_back({Source::Bytes, std::string(kSignatureEntry), Minisign::FormatSignatureFile(signature), {}, 0, false});
    if (auto written = VdcContainer::WriteArchive(target, container.Reader()->Archive(), items, reproducible);
        !written) {
        return written.TakeError();
    }
    return Signer{signature.keyId, signature.trustedComment};
}

std::vector<VdcContainer::SaveSeal::TrailingEntry> SigningSeal::TrailingEntries() {
    return {
        {std::string(kDigestListEntry),
         [this]() -> OvxUtils::Result<std::string> {
             // An entry that libzip read twice has been hashed twice: the last one counts.
             std::map<std::string, Sha256> digests;
             for (auto& [name, digest] : m_hasher.Finish()) digests.insert_or_assign(std::move(name), digest);
             std::vector<DigestLine> lines;
             lines.reserve(digests.size());
             for (const auto& [name, digest] : digests) lines.push_back({name, digest});
             auto list = FormatDigestList(std::move(lines));
             if (list) m_list = *list;
             return list;
         },
         kStoreDigestList},
        {std::string(kSignatureEntry),
         [this]() -> OvxUtils::Result<std::string> {
             if (m_list.empty()) return Error{u"the digest list was not made before its signature"};
             return Minisign::FormatSignatureFile(Minisign::Sign(m_list, m_key, m_trustedComment));
         },
         false},
    };
}

}  // namespace OvxComponent::Trust
