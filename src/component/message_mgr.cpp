// MessageMgr: choosing who presents a message, and formatting it.
#include "OvxComponent/component/message_mgr.h"

#include "OvxComponent/component/app_ui_mode.h"
#include "OvxComponent/component/host_binding.h"
#include "OvxComponent/component/host_ui_service.h"
#include "OvxComponent/comsupport/win_app.h"
#include "OvxComponent/comsupport/wnd.h"
#include "OvxComponent/platform/cstring.h"

#include <windows.h>

#include <cstdarg>
#include <memory>

namespace OvxComponent::MessageMgr {
namespace {

struct ExtraStrings {
    const wchar_t* first = nullptr;
    const wchar_t* second = nullptr;
    const wchar_t* third = nullptr;
};

// What a user would most likely answer, by the button set in the low four bits of type.
int AutomaticAnswer(unsigned int type) {
    switch (type & MB_TYPEMASK) {
    case MB_ABORTRETRYIGNORE: return IDIGNORE;
    case MB_YESNOCANCEL:
    case MB_YESNO: return IDYES;
    case MB_RETRYCANCEL: return IDCANCEL;
    default: return IDOK;  // OK, OK/Cancel and every other set
    }
}

int Present(const wchar_t* text, const ExtraStrings& extra, unsigned int type) {
    CString caption;
    HWND owner = nullptr;
    if (IOrvexCmn_App* app = GetAppInterface()) {
        if (IAppUIService* service = FindHostUIService(app))
            return service->ShowMessageBox(text, extra.first, type, extra.second, extra.third);
        IAppUIMode* mode = app->GetUIMode();
        if (mode && mode->SuppressesDialogs()) return AutomaticAnswer(type);
        caption = app->GetApplicationTitle();
        if (CWnd* window = app->GetMainWindow()) owner = window->GetSafeHwnd();
    } else if (CWinApp* winApp = GetWinApp()) {
        caption = CString(winApp->m_pszAppName);
    }
    return MessageBoxW(owner, text, caption.GetString(), type);
}

struct LocalFreeDeleter {
    void operator()(wchar_t* buffer) const { LocalFree(buffer); }
};

CString FormatInserts(const wchar_t* format, va_list args) {
    if (!format || !*format) return CString();
    wchar_t* buffer = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER, format, 0, 0,
                       reinterpret_cast<wchar_t*>(&buffer), 0, &args);
    const std::unique_ptr<wchar_t, LocalFreeDeleter> owner(buffer);
    if (length == 0) return CString(format);
    return CString(buffer, static_cast<int>(length));
}

int FormatAndPresent(unsigned int type, const wchar_t* format, va_list args) {
    const CString text = FormatInserts(format, args);
    return Present(text.GetString(), {}, type);
}

}  // namespace

void ShowMessage(const wchar_t* text) { Present(text, {}, MB_ICONINFORMATION); }

void ShowWarning(const wchar_t* text) { Present(text, {}, MB_ICONWARNING); }

void ShowWarning(const wchar_t* text, const wchar_t* extra1, const wchar_t* extra2, const wchar_t* extra3) {
    Present(text, {extra1, extra2, extra3}, MB_ICONWARNING);
}

void ShowError(const wchar_t* text) { Present(text, {}, MB_ICONERROR); }

int ShowConfirmation(unsigned int type, const wchar_t* text) { return Present(text, {}, type); }

void FormatAndShowMessage(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    FormatAndPresent(MB_ICONINFORMATION, format, args);
    va_end(args);
}

void FormatAndShowWarning(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    FormatAndPresent(MB_ICONWARNING, format, args);
    va_end(args);
}

void FormatAndShowError(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    FormatAndPresent(MB_ICONERROR, format, args);
    va_end(args);
}

int FormatAndShowConfirmation(unsigned int type, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const int result = FormatAndPresent(type, format, args);
    va_end(args);
    return result;
}

}  // namespace OvxComponent::MessageMgr
