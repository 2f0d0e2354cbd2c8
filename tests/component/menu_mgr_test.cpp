// MenuMgr: the host's own popup menus, and the hand-over to Win32.
#include "OvxComponent/component/menu_mgr.h"
#include "OvxComponent/comsupport/menu.h"
#include "OvxComponent/comsupport/wnd.h"
#include "support/fake_host_app.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace OvxComponent;
using namespace OvxTest;

TEST(MenuMgr, HostServiceTracksTheMenuWithTheArgumentsUnchanged) {
    FakeHostApp app;
    RecordingUIService service;
    service.m_answer = 42;
    app.m_service = &service;
    ScopedHostApp registered(&app);

    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    ASSERT_TRUE(menu.AppendMenu(MF_STRING, 42, L"Rename"));
    const RECT exclude{1, 2, 3, 4};
    CWnd owner(reinterpret_cast<HWND>(0x1234));

    const auto& last = service.m_lastMenu;
    const auto call = [&] { return std::tie(last.menu, last.flags, last.x, last.y, last.reserved, last.owner, last.rect); };
    const unsigned int flags = TPM_RETURNCMD | TPM_RIGHTBUTTON;
    EXPECT_EQ(MenuMgr::TrackPopupMenu(menu.GetSafeHmenu(), flags, -5, 7, 9, owner.GetSafeHwnd(), &exclude), 42);
    EXPECT_EQ(call(), std::make_tuple(menu.GetSafeHmenu(), flags, -5, 7, 9, owner.GetSafeHwnd(), &exclude));
    // The CMenu form passes 0 as the reserved argument, and a null owner as a null window.
    EXPECT_EQ(MenuMgr::TrackPopupMenu(menu, TPM_LEFTALIGN, 10, 20, nullptr, nullptr), 42);
    EXPECT_EQ(call(), std::make_tuple(menu.GetSafeHmenu(), 0u, 10, 20, 0, HWND{}, static_cast<const RECT*>(nullptr)));
    MenuMgr::TrackPopupMenu(menu, 0, 0, 0, &owner, nullptr);
    EXPECT_EQ(service.m_lastMenu.owner, owner.GetSafeHwnd());
    EXPECT_EQ(service.m_calls, 3);
}

TEST(MenuMgr, WithoutServiceWin32TracksTheMenu) {
    // A null menu makes Win32 fail at once, without showing anything: the error shows
    // that the call reached it.
    FakeHostApp app;  // registered, but offers no service
    ScopedHostApp registered(&app);
    SetLastError(0);
    EXPECT_EQ(MenuMgr::TrackPopupMenu(nullptr, TPM_RETURNCMD, 0, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_MENU_HANDLE));
}

}  // namespace
