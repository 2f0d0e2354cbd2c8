// FoldedName: an entry path in the form that a case-insensitive file system compares,
// for hashing. Two paths that CString::CompareNoCase finds equal give the same key.
// Internal.
#pragma once

#include <string>
#include <string_view>

namespace VdcContainer {

// utf8 must be valid UTF-8 (entry names are, once EntryName has accepted them).
std::u32string FoldedName(std::string_view utf8);

}  // namespace VdcContainer
