// A host application as the host services see it, for tests: FakeHostApp answers the
// operations of IOrvexCmn_App from its members, RecordingUIService records what it is
// asked to show, FakeUIMode says whether dialogs are suppressed. All live in the test;
// none counts references or deletes itself. Windows only.
#pragma once

#include "OvxComponent/component/app_ui_mode.h"
#include "OvxComponent/component/app_ui_service.h"
#include "OvxComponent/component/orvex_cmn_app.h"

#include <string>

namespace OvxTest {

class FakeUIMode : public OvxComponent::IAppUIMode {
public:
    explicit FakeUIMode(bool suppressesDialogs) : m_suppressesDialogs(suppressesDialogs) {}
    bool SuppressesDialogs() override { return m_suppressesDialogs; }

private:
    bool m_suppressesDialogs;
};

class RecordingUIService : public OvxComponent::IAppUIService {
public:
    struct MessageBoxCall {
        std::wstring text, extra1, extra2, extra3;  // "(null)" for a null pointer
        unsigned int type = 0;
    };
    struct MenuCall {
        HMENU menu = nullptr;
        unsigned int flags = 0;
        int x = 0, y = 0, reserved = -1;
        HWND owner = nullptr;
        const RECT* rect = nullptr;
    };

    int m_answer = IDOK;  // what both operations return
    int m_calls = 0;
    MessageBoxCall m_lastMessageBox;
    MenuCall m_lastMenu;

    int ShowMessageBox(const wchar_t* text, const wchar_t* extra1, unsigned int type, const wchar_t* extra2,
                       const wchar_t* extra3) override;
    int TrackPopupMenu(HMENU menu, unsigned int flags, int x, int y, int reserved, HWND owner,
                       const RECT* rect) override;
};

class FakeHostApp : public OvxComponent::IOrvexCmn_App {
public:
    int m_lockCount = 0;  // LockApplication calls minus UnlockApplication calls
    int m_unlockCalls = 0;
    bool m_lockThrows = false;
    OvxComponent::IAppUIService* m_service = nullptr;  // answered for IID_IAppUIService
    OvxComponent::IAppUIMode* m_mode = nullptr;
    OvxComponent::CWnd* m_mainWindow = nullptr;
    CString m_title = CString(u"Fake Host");

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    void LockApplication() override;
    void UnlockApplication() override;
    OvxComponent::IAppUIMode* GetUIMode() override { return m_mode; }
    OvxComponent::CWnd* GetMainWindow() override { return m_mainWindow; }
    CString GetApplicationTitle() override { return m_title; }
};

// Registers app with SetAppInterface for the life of the object.
class ScopedHostApp {
public:
    explicit ScopedHostApp(OvxComponent::IOrvexCmn_App* app);
    ~ScopedHostApp();
    ScopedHostApp(const ScopedHostApp&) = delete;
    ScopedHostApp& operator=(const ScopedHostApp&) = delete;
};

}  // namespace OvxTest
