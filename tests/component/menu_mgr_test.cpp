// MenuMgr: the host's own popup menus, and the hand-over to Win32.
#include "OvxComponent/component/menu_mgr.h"
#include "OvxComponent/comsupport/menu.h"
#include "OvxComponent/comsupport/wnd.h"
#include "support/fake_host_app.h"

#include <gtest/gtest.h>

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

    EXPECT_EQ(MenuMgr::TrackPopupMenu(menu.GetSafeHmenu(), TPM_RETURNCMD | TPM_RIGHTBUTTON, -5, 7, 9,
                                      owner.GetSafeHwnd(), &exclude),
              42);
    EXPECT_EQ(service.m_lastMenu.menu, menu.GetSafeHmenu());
    EXPECT_EQ(service.m_lastMenu.flags, static_cast<unsigned int>(TPM_RETURNCMD | TPM_RIGHTBUTTON));
    EXPECT_EQ(service.m_lastMenu.x, -5);
    EXPECT_EQ(service.m_lastMenu.y, 7);
    EXPECT_EQ(service.m_lastMenu.reserved, 9);
    EXPECT_EQ(service.m_lastMenu.owner, owner.GetSafeHwnd());
    EXPECT_EQ(service.m_lastMenu.rect, &exclude);

    EXPECT_EQ(MenuMgr::TrackPopupMenu(menu, TPM_LEFTALIGN, 10, 20, nullptr, nullptr), 42);
    EXPECT_EQ(service.m_lastMenu.owner, nullptr);
    EXPECT_EQ(service.m_lastMenu.reserved, 0);
    EXPECT_EQ(service.m_lastMenu.flags, static_cast<unsigned int>(TPM_LEFTALIGN));
    MenuMgr::TrackPopupMenu(menu, 0, 0, 0, &owner, nullptr);
    EXPECT_EQ(service.m_lastMenu.owner, owner.GetSafeHwnd());
    EXPECT_EQ(service.m_calls, 3);
}

TEST(MenuMgr, WithoutServiceWin32TracksTheMenu) {
    // A null menu makes Win32 fail at once, without showing anything: the error shows
    // that the call reached it.
    FakeHostApp app;  // registered, but offers no service
    for (IOrvexCmn_App* host : {static_cast<IOrvexCmn_App*>(&app), static_cast<IOrvexCmn_App*>(nullptr)}) {
        ScopedHostApp registered(host);
        SetLastError(0);
        EXPECT_EQ(MenuMgr::TrackPopupMenu(nullptr, TPM_RETURNCMD, 0, 0, 0, nullptr, nullptr), 0);
        EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_MENU_HANDLE));
    }
}

}  // namespace
