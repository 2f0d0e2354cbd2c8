/// \file
/// CMenu: owns a Win32 menu handle for the code that builds a popup menu and shows it
/// through MenuMgr. The menu is destroyed with the object unless it was detached.
#pragma once

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>

namespace OvxComponent {

class OVX_API CMenu {
public:
    CMenu() = default;
    ~CMenu();
    CMenu(const CMenu&) = delete;
    CMenu& operator=(const CMenu&) = delete;

    /// Creates an empty popup menu; false when the object holds one already or the system
    /// refuses.
    bool CreatePopupMenu();
    /// Appends an item; flags and id as Win32 AppendMenuW takes them.
    bool AppendMenu(unsigned int flags, UINT_PTR id, const wchar_t* text);
    /// Adopts menu, destroying the one held before.
    void Attach(HMENU menu);
    /// Gives the menu to the caller; the object is empty afterwards.
    [[nodiscard]] HMENU Detach();
    void DestroyMenu();

    HMENU GetSafeHmenu() const { return m_hMenu; }

    HMENU m_hMenu = nullptr;
};

}  // namespace OvxComponent
