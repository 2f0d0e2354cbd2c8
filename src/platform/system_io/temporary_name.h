// Names for work in progress beside its final place.
//
// Whatever is written in steps (a copy being written, a folder being filled, a tree being
// deleted) lives under such a name until one rename makes it final, or until it is gone.
// The names start with a dot and end with a purpose and a random tag, so no scan mistakes
// them for real content, and a start-up sweep can tell what a crash left behind.
#pragma once

#include "OvxComponent/platform/cstring.h"

#include <string_view>

namespace OvxUtils::SystemIO::TemporaryName {

// Why the name exists.
inline constexpr std::u16string_view kWriting = u"writing";    // a file being written
inline constexpr std::u16string_view kPartial = u"partial";    // a folder being filled
inline constexpr std::u16string_view kDeleting = u"deleting";  // a tree being deleted
inline constexpr std::u16string_view kSaving = u"saving";      // a package being saved

// A fresh name in path's folder: "." + path's name + "." + purpose + "-" + 8 hex digits.
CString Beside(const CString& path, std::u16string_view purpose);

// True for a file or folder name (not a path) that Beside made, whatever its purpose.
bool IsTemporary(const CString& name);

}  // namespace OvxUtils::SystemIO::TemporaryName
