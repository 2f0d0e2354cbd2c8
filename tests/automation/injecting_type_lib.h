// InjectingTypeLib: an ITypeLib over a real one that counts calls and injects the failures
// real libraries never show: a GetTypeInfoOfGuid that fails, a list of types with
// duplicate names whose first match cannot be opened. It lives in the test and never
// deletes itself; References() tells whether the code under test gave back what it took.
#pragma once

#include "injecting_type_info.h"

#include "OvxComponent/comsupport/com_ptr.h"

#include <oaidl.h>

#include <optional>
#include <string>
#include <vector>

namespace OvxTest {

class InjectingTypeLib : public ITypeLib {
public:
    // A type as the library lists it; realIndex names the real type GetTypeInfo opens,
    // and a negative one makes GetTypeInfo fail.
    struct Entry {
        TYPEKIND kind;
        std::wstring name;
        int realIndex;
    };

    explicit InjectingTypeLib(OvxComponent::CComPtr<ITypeLib> real) : m_real(std::move(real)) {}

    ULONG References() const { return m_references; }
    int m_typeInfoCountCalls = 0;
    int m_typeInfoOfGuidCalls = 0;
    HRESULT m_typeInfoOfGuidResult = S_OK;  // a failure here is returned by GetTypeInfoOfGuid
    // Set: GetTypeInfoOfGuid hands out this wrapper instead of the real type info.
    InjectingTypeInfo* m_typeInfoOfGuid = nullptr;
    // Set: the library lists these types instead of its own.
    std::optional<std::vector<Entry>> m_entries;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override { return --m_references; }

    STDMETHODIMP_(UINT) GetTypeInfoCount() override;
    STDMETHODIMP GetTypeInfo(UINT index, ITypeInfo** info) override;
    STDMETHODIMP GetTypeInfoType(UINT index, TYPEKIND* kind) override;
    STDMETHODIMP GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** info) override;
    STDMETHODIMP GetLibAttr(TLIBATTR** attr) override { return m_real->GetLibAttr(attr); }
    STDMETHODIMP GetTypeComp(ITypeComp** comp) override { return m_real->GetTypeComp(comp); }
    STDMETHODIMP GetDocumentation(INT index, BSTR* name, BSTR* doc, DWORD* context, BSTR* file) override;
    STDMETHODIMP IsName(LPOLESTR name, ULONG hash, BOOL* found) override { return m_real->IsName(name, hash, found); }
    STDMETHODIMP FindName(LPOLESTR name, ULONG hash, ITypeInfo** infos, MEMBERID* ids, USHORT* found) override {
        return m_real->FindName(name, hash, infos, ids, found);
    }
    STDMETHODIMP_(void) ReleaseTLibAttr(TLIBATTR* attr) override { m_real->ReleaseTLibAttr(attr); }

private:
    OvxComponent::CComPtr<ITypeLib> m_real;
    ULONG m_references = 0;
};

}  // namespace OvxTest
