// FakeHostApp and its companions.
#include "support/fake_host_app.h"

#include "OvxComponent/component/host_binding.h"

#include <stdexcept>

namespace OvxTest {
namespace {

std::wstring Text(const wchar_t* text) { return text ? std::wstring(text) : std::wstring(L"(null)"); }

}  // namespace

int RecordingUIService::ShowMessageBox(const wchar_t* text, const wchar_t* extra1, unsigned int type,
                                       const wchar_t* extra2, const wchar_t* extra3) {
    ++m_calls;
    m_lastMessageBox = {Text(text), Text(extra1), Text(extra2), Text(extra3), type};
    return m_answer;
}

int RecordingUIService::TrackPopupMenu(HMENU menu, unsigned int flags, int x, int y, int reserved, HWND owner,
                                       const RECT* rect) {
    ++m_calls;
    m_lastMenu = {menu, flags, x, y, reserved, owner, rect};
    return m_answer;
}

HRESULT FakeHostApp::QueryInterface(REFIID iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (IsEqualIID(iid, IID_IUnknown)) {
        *object = static_cast<IUnknown*>(this);
        return S_OK;
    }
    if (IsEqualIID(iid, OvxComponent::IID_IAppUIService) && m_service) {
        *object = m_service;
        return S_OK;
    }
    return E_NOINTERFACE;
}

void FakeHostApp::LockApplication() {
    if (m_lockThrows) throw std::runtime_error("the host is shutting down");
    ++m_lockCount;
}

void FakeHostApp::UnlockApplication() {
    --m_lockCount;
    ++m_unlockCalls;
}

ScopedHostApp::ScopedHostApp(OvxComponent::IOrvexCmn_App* app) { OvxComponent::SetAppInterface(app); }

ScopedHostApp::~ScopedHostApp() { OvxComponent::SetAppInterface(nullptr); }

}  // namespace OvxTest
