/// \file
/// NoCaseLess: orders names ignoring case, exactly as CString::CompareNoCase does, and
/// also compares a CString with plain wide text, so that a map keyed by CString can be
/// searched with a caller's wchar_t* without building a CString (and allocating) for it.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/ovx_export.h"

#include <string_view>

namespace OvxComponent {

/// Orders names as CString::CompareNoCase does, for maps looked up by CString or wide text.
struct OVX_API NoCaseLess {
    /// Lets maps look up keys of another type than their own.
    using is_transparent = void;

    /// <0, 0 or >0, with the sign CString::CompareNoCase gives for the same texts.
    /// \param a The first text.
    /// \param b The second text.
    /// \return The order of a against b.
    static int Compare(std::wstring_view a, std::wstring_view b) noexcept;

    /// \param a The first name.
    /// \param b The second name.
    /// \return Whether a comes first.
    bool operator()(const CString& a, const CString& b) const noexcept { return Compare(a.View(), b.View()) < 0; }
    /// \param a The first name.
    /// \param b The second name.
    /// \return Whether a comes first.
    bool operator()(std::wstring_view a, const CString& b) const noexcept { return Compare(a, b.View()) < 0; }
    /// \param a The first name.
    /// \param b The second name.
    /// \return Whether a comes first.
    bool operator()(const CString& a, std::wstring_view b) const noexcept { return Compare(a.View(), b) < 0; }
};

}  // namespace OvxComponent
