// MenuMgr: popup menus, shown by the host's user-interface service when it has one.
#include "OvxComponent/component/menu_mgr.h"

#include "OvxComponent/component/host_binding.h"
#include "OvxComponent/component/host_ui_service.h"
#include "OvxComponent/comsupport/menu.h"
#include "OvxComponent/comsupport/wnd.h"

namespace OvxComponent::MenuMgr {

int TrackPopupMenu(HMENU menu, unsigned int flags, int x, int y, int reserved, HWND owner, const RECT* rect) {
    if (IAppUIService* service = FindHostUIService(GetAppInterface()))
        return service->TrackPopupMenu(menu, flags, x, y, reserved, owner, rect);
    return ::TrackPopupMenu(menu, flags, x, y, reserved, owner, rect);
}

int TrackPopupMenu(CMenu& menu, unsigned int flags, int x, int y, CWnd* owner, const RECT* rect) {
    return MenuMgr::TrackPopupMenu(menu.GetSafeHmenu(), flags, x, y, 0, owner ? owner->GetSafeHwnd() : nullptr, rect);
}

}  // namespace OvxComponent::MenuMgr
