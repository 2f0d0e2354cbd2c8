// InflateBudget: counts the bytes that one operation inflates and stops it at the caps of
// ContainerLimits. Internal; one per opening or extraction, used by one thread.
#pragma once

#include "OvxComponent/container/container_limits.h"
#include "OvxComponent/container/result.h"
#include "container/archive_entry.h"

#include <cstddef>
#include <cstdint>

namespace VdcContainer {

class InflateBudget {
public:
    // packageSize: the bytes of the package file that all of the operation's reads come from.
    InflateBudget(const ContainerLimits& limits, std::uint64_t packageSize)
        : m_limits(limits), m_packageSize(packageSize) {}

    // Accounts for chunk more bytes of entry, which has inflated entryBytes in all so far.
    Result<void> Add(const ArchiveEntry& entry, std::uint64_t entryBytes, std::size_t chunk);
    std::uint64_t Total() const { return m_total; }

private:
    ContainerLimits m_limits;
    std::uint64_t m_packageSize = 0;
    std::uint64_t m_total = 0;
};

}  // namespace VdcContainer
