// The type libraries of the automation tests: gadget_library.idl and second_library.idl,
// compiled by widl and embedded as TYPELIB resources 1 and 2 of ovx_test_typelibs.dll.
#pragma once

#include "OvxComponent/automation/type_lib_cache_base.h"
#include "OvxComponent/automation/type_lib_map.h"
#include "OvxComponent/automation/type_lib_multi_cache_base.h"
#include "OvxComponent/automation/type_lib_res_loader.h"
#include "OvxComponent/comsupport/com_ptr.h"

#include "gadget_library.h"  // generated

#include <functional>

namespace OvxTest {

using OvxComponent::CComPtr;

// ovx_test_typelibs.dll, loaded once for the process.
HMODULE TypeLibModule();
// Resource index of the test DLL, loaded directly with LoadTypeLibEx.
CComPtr<ITypeLib> LoadTestTypeLib(unsigned int index);
OvxComponent::CTypeLibMap& TypeLibMap();

// The module is the test DLL; the index is left as asked unless a test rewrites it.
using IndexRewrite = std::function<void(unsigned int& index)>;

class TestResLoader : public OvxComponent::CTypeLibResLoader {
public:
    explicit TestResLoader(IndexRewrite rewrite = {}) : m_rewrite(std::move(rewrite)) {}
    HINSTANCE GetResourceInstance(unsigned int& index) const override;

private:
    IndexRewrite m_rewrite;
};

class TestLibCache : public OvxComponent::CTypeLibCacheBase {
public:
    HINSTANCE GetResourceInstance(unsigned int&) const override { return TypeLibModule(); }
};

class TestMultiCache : public OvxComponent::CTypeLibMultiCacheBase {
public:
    explicit TestMultiCache(IndexRewrite rewrite = {}) : m_rewrite(std::move(rewrite)) {}
    HINSTANCE GetResourceInstance(unsigned int& index) const override;

private:
    IndexRewrite m_rewrite;
};

}  // namespace OvxTest
