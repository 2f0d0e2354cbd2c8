/// \file
/// MenuMgr: popup menus that the host may present itself.
///
/// When the registered application object offers an IAppUIService, the menu is tracked by
/// the host; otherwise by Win32 TrackPopupMenu. The arguments are passed on unchanged: a
/// caller that wants the chosen command back passes TPM_RETURNCMD itself.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>

namespace OvxComponent {
class CMenu;
class CWnd;
}  // namespace OvxComponent

namespace OvxComponent::MenuMgr {

/// Result as Win32 TrackPopupMenu: the command with TPM_RETURNCMD, else nonzero on success.
/// Shows a popup menu through the host's service, or Win32 when the host offers none.
/// \param menu The menu.
/// \param flags TPM_ flags.
/// \param x The horizontal position, in screen coordinates.
/// \param y The vertical position, in screen coordinates.
/// \param reserved 0.
/// \param owner The window that owns the menu.
/// \param rect Ignored, as Win32 ignores it.
/// \return The command with TPM_RETURNCMD, else nonzero on success.
OVX_API int TrackPopupMenu(HMENU menu, unsigned int flags, int x, int y, int reserved, HWND owner,
                           const RECT* rect);
/// The same for a menu object; a null owner passes a null window.
/// \param menu The menu.
/// \param flags TPM_ flags.
/// \param x The horizontal position, in screen coordinates.
/// \param y The vertical position, in screen coordinates.
/// \param owner The window that owns the menu, or null.
/// \param rect Ignored, as Win32 ignores it.
/// \return The command with TPM_RETURNCMD, else nonzero on success.
OVX_API int TrackPopupMenu(CMenu& menu, unsigned int flags, int x, int y, CWnd* owner, const RECT* rect);

}  // namespace OvxComponent::MenuMgr
