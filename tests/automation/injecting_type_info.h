// InjectingTypeInfo: an ITypeInfo over a real one that counts the calls that matter to the
// name cache. It lives in the test and never deletes
// itself; References() tells whether the code under test gave back what it took.
#pragma once

#include "OvxComponent/comsupport/com_ptr.h"

#include <oaidl.h>

namespace OvxTest {

class InjectingTypeInfo : public ITypeInfo {
public:
    explicit InjectingTypeInfo(OvxComponent::CComPtr<ITypeInfo> real) : m_real(std::move(real)) {}

    ULONG References() const { return m_references; }
    int m_getIDsOfNamesCalls = 0;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        if (!object) return E_POINTER;
        *object = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_ITypeInfo) ? static_cast<ITypeInfo*>(this) : nullptr;
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override { return --m_references; }

    STDMETHODIMP GetTypeAttr(TYPEATTR** attr) override { return m_real->GetTypeAttr(attr); }
    STDMETHODIMP GetTypeComp(ITypeComp** comp) override { return m_real->GetTypeComp(comp); }
    STDMETHODIMP GetFuncDesc(UINT index, FUNCDESC** desc) override { return m_real->GetFuncDesc(index, desc); }
    STDMETHODIMP GetVarDesc(UINT index, VARDESC** desc) override { return m_real->GetVarDesc(index, desc); }
    STDMETHODIMP GetNames(MEMBERID id, BSTR* names, UINT max, UINT* count) override {
        return m_real->GetNames(id, names, max, count);
    }
    STDMETHODIMP GetRefTypeOfImplType(UINT index, HREFTYPE* ref) override {
        return m_real->GetRefTypeOfImplType(index, ref);
    }
    STDMETHODIMP GetImplTypeFlags(UINT index, INT* flags) override { return m_real->GetImplTypeFlags(index, flags); }
    STDMETHODIMP GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) override {
        ++m_getIDsOfNamesCalls;
        return m_real->GetIDsOfNames(names, count, ids);
    }
    STDMETHODIMP Invoke(PVOID instance, MEMBERID id, WORD flags, DISPPARAMS* params, VARIANT* result,
                        EXCEPINFO* excepInfo, UINT* argErr) override {
        return m_real->Invoke(instance, id, flags, params, result, excepInfo, argErr);
    }
    STDMETHODIMP GetDocumentation(MEMBERID id, BSTR* name, BSTR* doc, DWORD* context, BSTR* file) override {
        return m_real->GetDocumentation(id, name, doc, context, file);
    }
    STDMETHODIMP GetDllEntry(MEMBERID id, INVOKEKIND kind, BSTR* dll, BSTR* name, WORD* ordinal) override {
        return m_real->GetDllEntry(id, kind, dll, name, ordinal);
    }
    STDMETHODIMP GetRefTypeInfo(HREFTYPE ref, ITypeInfo** info) override { return m_real->GetRefTypeInfo(ref, info); }
    STDMETHODIMP AddressOfMember(MEMBERID id, INVOKEKIND kind, PVOID* address) override {
        return m_real->AddressOfMember(id, kind, address);
    }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, PVOID* object) override {
        return m_real->CreateInstance(outer, iid, object);
    }
    STDMETHODIMP GetMops(MEMBERID id, BSTR* mops) override { return m_real->GetMops(id, mops); }
    STDMETHODIMP GetContainingTypeLib(ITypeLib** lib, UINT* index) override {
        return m_real->GetContainingTypeLib(lib, index);
    }
    STDMETHODIMP_(void) ReleaseTypeAttr(TYPEATTR* attr) override { m_real->ReleaseTypeAttr(attr); }
    STDMETHODIMP_(void) ReleaseFuncDesc(FUNCDESC* desc) override { m_real->ReleaseFuncDesc(desc); }
    STDMETHODIMP_(void) ReleaseVarDesc(VARDESC* desc) override { m_real->ReleaseVarDesc(desc); }

private:
    OvxComponent::CComPtr<ITypeInfo> m_real;
    ULONG m_references = 0;
};

}  // namespace OvxTest
