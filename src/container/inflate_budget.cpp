// InflateBudget: the caps on the bytes that one operation inflates.
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
    const std::uint64_t ratio = std::max<std::uint64_t>(m_limits.maxCompressionRatio, 1);
    const std::uint64_t package = std::max<std::uint64_t>(m_packageSize, 1);
    if (m_total > m_limits.totalRatioFreeSize && package <= UINT64_MAX / ratio && m_total > package * ratio) {
        return Error{u"the package inflates to more than " + DecimalText(ratio) + u" times its own size"};
    }
    const std::uint64_t compressed = std::max<std::uint64_t>(entry.compressedSize, 1);
    const bool ratioExceeded = compressed <= UINT64_MAX / ratio && entryBytes > compressed * ratio;
    if (entryBytes > m_limits.ratioFreeSize && ratioExceeded) {
        return Error{u"entry " + Quoted(entry.name.Utf8()) + u" inflates to more than " +
                     DecimalText(ratio) + u" times its compressed size"};
    }
    return {};
}

}  // namespace VdcContainer
