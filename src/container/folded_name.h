// FoldedName: an entry path in the form that a case-insensitive file system compares,
// for hashing. Two paths that CString::CompareNoCase finds equal give the same key.
// FoldedHash and FoldedEqual compare the same way without building the key, for hashing
// views of names that are already stored. Internal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace VdcContainer {

// utf8 must be valid UTF-8 (entry names are, once EntryName has accepted them).
std::u32string FoldedName(std::string_view utf8);

// A hash of FoldedName(utf8), computed without allocating.
std::size_t FoldedHash(std::string_view utf8);
// FoldedName(a) == FoldedName(b), computed without allocating.
bool FoldedEqual(std::string_view a, std::string_view b);

// For unordered containers keyed by views of valid UTF-8 names.
struct FoldedNameHash {
    std::size_t operator()(std::string_view utf8) const { return FoldedHash(utf8); }
};
struct FoldedNameEqual {
    bool operator()(std::string_view a, std::string_view b) const { return FoldedEqual(a, b); }
};

}  // namespace VdcContainer
