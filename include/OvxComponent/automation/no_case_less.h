/// \file
/// NoCaseLess: orders names ignoring case, exactly as CString::CompareNoCase does, and
/// also compares a CString with plain wide text, so that a map keyed by CString can be
/// searched with a caller's wchar_t* without building a CString (and allocating) for it.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/ovx_export.h"

#include <string_view>

namespace OvxComponent {

struct OVX_API NoCaseLess {
    using is_transparent = void;

    /// <0, 0 or >0, with the sign CString::CompareNoCase gives for the same texts.
    static int Compare(std::wstring_view a, std::wstring_view b) noexcept;

    bool operator()(const CString& a, const CString& b) const noexcept { return Compare(a.View(), b.View()) < 0; }
    bool operator()(std::wstring_view a, const CString& b) const noexcept { return Compare(a, b.View()) < 0; }
    bool operator()(const CString& a, std::wstring_view b) const noexcept { return Compare(a.View(), b) < 0; }
};

}  // namespace OvxComponent
