// The host binding: the main thread, the application interface, the application object.
#include "OvxComponent/component/host_binding.h"
#include "OvxComponent/comsupport/win_app.h"
#include "support/fake_host_app.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace OvxComponent;

bool IsOnMainThreadElsewhere() {
    bool answer = true;
    std::thread([&] { answer = IsOnMainThread(); }).join();
    return answer;
}

TEST(HostBinding, MainThreadIsTheOneThatRegisteredTheHost) {
    ASSERT_EQ(GetAppInterface(), nullptr) << "needs a process of its own";
    EXPECT_FALSE(IsOnMainThread());
    EXPECT_FALSE(IsOnMainThreadElsewhere());

    OvxTest::FakeHostApp app;
    SetAppInterface(&app);
    EXPECT_TRUE(GetAppInterface() == &app && IsOnMainThread());
    EXPECT_FALSE(IsOnMainThreadElsewhere());

    // Registering again from another thread moves the main thread there.
    std::thread([&] { SetAppInterface(&app); }).join();
    EXPECT_FALSE(IsOnMainThread());
    SetAppInterface(nullptr);
    EXPECT_TRUE(IsOnMainThread());
}

TEST(HostBinding, WinAppIsTheHostsOrElseTheLibrarysOwn) {
    CWinApp* own = GetWinApp();
    ASSERT_NE(own, nullptr);
    EXPECT_STREQ(own->m_pszAppName, L"OvxComponent");

    CWinApp hostApp(L"Host Studio");
    SetWinApp(&hostApp);
    EXPECT_EQ(GetWinApp(), &hostApp);
    SetWinApp(nullptr);
    EXPECT_EQ(GetWinApp(), own);
}

}  // namespace
