// The checks of an install: today's trust in the key that verified it, and the comparison
// of unpacked files with signed digests.
#include "extensions/trust/install_check.h"

#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"

#include <algorithm>

namespace OvxComponent::Trust {

namespace {

using OvxUtils::Quoted;
namespace File = OvxUtils::SystemIO::File;

constexpr std::size_t kMaxNamedProblems = 10;

}  // namespace

bool Vouches(const Minisign::PublicKey& filesVerifiedBy, const TrustStore& store) {
    const auto trusted = store.KeyFor(filesVerifiedBy.id);
    return trusted &&
           sodium_memcmp((*trusted)->key.data(), filesVerifiedBy.key.data(), filesVerifiedBy.key.size()) == 0;
}

std::vector<CString> CheckUnpackedFiles(const CString& unpackedFolder, const std::vector<DigestLine>& digests) {
    std::vector<CString> problems;
    std::size_t count = 0;
    const auto note = [&](CString problem) {
        if (++count <= kMaxNamedProblems) problems.push_back(std::move(problem));
    };
    // Each file below the folder by its name as the archive stores it, with its path.
    std::vector<std::pair<std::string, CString>> files;
    for (const CString& file : OvxUtils::SystemIO::Folder::GetFiles(unpackedFolder, true)) {
        std::string name = file.Mid(unpackedFolder.GetLength() + 1).ToUtf8();
        std::replace(name.begin(), name.end(), '\\', '/');
        files.emplace_back(std::move(name), file);
    }
    std::sort(files.begin(), files.end());
    std::vector<std::string> present;
    for (const auto& [name, path] : files) {
        present.push_back(name);
        const auto line = std::lower_bound(digests.begin(), digests.end(), name,
                                           [](const DigestLine& a, const std::string& b) { return a.name < b; });
        if (line == digests.end() || line->name != name) {
            if (!IsSignatureEntry(name)) note(u"the unpacked file " + Quoted(name) + u" is not listed in the digests");
            continue;
        }
        Sha256Hasher hasher;
        auto read = File::ReadChunks(path, [&](std::string_view chunk) {
            hasher.Add(chunk);
            return true;
        });
        if (!read) {
            note(u"the unpacked file " + Quoted(name) + u" cannot be read: " + read.ErrorText());
        } else if (!SameDigest(hasher.Finish(), line->digest)) {
            note(u"the unpacked file " + Quoted(name) + u" does not match its digest");
        }
    }
    for (const DigestLine& line : digests) {
        // Folder entries are listed by name with a trailing slash; only files are compared.
        if (line.name.ends_with('/') || std::binary_search(present.begin(), present.end(), line.name)) continue;
        note(u"the listed file " + Quoted(line.name) + u" is missing from the unpacked files");
    }
    if (count > kMaxNamedProblems) {
        problems.push_back(OvxUtils::DecimalText(count - kMaxNamedProblems) + u" more unpacked files differ");
    }
    return problems;
}

}  // namespace OvxComponent::Trust
