// VerificationRecord: what the sessions before this one found in each installed copy, kept
// in one file of the platform folder ("orvex_extensions.verified"), so that a start in
// which nothing changed reads that file instead of opening every installed copy again.
//
// An entry answers only for the file it was made from: it is found by the installed copy's
// path and must match the file's identity as it is now (size, last write, change time,
// device and index), and the whole file is read only by the library version that wrote
// it. What does not live in the file is decided afresh at every start: the host's
// requirements are checked against the recorded metadata with the host's answers of today,
// and the key that the unpacked files were verified under counts only while today's policy
// trusts it. The record is only a shortcut: a missing, corrupt, truncated or foreign file
// reads as empty and costs the next start time, nothing else. It is written in one atomic
// step, with the entries this session used.
//
// Owned by the manager and used on the main thread only.
#pragma once

#include "OvxComponent/extensions/format/extension_container_info.h"
#include "extensions/trust/minisign.h"
#include "platform/system_io/file.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace OvxComponent {

class VerificationRecord {
public:
    using FileIdentity = OvxUtils::SystemIO::File::FileIdentity;

    struct Entry {
        FileIdentity copy;
        std::shared_ptr<const ExtensionContainerInfo> info;  // null when only the files were verified
        // The key whose signed digests every unpacked file matched, under a trust policy.
        std::optional<Minisign::PublicKey> filesVerifiedBy;
    };
    // Entries by the installed copy's path below the platform folder, '/' between segments.
    using Entries = std::map<std::string, Entry>;

    // The record of the manager's platform folder; read when first asked.
    explicit VerificationRecord(CString platformFolder);

    // The entry of installedCopy when the file there, whose identity the caller has just
    // taken, is the one it was made from; null otherwise.
    const Entry* Find(const CString& installedCopy, const FileIdentity& identity);
    // Notes what was read from installedCopy, whose identity was taken before it was read.
    void Remember(const CString& installedCopy, const FileIdentity& identity,
                  std::shared_ptr<const ExtensionContainerInfo> info);
    // Notes that the unpacked files of installedCopy matched the digests that key signed.
    void RememberVerifiedFiles(const CString& installedCopy, const FileIdentity& identity,
                               const Minisign::PublicKey& key);
    // Writes the entries used in this session when anything changed since the file was
    // read; a record that cannot be written costs the next start time only.
    void Save();

private:
    std::optional<std::string> KeyOf(const CString& installedCopy) const;
    Entry& Use(const std::string& key, const FileIdentity& identity);
    void Load();

    CString m_platformFolder;
    CString m_file;
    bool m_loaded = false;
    bool m_changed = false;
    Entries m_read;  // as the file held them
    Entries m_used;  // found or noted in this session
};

// The record's bytes for the library version given, and back; nothing for bytes that are
// not a whole record of that version.
std::string FormatVerificationRecord(const VerificationRecord::Entries& entries, std::string_view libraryVersion);
std::optional<VerificationRecord::Entries> ParseVerificationRecord(std::string_view bytes,
                                                                   std::string_view libraryVersion);

}  // namespace OvxComponent
