// MessageMgr with a fake host: the host's own presentation, the automatic answers when
// the host shows no dialogs, the formatting, and the hand-over to Win32. No dialog is
// ever shown: where a test reaches MessageBoxW, a hook refuses the dialog's window.
#include "OvxComponent/component/message_mgr.h"
#include "OvxComponent/comsupport/wnd.h"
#include "support/fake_host_app.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace OvxComponent;
using namespace OvxTest;

TEST(MessageMgr, HostThatShowsNoDialogsGetsTheLikelyAnswer) {
    FakeHostApp app;
    FakeUIMode silent(true);
    app.m_mode = &silent;
    ScopedHostApp registered(&app);
    struct Case {
        unsigned int type;
        int answer;
    };
    const Case cases[] = {
        {MB_OK, IDOK},
        {MB_ABORTRETRYIGNORE | MB_ICONERROR, IDIGNORE},
        {MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2, IDYES},
        {MB_RETRYCANCEL, IDCANCEL},
        {MB_CANCELTRYCONTINUE, IDOK},
    };
    for (const Case& c : cases) EXPECT_EQ(MessageMgr::ShowConfirmation(c.type, L"Replace it?"), c.answer) << c.type;
    MessageMgr::ShowError(L"nobody sees this");
    EXPECT_EQ(MessageMgr::FormatAndShowConfirmation(MB_YESNO, L"%1?", L"Save"), IDYES);
}

TEST(MessageMgr, HostServicePresentsEveryMessageWithItsTypeAndExtraStrings) {
    FakeHostApp app;
    RecordingUIService service;
    FakeUIMode silent(true);  // the service comes first all the same
    app.m_service = &service;
    app.m_mode = &silent;
    ScopedHostApp registered(&app);

    const auto& last = service.m_lastMessageBox;
    const auto call = [&] { return std::tie(last.text, last.extra1, last.extra2, last.extra3, last.type); };
    MessageMgr::ShowWarning(L"Low memory", L"one", L"two", L"three");
    EXPECT_EQ(call(), std::make_tuple(L"Low memory", L"one", L"two", L"three", 0x30u));

    const std::pair<void (*)(const wchar_t*), unsigned int> shows[] = {
        {MessageMgr::ShowMessage, 0x40}, {MessageMgr::ShowWarning, 0x30}, {MessageMgr::ShowError, 0x10}};
    for (const auto& [show, type] : shows) {
        show(L"text");
        EXPECT_EQ(call(), std::make_tuple(L"text", L"(null)", L"(null)", L"(null)", type));
    }
    service.m_answer = IDNO;
    EXPECT_EQ(MessageMgr::ShowConfirmation(MB_YESNO | MB_ICONQUESTION, L"Keep?"), IDNO);
    EXPECT_EQ(service.m_calls, 5);
}

TEST(MessageMgr, FormatsWithMessageInsertsNotPrintf) {
    FakeHostApp app;
    RecordingUIService service;
    app.m_service = &service;
    ScopedHostApp registered(&app);

    MessageMgr::FormatAndShowError(L"%1 failed", L"Load");
    EXPECT_EQ(service.m_lastMessageBox.text, L"Load failed");
    EXPECT_EQ(service.m_lastMessageBox.type, 0x10u);
    MessageMgr::FormatAndShowWarning(L"%2 of %1!d! pages, 100%% done", 12, L"Page 3");
    EXPECT_EQ(service.m_lastMessageBox.text, L"Page 3 of 12 pages, 100% done");
    service.m_answer = IDCANCEL;
    EXPECT_EQ(MessageMgr::FormatAndShowConfirmation(MB_OKCANCEL, L"Delete %1?", L"layer"), IDCANCEL);
    EXPECT_EQ(service.m_lastMessageBox.text, L"Delete layer?");
    MessageMgr::FormatAndShowMessage(nullptr);
    EXPECT_EQ(service.m_lastMessageBox.text, L"");
}

// Refuses every window the thread creates, recording the owner asked for, so that a
// message box fails at once instead of waiting for a user.
class DialogRefusal {
public:
    DialogRefusal() { s_hook = SetWindowsHookExW(WH_CBT, &Refuse, nullptr, GetCurrentThreadId()); }
    ~DialogRefusal() { UnhookWindowsHookEx(s_hook); }
    bool Installed() const { return s_hook != nullptr; }

    static inline int s_refused = 0;
    static inline HWND s_owner = nullptr;

private:
    static LRESULT CALLBACK Refuse(int code, WPARAM wParam, LPARAM lParam) {
        if (code != HCBT_CREATEWND) return CallNextHookEx(s_hook, code, wParam, lParam);
        ++s_refused;
        s_owner = reinterpret_cast<CBT_CREATEWNDW*>(lParam)->lpcs->hwndParent;
        return 1;
    }
    static inline HHOOK s_hook = nullptr;
};

TEST(MessageMgr, WithoutServiceOrSilenceTheHostWindowOwnsAWin32MessageBox) {
    FakeHostApp app;
    FakeUIMode interactive(false);
    app.m_mode = &interactive;
    HWND mainWindow = CreateWindowExW(0, L"STATIC", L"main", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_NE(mainWindow, nullptr);
    CWnd window(mainWindow);
    app.m_mainWindow = &window;

    DialogRefusal refusal;
    ASSERT_TRUE(refusal.Installed());
    {
        ScopedHostApp registered(&app);
        MessageMgr::ShowError(L"refused before it is shown");
    }
    EXPECT_EQ(DialogRefusal::s_refused, 1);
    EXPECT_EQ(DialogRefusal::s_owner, mainWindow);

    MessageMgr::ShowMessage(L"no host registered: no owner");
    EXPECT_EQ(DialogRefusal::s_refused, 2);
    EXPECT_EQ(DialogRefusal::s_owner, nullptr);
    DestroyWindow(mainWindow);
}

}  // namespace
