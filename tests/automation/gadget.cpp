// Gadget and its collection of parts.
#include "gadget.h"

#include "OvxComponent/automation/variant_enum.h"
#include "OvxComponent/comsupport/scoped_bstr.h"

#include <utility>

namespace OvxTest {
namespace {

using OvxComponent::CComPtr;
using OvxComponent::CTypeInfoHolder;
using OvxComponent::CVariantEnum;
using OvxComponent::ITypeLibLoader;
using OvxComponent::ScopedBstr;

// The counting and IDispatch forwarding shared by both classes. Interface is a dual
// interface; its own methods are the derived class's.
template <class Interface>
class AutomationObject : public Interface {
public:
    AutomationObject(ITypeLibLoader* loader, const IID& iid) : m_iid(iid), m_dispatch(loader, iid) {}
    virtual ~AutomationObject() = default;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, m_iid)) {
            *object = static_cast<Interface*>(this);
            this->AddRef();
            return S_OK;
        }
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG count = --m_references;
        if (count == 0) delete this;
        return count;
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
    CTypeInfoHolder m_dispatch;
    ULONG m_references = 0;
};

class GadgetParts final : public AutomationObject<IGadgetParts> {
public:
    GadgetParts(ITypeLibLoader* loader, std::vector<GadgetPart> parts, std::vector<std::wstring> labels)
        : AutomationObject(loader, IID_IGadgetParts), m_parts(std::move(parts)), m_labels(std::move(labels)) {}

    STDMETHODIMP get__NewEnum(IUnknown** items) override {
        if (!items) return E_POINTER;
        *items = nullptr;
        CVariantEnum* enumerator = nullptr;
        const HRESULT hr = CVariantEnum::CreateObjectInstance(&enumerator);
        if (FAILED(hr)) return hr;
        for (const GadgetPart& part : m_parts) enumerator->AddObject(part.get(), true);
        for (const std::wstring& label : m_labels) {
            VARIANT value;
            VariantInit(&value);
            value.vt = VT_BSTR;
            value.bstrVal = SysAllocString(label.c_str());
            enumerator->AddVariant(value, false);  // the enumerator owns the string now
        }
        *items = enumerator;
        return S_OK;
    }
    STDMETHODIMP get_Count(LONG* count) override {
        if (!count) return E_POINTER;
        *count = static_cast<LONG>(m_parts.size() + m_labels.size());
        return S_OK;
    }

private:
    std::vector<GadgetPart> m_parts;
    std::vector<std::wstring> m_labels;
};

class Gadget final : public AutomationObject<IGadget> {
public:
    Gadget(ITypeLibLoader* loader, std::wstring title, std::vector<GadgetPart> parts, std::vector<std::wstring> labels)
        : AutomationObject(loader, IID_IGadget), m_loader(loader), m_title(std::move(title)),
          m_parts(std::move(parts)), m_labels(std::move(labels)) {}

    const std::wstring& Title() const { return m_title; }

    STDMETHODIMP get_Title(BSTR* value) override {
        if (!value) return E_POINTER;
        *value = ScopedBstr(m_title).detach();
        return *value ? S_OK : E_OUTOFMEMORY;
    }
    STDMETHODIMP put_Title(BSTR value) override {
        m_title.assign(value ? value : L"", SysStringLen(value));
        return S_OK;
    }
    STDMETHODIMP Scale(LONG value, LONG factor, LONG* result) override {
        if (!result) return E_POINTER;
        *result = value * factor;
        return S_OK;
    }
    STDMETHODIMP get_Parts(IGadgetParts** parts) override {
        if (!parts) return E_POINTER;
        *parts = new GadgetParts(m_loader, m_parts, m_labels);
        (*parts)->AddRef();
        return S_OK;
    }

private:
    ITypeLibLoader* m_loader;
    std::wstring m_title;
    std::vector<GadgetPart> m_parts;
    std::vector<std::wstring> m_labels;
};

}  // namespace

CComPtr<IGadget> MakeGadget(ITypeLibLoader* loader, std::wstring title, std::vector<GadgetPart> parts,
                            std::vector<std::wstring> labels) {
    return CComPtr<IGadget>(new Gadget(loader, std::move(title), std::move(parts), std::move(labels)));
}

std::wstring GadgetTitle(IGadget* gadget) { return static_cast<Gadget*>(gadget)->Title(); }

}  // namespace OvxTest
