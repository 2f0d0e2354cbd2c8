// The library's module state and its own application object.
#include "comsupport/module_state.h"

#include "OvxComponent/comsupport/win_app.h"

namespace OvxComponent {
namespace {

CWinApp g_libraryApp(L"OvxComponent");
constinit ModuleState g_moduleState{&g_libraryApp};

}  // namespace

ModuleState* AfxGetModuleState() { return &g_moduleState; }

}  // namespace OvxComponent
