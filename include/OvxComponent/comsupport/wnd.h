/// \file
/// CWnd: a window of the host, as the host services see it: the handle that owns a message
/// box or a popup menu. It does not own the window.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include <windows.h>

namespace OvxComponent {

/// A window handle that a host hands the component, as the owner of its dialogs.
class CWnd {
public:
    CWnd() = default;
    /// \param window The window.
    explicit CWnd(HWND window) : m_hWnd(window) {}
    virtual ~CWnd() = default;
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    /// \return The window, or null.
    HWND GetSafeHwnd() const { return m_hWnd; }

    /// The window, or null.
    HWND m_hWnd = nullptr;
};

}  // namespace OvxComponent
