// ArchiveReader: a ZIP archive opened read-only, whose entries have all been checked.
//
// Opening refuses archives that are not ZIP files or are damaged, that hold more entries
// than the cap, and any entry that is unsafe to extract: a name EntryName refuses, a name
// that repeats another (also when they differ only in letter case, or when one is a file
// and the other a folder), a symbolic link or other special file, an encrypted entry, or a
// compression method other than stored or deflated, and entries whose data overlap each
// other or the directory (ArchiveLayout). Every read checks that the entry inflates to
// exactly the size its header states. Reads count inflated bytes against an
// InflateBudget. Internal; owned by ZipContainer, used by one thread at a time.
#pragma once

#include "OvxComponent/container/container_limits.h"
#include "OvxComponent/container/result.h"
#include "container/archive_entry.h"
#include "container/inflate_budget.h"
#include "container/zip_handles.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VdcContainer {

// Whether the error of a failed Open is one that a file still being written (copied in,
// downloaded) also gives: it cannot be read, or is no complete ZIP archive yet, or has
// gone. Every other error names a rule that a complete archive broke.
bool MayBeIncomplete(const CString& openError);

class ArchiveReader {
public:
    static Result<std::unique_ptr<ArchiveReader>> Open(const CString& path, const ContainerLimits& limits);

    zip_t* Archive() const { return m_archive.get(); }
    // The size of the package file; the budget of every read is set against it.
    std::uint64_t FileSize() const { return m_fileSize; }
    const std::vector<ArchiveEntry>& Entries() const { return m_entries; }
    // The entry of exactly this name, or null.
    const ArchiveEntry* Find(std::string_view utf8) const;

    using Sink = std::function<Result<void>(std::string_view chunk)>;
    // Inflates the whole entry into sink, checking its CRC and size at the end. Fails when
    // the entry inflates to more than maxEntrySize bytes or the budget runs out.
    Result<void> Read(const ArchiveEntry& entry, InflateBudget& budget, std::uint64_t maxEntrySize,
                      const Sink& sink) const;
    Result<std::string> ReadAll(const ArchiveEntry& entry, InflateBudget& budget, std::uint64_t maxEntrySize) const;

private:
    ArchiveReader(UniqueZip archive, std::vector<ArchiveEntry> entries, std::uint64_t fileSize);

    UniqueZip m_archive;
    std::vector<ArchiveEntry> m_entries;
    std::uint64_t m_fileSize = 0;
    // Views of the names in m_entries, which never changes after construction.
    std::unordered_map<std::string_view, std::size_t> m_byName;
    // The chunk buffer of Read, kept between reads (not zero-filled).
    mutable std::unique_ptr<char[]> m_buffer;
    mutable bool m_bufferInUse = false;
};

}  // namespace VdcContainer
