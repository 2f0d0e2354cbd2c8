// VerificationRecord: the file of what was verified, its reading, and its writing.
#include "extensions/manager/verification_record.h"

#include "OvxComponent/version.h"
#include "extensions/format/extension_info_bytes.h"
#include "extensions/manager/install_layout.h"
#include "platform/byte_record.h"

#include <sodium.h>

#include <algorithm>
#include <array>
#include <utility>

namespace OvxComponent {

namespace {

namespace File = OvxUtils::SystemIO::File;
using OvxUtils::ByteReader;
using OvxUtils::ByteWriter;

// The file starts with these bytes and the number of its layout, which changes whenever
// the layout does; it ends with a checksum of everything before it.
constexpr std::string_view kMagic = "ovx-verification-record\n";
constexpr std::uint32_t kLayout = 1;
constexpr std::size_t kChecksumSize = 16;
// The least bytes an entry takes: its path, the identity, the two flags.
constexpr std::size_t kMinEntry = 4 + 5 * 8 + 2;

using Checksum = std::array<unsigned char, kChecksumSize>;

Checksum ChecksumOf(std::string_view bytes) {
    Checksum sum{};
    crypto_generichash(sum.data(), sum.size(), reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                       nullptr, 0);
    return sum;
}

void Write(ByteWriter& out, const File::FileIdentity& identity) {
    for (const std::uint64_t value :
         {identity.size, identity.lastWrite, identity.device, identity.index, identity.changeTime}) {
        out.U64(value);
    }
}

File::FileIdentity ReadIdentity(ByteReader& in) {
    File::FileIdentity identity;
    for (std::uint64_t* value :
         {&identity.size, &identity.lastWrite, &identity.device, &identity.index, &identity.changeTime}) {
        *value = in.U64();
    }
    return identity;
}

}  // namespace

std::string FormatVerificationRecord(const VerificationRecord::Entries& entries, std::string_view libraryVersion) {
    ByteWriter out;
    for (const char byte : kMagic) out.U8(static_cast<std::uint8_t>(byte));
    out.U32(kLayout);
    out.Bytes(libraryVersion);
    out.U32(static_cast<std::uint32_t>(entries.size()));
    for (const auto& [path, entry] : entries) {
        out.Bytes(path);
        Write(out, entry.copy);
        out.U8(entry.info ? 1 : 0);
        if (entry.info) WriteInfo(out, *entry.info);
        out.U8(entry.filesVerifiedBy ? 1 : 0);
        if (entry.filesVerifiedBy) {
            out.Bytes({reinterpret_cast<const char*>(entry.filesVerifiedBy->id.data()), entry.filesVerifiedBy->id.size()});
            out.Bytes({reinterpret_cast<const char*>(entry.filesVerifiedBy->key.data()),
                       entry.filesVerifiedBy->key.size()});
        }
    }
    std::string bytes = out.Take();
    const Checksum sum = ChecksumOf(bytes);
    bytes.append(reinterpret_cast<const char*>(sum.data()), sum.size());
    return bytes;
}

std::optional<VerificationRecord::Entries> ParseVerificationRecord(std::string_view bytes,
                                                                   std::string_view libraryVersion) {
    if (bytes.size() < kMagic.size() + kChecksumSize || !bytes.starts_with(kMagic)) return std::nullopt;
    const std::string_view body = bytes.substr(0, bytes.size() - kChecksumSize);
    const Checksum sum = ChecksumOf(body);
    if (sodium_memcmp(sum.data(), bytes.data() + body.size(), kChecksumSize) != 0) return std::nullopt;

    ByteReader in(body.substr(kMagic.size()));
    if (in.U32() != kLayout || in.Bytes() != libraryVersion) return std::nullopt;
    VerificationRecord::Entries entries;
    const std::size_t count = in.Count(kMinEntry);
    for (std::size_t i = 0; i < count && in.Ok(); ++i) {
        std::string path(in.Bytes());
        VerificationRecord::Entry entry;
        entry.copy = ReadIdentity(in);
        if (in.Bool()) entry.info = ReadInfo(in);
        if (in.Bool()) {
            Minisign::PublicKey key;
            const std::string_view id = in.Bytes();
            const std::string_view material = in.Bytes();
            if (id.size() != key.id.size() || material.size() != key.key.size()) return std::nullopt;
            std::copy(id.begin(), id.end(), key.id.begin());
            std::copy(material.begin(), material.end(), key.key.begin());
            entry.filesVerifiedBy = key;
        }
        entries.insert_or_assign(std::move(path), std::move(entry));
    }
    if (!in.AtEnd()) return std::nullopt;
    return entries;
}

VerificationRecord::VerificationRecord(CString platformFolder)
    : m_platformFolder(std::move(platformFolder)),
      m_file(InstallLayout::VerificationRecordFile(m_platformFolder)) {}

std::optional<std::string> VerificationRecord::KeyOf(const CString& installedCopy) const {
    const int length = m_platformFolder.GetLength();
    if (installedCopy.GetLength() <= length + 1 || installedCopy.Left(length) != m_platformFolder) return std::nullopt;
    if (const auto separator = installedCopy.View()[length]; separator != u'/' && separator != u'\\') return std::nullopt;
    std::string key = installedCopy.Mid(length + 1).ToUtf8();
    std::replace(key.begin(), key.end(), '\\', '/');
    return key;
}

void VerificationRecord::Load() {
    if (std::exchange(m_loaded, true)) return;
    if (!File::Exists(m_file)) return;
    const auto bytes = File::ReadAllBytes(m_file);
    if (!bytes) return;
    if (auto entries = ParseVerificationRecord(*bytes, OVX_COMPONENT_VERSION_STRING)) m_read = std::move(*entries);
}

const VerificationRecord::Entry* VerificationRecord::Find(const CString& installedCopy, const FileIdentity& identity) {
    const auto key = KeyOf(installedCopy);
    if (!key) return nullptr;
    if (const auto used = m_used.find(*key); used != m_used.end()) {
        return used->second.copy == identity ? &used->second : nullptr;
    }
    Load();
    const auto read = m_read.find(*key);
    if (read == m_read.end() || !(read->second.copy == identity)) return nullptr;
    return &m_used.insert_or_assign(*key, read->second).first->second;
}

VerificationRecord::Entry& VerificationRecord::Use(const std::string& key, const FileIdentity& identity) {
    Entry& entry = m_used[key];
    if (!(entry.copy == identity)) entry = Entry{identity, nullptr, std::nullopt};
    m_changed = true;
    return entry;
}

void VerificationRecord::Remember(const CString& installedCopy, const FileIdentity& identity,
                                  std::shared_ptr<const ExtensionContainerInfo> info) {
    if (const auto key = KeyOf(installedCopy)) Use(*key, identity).info = std::move(info);
}

void VerificationRecord::RememberVerifiedFiles(const CString& installedCopy, const FileIdentity& identity,
                                               const Minisign::PublicKey& key) {
    if (const auto path = KeyOf(installedCopy)) Use(*path, identity).filesVerifiedBy = key;
}

void VerificationRecord::Save() {
    if (!std::exchange(m_changed, false)) return;
    // Without the record the next start opens the installed copies: a failed write costs
    // time only.
    static_cast<void>(File::WriteAtomically(m_file, FormatVerificationRecord(m_used, OVX_COMPONENT_VERSION_STRING)));
}

}  // namespace OvxComponent
