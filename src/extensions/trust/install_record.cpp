// InstallRecord: its text, and the check of unpacked files against signed digests.
#include "extensions/trust/install_record.h"

#include "platform/system_io/folder.h"

#include <algorithm>
#include <charconv>

namespace OvxComponent::Trust {

namespace {

using OvxUtils::Quoted;
namespace File = OvxUtils::SystemIO::File;

constexpr std::string_view kHeader = "ovx-install-record 1\n";
constexpr std::size_t kMaxNamedProblems = 10;

bool ReadNumber(std::string_view& text, std::uint64_t& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end == text.data() || end == text.data() + text.size() || *end != ' ') return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
    return true;
}

}  // namespace

std::string FormatInstallRecord(const InstallRecord& record) {
    const File::FileIdentity& copy = record.copy;
    std::string text(kHeader);
    for (const std::uint64_t value : {copy.size, copy.lastWrite, copy.device, copy.index, copy.changeTime}) {
        text += std::to_string(value) + ' ';
    }
    return text + Minisign::PublicKeyBase64(record.key) + '\n';
}

std::optional<InstallRecord> ParseInstallRecord(std::string_view text) {
    if (!text.starts_with(kHeader) || !text.ends_with('\n')) return std::nullopt;
    text.remove_prefix(kHeader.size());
    text.remove_suffix(1);
    InstallRecord record;
    File::FileIdentity& copy = record.copy;
    for (std::uint64_t* value : {&copy.size, &copy.lastWrite, &copy.device, &copy.index, &copy.changeTime}) {
        if (!ReadNumber(text, *value)) return std::nullopt;
    }
    auto key = Minisign::ParsePublicKey(text);
    if (!key) return std::nullopt;
    record.key = *key;
    return record;
}

bool Vouches(const InstallRecord& record, const File::FileIdentity& copy, const TrustStore& store) {
    if (!(record.copy == copy)) return false;
    const auto trusted = store.KeyFor(record.key.id);
    return trusted && sodium_memcmp((*trusted)->key.data(), record.key.key.data(), record.key.key.size()) == 0;
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
