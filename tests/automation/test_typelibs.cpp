// Loading the test type libraries; also defines the GUIDs of the generated header.
#include <initguid.h>

#include "test_typelibs.h"

#include "second_library.h"  // generated

#include <string>

namespace OvxTest {

HMODULE TypeLibModule() {
    static const HMODULE module = LoadLibraryW(L"ovx_test_typelibs.dll");
    return module;
}

CComPtr<ITypeLib> LoadTestTypeLib(unsigned int index) {
    wchar_t path[MAX_PATH];
    const DWORD length = GetModuleFileNameW(TypeLibModule(), path, MAX_PATH);
    std::wstring resource(path, length);
    resource += L'\\' + std::to_wstring(index);
    CComPtr<ITypeLib> typeLib;
    LoadTypeLibEx(resource.c_str(), REGKIND_NONE, typeLib.put());
    return typeLib;
}

OvxComponent::CTypeLibMap& TypeLibMap() { return OvxUtils::Singleton<OvxComponent::CTypeLibMap>::GetInstance(); }

HINSTANCE TestResLoader::GetResourceInstance(unsigned int& index) const {
    if (m_rewrite) m_rewrite(index);
    return TypeLibModule();
}

HINSTANCE TestMultiCache::GetResourceInstance(unsigned int& index) const {
    if (m_rewrite) m_rewrite(index);
    return TypeLibModule();
}

}  // namespace OvxTest
