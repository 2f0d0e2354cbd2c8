/// \file
/// CMenu: owns a Win32 menu handle for the code that builds a popup menu and shows it
/// through MenuMgr. The menu is destroyed with the object unless it was detached.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>

namespace OvxComponent {

/// Owns a Win32 menu handle and destroys the menu with it.
class OVX_API CMenu {
public:
    CMenu() = default;
    ~CMenu();
    CMenu(const CMenu&) = delete;
    CMenu& operator=(const CMenu&) = delete;

    /// Creates an empty popup menu; false when the object holds one already or the system
    /// refuses.
    /// \return Whether the menu was made.
    bool CreatePopupMenu();
    /// Appends an item; flags and id as Win32 AppendMenuW takes them.
    /// \param flags MF_ flags.
    /// \param id The command ID, or a submenu's handle with MF_POPUP.
    /// \param text The item's text.
    /// \return Whether the item was appended.
    bool AppendMenu(unsigned int flags, UINT_PTR id, const wchar_t* text);
    /// Adopts menu, destroying the one held before.
    /// \param menu The menu to own.
    void Attach(HMENU menu);
    /// Gives the menu to the caller; the object is empty afterwards.
    /// \return The menu, or null.
    [[nodiscard]] HMENU Detach();
    /// Destroys the menu held, if any.
    void DestroyMenu();

    /// \return The menu, or null.
    HMENU GetSafeHmenu() const { return m_hMenu; }

    /// The menu held, or null.
    HMENU m_hMenu = nullptr;
};

}  // namespace OvxComponent
