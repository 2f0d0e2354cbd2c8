// RefusedPackages: the notes of refused packages, one line each in a file of their own.
#include "extensions/manager/refused_packages.h"

#include "extensions/trust/digest_list.h"
#include "platform/system_io/file.h"

#include <algorithm>

namespace OvxComponent {

namespace {

namespace File = OvxUtils::SystemIO::File;

// A host with a longer list of refused packages has other problems; the oldest go first.
constexpr std::size_t kMaxEntries = 1000;

std::string Hex(const Trust::Sha256& digest) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

// A reason on one line of the file: its line breaks and tabs become blanks.
std::string OneLine(const CString& reason) {
    std::string text = reason.ToUtf8();
    std::replace_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return text;
}

}  // namespace

std::optional<std::string> RefusedPackages::KeyOf(const CString& path, const std::string& policy) const {
    const auto identity = File::GetIdentity(path);
    if (!identity) return std::nullopt;
    Trust::Sha256Hasher hasher;
    const std::string utf8 = path.ToUtf8();
    hasher.Add(std::string_view(utf8.c_str(), utf8.size() + 1));  // the NUL ends the path
    for (const std::uint64_t value :
         {identity->size, identity->lastWrite, identity->device, identity->index, identity->changeTime}) {
        hasher.Add(std::string_view(reinterpret_cast<const char*>(&value), sizeof value));
    }
    hasher.Add(policy);
    return Hex(hasher.Finish());
}

void RefusedPackages::Load() {
    if (std::exchange(m_loaded, true)) return;
    const auto text = File::ReadAllBytes(m_file);
    if (!text) return;
    std::string_view rest = *text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::size_t tab = line.find('\t');
        if (tab == 64) m_entries.emplace_back(std::string(line.substr(0, tab)), std::string(line.substr(tab + 1)));
    }
}

std::optional<CString> RefusedPackages::Find(const CString& path, const std::string& policy) {
    Load();
    const auto key = KeyOf(path, policy);
    if (!key) return std::nullopt;
    for (const auto& [known, reason] : m_entries) {
        if (known == *key) return CString::FromUtf8(reason);
    }
    return std::nullopt;
}

void RefusedPackages::Remember(const CString& path, const std::string& policy, const CString& reason) {
    Load();
    const auto key = KeyOf(path, policy);
    if (!key) return;
    std::erase_if(m_entries, [&](const auto& entry) { return entry.first == *key; });
    m_entries.emplace_back(*key, OneLine(reason));
    if (m_entries.size() > kMaxEntries) m_entries.erase(m_entries.begin());
    std::string text;
    for (const auto& [known, why] : m_entries) text += known + '\t' + why + '\n';
    static_cast<void>(File::WriteAtomically(m_file, text));
}

}  // namespace OvxComponent
