// ovx_script_gadget.dll: an in-process COM server of the automation tests, for a real
// script client. Its gadget forwards IDispatch to the dispatch holder (CTypeInfoHolder) and
// hands out its parts through the variant enumerator (CVariantEnum), as a host's
// automation objects do. The script client test registers it for the current user.
#include "test_typelibs.h"

#include "OvxComponent/automation/type_info_holder.h"
#include "OvxComponent/automation/variant_enum.h"
#include "OvxComponent/comsupport/scoped_bstr.h"

#include <atomic>
#include <string>

namespace {

using namespace OvxComponent;

// The error the gadget raises for a negative scale, as a script sees it in Err.Number.
constexpr HRESULT kNegativeScale = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, 0x201);

OvxTest::TestLibCache& Loader() {
    static OvxTest::TestLibCache loader;
    return loader;
}

// IUnknown and IDispatch over a holder for the interface Interface.
template <class Interface>
class Dispatched : public Interface {
public:
    explicit Dispatched(const IID& iid) : m_iid(iid), m_dispatch(&Loader(), iid) {}
    virtual ~Dispatched() = default;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (iid != IID_IUnknown && iid != IID_IDispatch && iid != m_iid) return *object = nullptr, E_NOINTERFACE;
        *object = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override { return m_dispatch.GetTypeInfoCount(count); }
    STDMETHODIMP GetTypeInfo(UINT, LCID lcid, ITypeInfo** info) override { return m_dispatch.GetTypeInfo(lcid, info); }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids) override {
        return m_dispatch.GetIDsOfNames(names, count, lcid, ids);
    }
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
                        EXCEPINFO* excepInfo, UINT* argErr) override {
        return m_dispatch.Invoke(this, id, lcid, flags, params, result, excepInfo, argErr);
    }

private:
    const IID m_iid;
    std::atomic<ULONG> m_references = 0;
    CTypeInfoHolder m_dispatch;
};

class Parts final : public Dispatched<IGadgetParts> {
public:
    Parts() : Dispatched(IID_IGadgetParts) {}
    STDMETHODIMP get__NewEnum(IUnknown** items) override {
        CVariantEnum* enumerator = CVariantEnum::CreateObjectInstance();
        if (!enumerator) return E_OUTOFMEMORY;
        for (const wchar_t* name : {L"wheel", L"lever", L"spring"}) {
            VARIANT item{};
            item.vt = VT_BSTR;
            item.bstrVal = SysAllocString(name);
            enumerator->AddVariant(item, false);
        }
        *items = enumerator;  // its one reference goes to the caller
        return S_OK;
    }
    STDMETHODIMP get_Count(LONG* count) override { return *count = 3, S_OK; }
};

class Gadget final : public Dispatched<IGadget> {
public:
    Gadget() : Dispatched(IID_IGadget) {}
    STDMETHODIMP get_Title(BSTR* value) override { return *value = ScopedBstr(m_title).detach(), S_OK; }
    STDMETHODIMP put_Title(BSTR value) override { return m_title = value, S_OK; }
    STDMETHODIMP Scale(LONG value, LONG factor, LONG* result) override {
        if (value < 0) return kNegativeScale;
        return *result = value * factor, S_OK;
    }
    STDMETHODIMP get_Parts(IGadgetParts** parts) override { return (new Parts)->QueryInterface(IID_IGadgetParts, reinterpret_cast<void**>(parts)); }

private:
    std::wstring m_title = L"Pump";
};

class Factory final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (iid != IID_IUnknown && iid != IID_IClassFactory) return *object = nullptr, E_NOINTERFACE;
        return *object = this, S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
        if (outer) return CLASS_E_NOAGGREGATION;
        auto* gadget = new Gadget;
        gadget->AddRef();
        const HRESULT hr = gadget->QueryInterface(iid, object);
        gadget->Release();
        return hr;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

}  // namespace

extern "C" __declspec(dllexport) HRESULT __stdcall DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    static Factory factory;
    if (clsid != CLSID_MyClass) return CLASS_E_CLASSNOTAVAILABLE;
    return factory.QueryInterface(iid, object);
}

extern "C" __declspec(dllexport) HRESULT __stdcall DllCanUnloadNow() { return S_FALSE; }
