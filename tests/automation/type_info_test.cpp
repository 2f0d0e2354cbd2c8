// CTypeInfo's name cache and CTypeInfoHolder, on type infos of the real test library, and
// an automation object that forwards its IDispatch to a holder, as a host writes one.
// An injecting type info counts the calls that reach ITypeInfo::GetIDsOfNames, so that a
// test can tell an answer from the cache from one of the type info.
#include "injecting_type_info.h"
#include "test_typelibs.h"

#include "OvxComponent/automation/type_info.h"
#include "OvxComponent/automation/type_info_holder.h"
#include "OvxComponent/automation/type_lib.h"
#include "OvxComponent/comsupport/scoped_bstr.h"
#include "OvxComponent/comsupport/scoped_variant.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace OvxComponent;
using namespace OvxTest;

// DISPIDs of names as GetIDsOfNames gives them, or its failure.
struct Lookup {
    HRESULT result;
    std::vector<DISPID> ids;
};

template <class Dispatcher>
Lookup IdsOf(Dispatcher& dispatcher, std::vector<std::wstring> names) {
    std::vector<wchar_t*> pointers;
    for (std::wstring& name : names) pointers.push_back(name.data());
    Lookup lookup{S_OK, std::vector<DISPID>(names.size(), DISPID_UNKNOWN)};
    lookup.result = dispatcher.GetIDsOfNames(pointers.data(), static_cast<unsigned int>(pointers.size()), 0,
                                             lookup.ids.data());
    return lookup;
}

// Each name is looked up twice in a CTypeInfo over a wrapper of the real type info that
// counts the calls reaching ITypeInfo::GetIDsOfNames: the cache answers single names of
// functions; named arguments, misses and names only a variable bears go to the type info
// every time.
TEST(NameCache, AnswersSingleFunctionNamesAndLeavesTheRestToTheTypeInfo) {
    struct Case {
        const GUID* iid;
        std::vector<std::wstring> names;
        HRESULT result;
        std::vector<DISPID> ids;
        int typeInfoCallsEach;
    } cases[] = {
        {&IID_IGadget, {L"TITLE"}, S_OK, {1}, 0},  // the get and put functions, one entry
        {&IID_IGadget, {L"sCaLe"}, S_OK, {2}, 0},
        {&IID_IGadget, {L"scale", L"FACTOR"}, S_OK, {2, 1}, 1},
        {&IID_IGadget, {L"Nothing"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}, 1},
        {&DIID_DGadgetState, {L"refresh"}, S_OK, {11}, 0},
        {&DIID_DGadgetState, {L"LEVEL"}, S_OK, {10}, 1},
    };
    CComPtr<ITypeLib> lib = LoadTestTypeLib(1);
    for (const Case& c : cases) {
        CComPtr<ITypeInfo> real;
        ASSERT_EQ(lib->GetTypeInfoOfGuid(*c.iid, real.put()), S_OK);
        InjectingTypeInfo wrapper(real);
        CTypeInfo* info = new CTypeInfo(*c.iid, &wrapper, nullptr);
        info->AddRef();
        for (int round = 0; round < 2; ++round) {
            const Lookup lookup = IdsOf(*info, c.names);
            EXPECT_EQ(lookup.result, c.result) << c.names[0];
            EXPECT_EQ(lookup.ids, c.ids) << c.names[0];
        }
        EXPECT_EQ(wrapper.m_getIDsOfNamesCalls, 2 * c.typeInfoCallsEach) << c.names[0];
        EXPECT_EQ(info->GetIDsOfNames(nullptr, 1, 0, nullptr), E_POINTER);
        info->Release();
        EXPECT_EQ(wrapper.References(), 0u);
    }
}

TEST(CTypeInfoWithoutTypeInfo, CannotInvokeOrLookUpBeyondTheCache) {
    CTypeInfo* info = new CTypeInfo(IID_IGadget, nullptr, nullptr);
    info->AddRef();
    ITypeInfo* typeInfo = reinterpret_cast<ITypeInfo*>(1);
    EXPECT_EQ(info->GetTypeInfo(0, &typeInfo), S_OK);
    EXPECT_EQ(typeInfo, nullptr);
    EXPECT_EQ(IdsOf(*info, {L"Title"}).result, E_FAIL);
    EXPECT_EQ(info->Invoke(nullptr, 1, 0, DISPATCH_PROPERTYGET, nullptr, nullptr, nullptr, nullptr), E_FAIL);
    info->Release();
}

// A loader that fails with a set HRESULT and counts its calls.
class FailingLoader : public ITypeLibLoader {
public:
    explicit FailingLoader(HRESULT failure) : m_failure(failure) {}
    HRESULT GetTypeLib(CTypeLib**) const override {
        ++m_calls;
        return m_failure;
    }
    mutable int m_calls = 0;

private:
    HRESULT m_failure;
};

