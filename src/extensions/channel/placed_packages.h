// PlacedPackages: the channel's record of the packages it put into the destination folder,
// so that it removes only its own when the repository stops listing them, and only while
// the file there is still the one it placed. Kept as "placed_packages.json" in the state
// folder, replaced in one atomic step; an entry is written before its package is renamed
// into place and dropped after its package is deleted, so a crash between the two leaves
// an entry without a file (harmless), never a placed file without an entry.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"
#include "platform/system_io/file.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace OvxComponent {

class PlacedPackages {
public:
    struct Entry {
        CString fileName;
        std::uint64_t length = 0;
        std::map<std::string, std::string> hashes;
        // The placed file's identity; none until the rename that placed it is known to
        // have happened.
        std::optional<OvxUtils::SystemIO::File::FileIdentity> identity;

        friend bool operator==(const Entry&, const Entry&) = default;
    };

    explicit PlacedPackages(CString file) : m_file(std::move(file)) {}

    // Reads the record; a missing one is empty, a damaged one is empty and reported.
    OvxUtils::Result<void> Load();
    OvxUtils::Result<void> Save() const;

    // By target path.
    std::map<std::string, Entry>& Entries() { return m_entries; }
    // The timestamp version of the last refresh that placed and removed all it had to.
    std::uint64_t CompleteAt() const { return m_completeAt; }
    void SetCompleteAt(std::uint64_t version) { m_completeAt = version; }

private:
    CString m_file;
    std::uint64_t m_completeAt = 0;
    std::map<std::string, Entry> m_entries;
};

}  // namespace OvxComponent
