// ArchiveEntry: one validated entry of an open archive. Internal.
#pragma once

#include "container/entry_name.h"

#include <cstdint>
#include <optional>

namespace VdcContainer {

struct ArchiveEntry {
    EntryName name;
    std::uint64_t index = 0;           // libzip's index
    std::uint64_t claimedSize = 0;     // as the headers say; never trusted for caps
    std::uint64_t compressedSize = 0;  // bounds what libzip reads of the entry's data
    std::optional<std::int64_t> modified;  // time_t
};

}  // namespace VdcContainer
