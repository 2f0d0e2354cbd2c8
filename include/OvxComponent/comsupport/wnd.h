/// \file
/// CWnd: a window of the host, as the host services see it: the handle that owns a message
/// box or a popup menu. It does not own the window.
#pragma once

#include <windows.h>

namespace OvxComponent {

class CWnd {
public:
    CWnd() = default;
    explicit CWnd(HWND window) : m_hWnd(window) {}
    virtual ~CWnd() = default;
    CWnd(const CWnd&) = delete;
    CWnd& operator=(const CWnd&) = delete;

    HWND GetSafeHwnd() const { return m_hWnd; }

    HWND m_hWnd = nullptr;
};

}  // namespace OvxComponent
