// InflateBudget.
#include "container/inflate_budget.h"

#include <algorithm>
#include <cstdint>

namespace VdcContainer {

Result<void> InflateBudget::Add(const ArchiveEntry& entry, std::uint64_t entryBytes, std::size_t chunk) {
    m_total += chunk;
    if (m_total > m_limits.maxTotalSize) {
        return Error{u"the package inflates to more than the cap of " + DecimalText(m_limits.maxTotalSize) +
                     u" bytes"};
    }
    const std::uint64_t compressed = std::max<std::uint64_t>(entry.compressedSize, 1);
    const bool ratioExceeded = compressed <= UINT64_MAX / std::max<std::uint64_t>(m_limits.maxCompressionRatio, 1) &&
                               entryBytes > compressed * m_limits.maxCompressionRatio;
    if (entryBytes > m_limits.ratioFreeSize && ratioExceeded) {
        return Error{u"entry " + Quoted(entry.name.Utf8()) + u" inflates to more than " +
                     DecimalText(m_limits.maxCompressionRatio) + u" times its compressed size"};
    }
    return {};
}

}  // namespace VdcContainer
