// CTypeLibResLoader: loading a type library from a module's resources.
#include "OvxComponent/automation/type_lib_res_loader.h"

#include "OvxComponent/automation/type_lib.h"
#include "OvxComponent/automation/type_lib_map.h"
#include "OvxComponent/comsupport/com_ptr.h"

#include <windows.h>
#include <oleauto.h>

#include <string>
#include <vector>

namespace OvxComponent {
namespace {

// The module's file path; empty when the system cannot tell.
std::wstring ModulePath(HINSTANCE module) {
    std::vector<wchar_t> buffer(MAX_PATH);
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) return std::wstring();
        if (length < buffer.size()) return std::wstring(buffer.data(), length);
        buffer.resize(buffer.size() * 2);  // truncated
    }
}

}  // namespace

HRESULT CTypeLibResLoader::LoadTypeLibFromResource(HINSTANCE module, unsigned int index, CTypeLib** result) {
    if (!module) return E_FAIL;
    if (!result) return E_POINTER;
    try {
        std::wstring path = ModulePath(module);
        if (path.empty()) return HRESULT_FROM_WIN32(GetLastError());
        if (index != 0) path += L'\\' + std::to_wstring(index);
        CComPtr<ITypeLib> typeLib;
        const HRESULT hr = LoadTypeLibEx(path.c_str(), REGKIND_NONE, typeLib.put());
        if (SUCCEEDED(hr)) *result = OvxUtils::Singleton<CTypeLibMap>::GetInstance().GetMapEntry(typeLib.get());
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT CTypeLibResLoader::GetTypeLib(CTypeLib** result) const {
    unsigned int index = 0;
    const HINSTANCE module = GetResourceInstance(index);
    return LoadTypeLibFromResource(module, index, result);
}

}  // namespace OvxComponent
