// ModuleState: what the library knows about its own module: the application object that
// is current in it. AfxGetModuleState() returns the library's state, which exists from
// the moment the library is loaded, with the library's own application object as the
// current one. Internal to OvxComponent.
#pragma once

namespace OvxComponent {

class CWinApp;

struct ModuleState {
    CWinApp* m_pCurrentWinApp = nullptr;
};

ModuleState* AfxGetModuleState();

}  // namespace OvxComponent
