// ScriptHost: runs VBScript through the system's script engine (IActiveScript) against
// objects the test names, as an automation client of a host application would.
//
// Script errors are recorded, not shown. Use on one thread with COM initialised as a
// single-threaded apartment.
#pragma once

#include "OvxComponent/comsupport/com_ptr.h"
#include "OvxComponent/comsupport/scoped_variant.h"

#include <activscp.h>

#include <map>
#include <string>

namespace OvxTest {

class ScriptHost final : public IActiveScriptSite {
public:
    ScriptHost();
    ~ScriptHost();
    ScriptHost(const ScriptHost&) = delete;
    ScriptHost& operator=(const ScriptHost&) = delete;

    // S_OK when the engine was created and started; a script is run only then.
    HRESULT StartResult() const { return m_startResult; }
    // Makes object visible to scripts under name.
    HRESULT AddObject(const std::wstring& name, IDispatch* object);
    // Runs statements; on failure LastError() describes the script error.
    HRESULT Run(const wchar_t* statements);
    // Evaluates an expression into result.
    HRESULT Evaluate(const wchar_t* expression, OvxComponent::ScopedVariant& result);
    const std::wstring& LastError() const { return m_lastError; }

    // IActiveScriptSite; the object lives on the test's stack, so counts are not kept.
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetLCID(LCID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetItemInfo(LPCOLESTR name, DWORD mask, IUnknown** item, ITypeInfo** info) override;
    STDMETHODIMP GetDocVersionString(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP OnScriptTerminate(const VARIANT*, const EXCEPINFO*) override { return S_OK; }
    STDMETHODIMP OnStateChange(SCRIPTSTATE) override { return S_OK; }
    STDMETHODIMP OnScriptError(IActiveScriptError* error) override;
    STDMETHODIMP OnEnterScript() override { return S_OK; }
    STDMETHODIMP OnLeaveScript() override { return S_OK; }

private:
    HRESULT Parse(const wchar_t* code, DWORD flags, VARIANT* result);

    OvxComponent::CComPtr<IActiveScript> m_engine;
    OvxComponent::CComPtr<IActiveScriptParse> m_parser;
    std::map<std::wstring, OvxComponent::CComPtr<IDispatch>> m_objects;
    HRESULT m_startResult = E_FAIL;
    std::wstring m_lastError;
};

}  // namespace OvxTest
