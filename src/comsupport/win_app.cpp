// CWinApp: the application object whose name captions message boxes shown without a host.
#include "OvxComponent/comsupport/win_app.h"

#include <windows.h>

#include <algorithm>
#include <vector>

namespace OvxComponent {
namespace {

CString ProgramName() {
    std::vector<wchar_t> path(MAX_PATH);
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) return CString();
        if (length < path.size()) {
            CString name(path.data(), static_cast<int>(length));
            name = name.Mid(std::max(name.ReverseFind(L'\\'), name.ReverseFind(L'/')) + 1);
            const int dot = name.ReverseFind(L'.');
            return dot > 0 ? name.Left(dot) : name;
        }
        path.resize(path.size() * 2);
    }
}

}  // namespace

CWinApp::CWinApp(const wchar_t* appName)
    : m_pszAppName(nullptr), m_appName(appName ? CString(appName) : ProgramName()) {
    m_pszAppName = m_appName.GetString();
}

CWinApp::~CWinApp() = default;

}  // namespace OvxComponent
