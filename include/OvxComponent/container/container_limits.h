/// \file
/// ContainerLimits: the caps that keep a hostile package from exhausting memory or disk.
///
/// Sizes are counted on the bytes actually inflated while an operation runs (one opening,
/// one extraction), never on the sizes that the archive's headers claim, which a hostile
/// archive can fake.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <cstdint>

namespace VdcContainer {

/// The limits that an opened package is checked against; a package beyond one is refused.
struct ContainerLimits {
    /// Bytes of the package file itself.
    std::uint64_t maxPackageSize = 1ull << 30;
    /// Entries in the archive, folders included.
    std::uint64_t maxEntries = 20'000;
    /// Bytes inflated by one operation, over all entries it reads.
    std::uint64_t maxTotalSize = 1ull << 30;
    /// Bytes inflated per byte of compressed data of one entry, once the entry has inflated
    /// more than ratioFreeSize bytes; smaller entries cannot make a bomb.
    std::uint64_t maxCompressionRatio = 200;
    /// Entries smaller than this are not held to the compression ratio limit.
    std::uint64_t ratioFreeSize = 1ull << 20;
    /// The same ratio holds for one operation's bytes against the whole package file, once
    /// more than totalRatioFreeSize bytes were inflated: many modest entries cannot add up
    /// to a bomb either.
    std::uint64_t totalRatioFreeSize = 16ull << 20;
    /// Bytes of one XML entry (manifest, metadata, root files).
    std::uint64_t maxXmlSize = 16ull << 20;
    /// Package files up to this size are read into memory whole when opened, which is much
    /// faster than libzip's many small reads; larger ones are read through the file.
    std::uint64_t inMemoryOpenSize = 8ull << 20;
};

}  // namespace VdcContainer
