// Where a ZIP archive says its parts lie, read from its own records before libzip reads
// anything: the end of central directory record, and the place of every entry's data.
// Internal to ArchiveReader.
//
// libzip reads each entry's data from wherever its header points, so a hostile archive
// can point many entries at the same compressed bytes (or at its own directory) and
// inflate far more than it holds. CheckEntryLayout refuses such an archive: the data of
// every entry must lie before the central directory and apart from every other entry's.
#pragma once

#include "OvxComponent/container/result.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace VdcContainer {

struct EndRecord {
    std::uint64_t entries = 0;
    std::uint64_t directoryOffset = 0;
    std::uint64_t directorySize = 0;
};

// The last end of central directory record in tail, the final bytes of a file of fileSize
// bytes (the ZIP64 record's values when the plain one defers to it); no value when tail
// holds no complete record. commentFits tells whether the record's comment ends exactly
// at the end of the file.
std::optional<EndRecord> FindEndRecord(std::string_view tail, std::uint64_t fileSize, bool& commentFits);

// Reads size bytes at offset of the file into out; false when they cannot be read.
using ReadAt = std::function<bool(std::uint64_t offset, std::size_t size, char* out)>;

// Refuses an archive whose directory cannot be read, holds another number of entries than
// its end record states, or whose entries' data overlap each other or the directory.
Result<void> CheckEntryLayout(const EndRecord& end, std::uint64_t fileSize, const ReadAt& read);

}  // namespace VdcContainer