TEST(TypeInfoHolder, HoldersOfOneInterfaceShareOneTypeInfo) {
    TestLibCache loader;
    ITypeInfo* first = nullptr;
    ITypeInfo* second = nullptr;
    {
        CTypeInfoHolder one(&loader, IID_IGadget);
        CTypeInfoHolder two(&loader, IID_IGadget);
        ASSERT_EQ(one.GetTypeInfo(0, &first), S_OK);
        ASSERT_EQ(two.GetTypeInfo(0, &second), S_OK);
        EXPECT_EQ(first, second);
        CTypeLib* lib = nullptr;
        ASSERT_EQ(loader.GetTypeLib(&lib), S_OK);
        CTypeInfo* shared = nullptr;
        ASSERT_EQ(lib->GetTypeInfo(IID_IGadget, &shared), S_OK);
        EXPECT_EQ(shared->GetRefCount(), 3u);  // both holders' and this test's
        shared->Release();
        lib->Release();
        EXPECT_EQ(IdsOf(one, {L"PARTS"}).ids[0], 3);
    }
    first->Release();
    second->Release();
    EXPECT_EQ(TypeLibMap().GetEntryCount(), 1u);  // only the loader's cache holds the library
}

// IDispatch forwarded to a holder; it lives on the test's stack.
class Gadget final : public IGadget {
public:
    explicit Gadget(ITypeLibLoader* loader) : m_dispatch(loader, IID_IGadget) {}

    STDMETHODIMP QueryInterface(REFIID, void** object) override { return *object = this, S_OK; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override { return m_dispatch.GetTypeInfoCount(count); }
    STDMETHODIMP GetTypeInfo(UINT, LCID lcid, ITypeInfo** info) override { return m_dispatch.GetTypeInfo(lcid, info); }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids) override {
        return m_dispatch.GetIDsOfNames(names, count, lcid, ids);
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
                        EXCEPINFO* excepInfo, UINT* argErr) override {
        return m_dispatch.Invoke(this, id, lcid, flags, params, result, excepInfo, argErr);
    }

    STDMETHODIMP get_Title(BSTR* value) override { return *value = ScopedBstr(m_title).detach(), S_OK; }
    STDMETHODIMP put_Title(BSTR value) override { return m_title = value, S_OK; }
    STDMETHODIMP Scale(LONG value, LONG factor, LONG* result) override { return *result = value * factor, S_OK; }
    STDMETHODIMP get_Parts(IGadgetParts**) override { return E_NOTIMPL; }

    std::wstring m_title = L"Pump";

private:
    CTypeInfoHolder m_dispatch;
};

// What a script client does: a name to its DISPID, then Invoke, which reaches the object's
// own methods with the arguments in place and an optional one at its default.
TEST(TypeInfoHolder, InvokeReachesTheObjectsOwnMethods) {
    TestLibCache loader;
    Gadget gadget(&loader);
    wchar_t name[] = L"title";
    LPOLESTR names[] = {name};
    DISPID id = 0;
    ASSERT_EQ(gadget.GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK);
    ASSERT_EQ(id, 1);
    ScopedVariant value;
    DISPPARAMS none{};
    ASSERT_EQ(gadget.Invoke(1, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, value.put(), nullptr, nullptr), S_OK);
    EXPECT_EQ(std::wstring(value.get()->bstrVal), L"Pump");

    ScopedBstr title(L"Valve");
    VARIANT argument{};
    argument.vt = VT_BSTR;
    argument.bstrVal = title.get();
    DISPID named = DISPID_PROPERTYPUT;
    DISPPARAMS put{&argument, &named, 1, 1};
    ASSERT_EQ(gadget.Invoke(1, IID_NULL, 0, DISPATCH_PROPERTYPUT, &put, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(gadget.m_title, L"Valve");

    argument.vt = VT_I4;
    argument.lVal = 7;
    DISPPARAMS one{&argument, nullptr, 1, 0};
    ASSERT_EQ(gadget.Invoke(2, IID_NULL, 0, DISPATCH_METHOD, &one, value.put(), nullptr, nullptr), S_OK);
    EXPECT_EQ(value.get()->lVal, 7);  // times the factor's default, 1
}

TEST(TypeInfoHolder, FailuresAreReturnedAndRetriedOnEveryCall) {
    FailingLoader loader(E_ACCESSDENIED);
    CTypeInfoHolder holder(&loader, IID_IGadget);
    unsigned int count = 0;
    EXPECT_EQ(holder.GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(holder.GetTypeInfoCount(nullptr), E_POINTER);
    EXPECT_EQ(loader.m_calls, 0);

    EXPECT_EQ(holder.GetTypeInfo(0, nullptr), E_ACCESSDENIED);  // loading comes first
    EXPECT_EQ(IdsOf(holder, {L"Title"}).result, E_ACCESSDENIED);
    EXPECT_EQ(holder.Invoke(nullptr, 1, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), E_ACCESSDENIED);
    EXPECT_EQ(loader.m_calls, 3);

    TestLibCache library;
    CTypeInfoHolder unknown(&library, GUID{0x1234, 0, 0, {}});
    for (int i = 0; i < 2; ++i) EXPECT_EQ(IdsOf(unknown, {L"Title"}).result, TYPE_E_ELEMENTNOTFOUND);
}

}  // namespace
