/// \file
/// MenuMgr: popup menus that the host may present itself.
///
/// When the registered application object offers an IAppUIService, the menu is tracked by
/// the host; otherwise by Win32 TrackPopupMenu. The arguments are passed on unchanged: a
/// caller that wants the chosen command back passes TPM_RETURNCMD itself.
#pragma once

#include "OvxComponent/platform/ovx_export.h"

#include <windows.h>

namespace OvxComponent {
class CMenu;
class CWnd;
}  // namespace OvxComponent

namespace OvxComponent::MenuMgr {

/// Result as Win32 TrackPopupMenu: the command with TPM_RETURNCMD, else nonzero on success.
OVX_API int TrackPopupMenu(HMENU menu, unsigned int flags, int x, int y, int reserved, HWND owner,
                           const RECT* rect);
/// The same for a menu object; a null owner passes a null window.
OVX_API int TrackPopupMenu(CMenu& menu, unsigned int flags, int x, int y, CWnd* owner, const RECT* rect);

}  // namespace OvxComponent::MenuMgr
