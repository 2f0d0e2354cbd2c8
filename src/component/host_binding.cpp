// The host binding values. They are written at start-up, before other threads run, and
// read from any thread afterwards; atomics keep those reads well defined at no cost.
#include "OvxComponent/component/host_binding.h"

#include "comsupport/module_state.h"

#include <windows.h>

#include <atomic>

namespace OvxComponent {
namespace {

std::atomic<IOrvexCmn_App*> g_app{nullptr};
std::atomic<DWORD> g_mainThreadId{0};  // no thread has id 0
std::atomic<CWinApp*> g_winApp{nullptr};

}  // namespace

void SetAppInterface(IOrvexCmn_App* app) {
    g_app.store(app, std::memory_order_release);
    g_mainThreadId.store(GetCurrentThreadId(), std::memory_order_release);
}

IOrvexCmn_App* GetAppInterface() { return g_app.load(std::memory_order_acquire); }

void SetWinApp(CWinApp* app) { g_winApp.store(app, std::memory_order_release); }

CWinApp* GetWinApp() {
    if (CWinApp* app = g_winApp.load(std::memory_order_acquire)) return app;
    return AfxGetModuleState()->m_pCurrentWinApp;
}

bool IsOnMainThread() { return GetCurrentThreadId() == g_mainThreadId.load(std::memory_order_acquire); }

}  // namespace OvxComponent
