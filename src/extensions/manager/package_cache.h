// PackageCache: the records parsed from package files, kept by path with the file's
// identity, so that a rescan reads again only the files that changed.
//
// A record is handed out only while the file's identity (size, last write time, device,
// index and change time) is the one it had when it was read; any change, a file replaced
// by another or rewritten in place with the same size and time included, reads the file
// again. Owned by the manager and used on the main thread only; entries not used during a
// rescan are dropped at its end.
#pragma once

#include "OvxComponent/extensions/format/extension_container.h"
#include "OvxComponent/extensions/format/extension_container_info.h"
#include "extensions/trust/signature_check.h"
#include "platform/system_io/file.h"

#include <memory>
#include <unordered_map>

namespace OvxComponent {

class PackageCache {
public:
    using FileIdentity = OvxUtils::SystemIO::File::FileIdentity;
    using Verdict = std::shared_ptr<const Trust::SignatureVerdict>;

    struct Record {
        // A container that holds the record alone, without an archive; one per file state,
        // shared by everyone who asks and changed by no one.
        std::shared_ptr<ExtensionContainer> container;
        Verdict trust;  // null while the trust policy is off
    };
    // The record read from path, when the file there, whose identity the caller has just
    // taken, is still the one it was read from; a null container otherwise.
    Record Find(const CString& path, const FileIdentity& identity);
    // Whether Find would answer for path.
    bool Holds(const CString& path, const FileIdentity& identity) const {
        const auto found = m_entries.find(path);
        return found != m_entries.end() && found->second.identity == identity;
    }
    // Keeps what was read from path, whose identity was taken before it was read.
    void Remember(const CString& path, const FileIdentity& identity, const ExtensionContainerInfo& info,
                  Verdict trust);

    struct Opened {
        std::shared_ptr<ExtensionContainer> container;
        Verdict trust;
    };
    // The package opened last, with its archive: a rescan that decides to unpack a new
    // package opens it once more, and gets this one instead of reading the file again.
    void KeepOpened(const CString& path, const FileIdentity& identity, Opened opened);
    // The kept package when it is path's and the file is unchanged; a null container
    // otherwise.
    Opened FindOpened(const CString& path, const FileIdentity& identity) const;

    // Marks the start of a rescan; EndScan drops the entries that were not used since,
    // and the package kept open.
    void BeginScan() { ++m_generation; }
    void EndScan();

private:
    struct Entry {
        FileIdentity identity;
        std::shared_ptr<ExtensionContainer> record;
        Verdict trust;
        std::uint64_t used = 0;  // the generation that last used it
    };
    std::unordered_map<CString, Entry> m_entries;
    std::uint64_t m_generation = 0;
    CString m_openedPath;
    FileIdentity m_openedIdentity;
    Opened m_opened;
};

}  // namespace OvxComponent
