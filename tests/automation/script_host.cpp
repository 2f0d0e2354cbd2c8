// ScriptHost.
#include "script_host.h"

#include "OvxComponent/comsupport/scoped_bstr.h"

namespace OvxTest {
namespace {

using OvxComponent::ScopedBstr;

// {B54F3741-5B07-11CF-A4B0-00AA004A55E8}
constexpr CLSID kVBScript = {0xB54F3741, 0x5B07, 0x11CF, {0xA4, 0xB0, 0x00, 0xAA, 0x00, 0x4A, 0x55, 0xE8}};
// Frees the strings of an EXCEPINFO and returns its description.
std::wstring TakeDescription(EXCEPINFO& exception) {
    ScopedBstr::Adopt(exception.bstrSource);
    ScopedBstr::Adopt(exception.bstrHelpFile);
    return std::wstring(ScopedBstr::Adopt(exception.bstrDescription).View());
}

// IActiveScriptParse of 64-bit engines; MinGW's uuid library lacks it.
// {C7EF7658-E1EE-480E-97EA-D52CB4D76D17}
constexpr IID kActiveScriptParse = {0xC7EF7658, 0xE1EE, 0x480E, {0x97, 0xEA, 0xD5, 0x2C, 0xB4, 0xD7, 0x6D, 0x17}};

}  // namespace

ScriptHost::ScriptHost() {
    HRESULT hr = CoCreateInstance(kVBScript, nullptr, CLSCTX_INPROC_SERVER, IID_IActiveScript, m_engine.put_void());
    if (SUCCEEDED(hr)) hr = m_engine.QueryInterface(kActiveScriptParse, m_parser);
    if (SUCCEEDED(hr)) hr = m_engine->SetScriptSite(this);
    if (SUCCEEDED(hr)) hr = m_parser->InitNew();
    // Started, statements run as they are parsed, not when the engine is connected.
    if (SUCCEEDED(hr)) hr = m_engine->SetScriptState(SCRIPTSTATE_STARTED);
    m_startResult = hr;
}

ScriptHost::~ScriptHost() {
    if (m_engine) m_engine->Close();
}

HRESULT ScriptHost::AddObject(const std::wstring& name, IDispatch* object) {
    m_objects[name] = OvxComponent::CComPtr<IDispatch>(object);
    return m_engine->AddNamedItem(name.c_str(), SCRIPTITEM_ISVISIBLE);
}

HRESULT ScriptHost::Run(const wchar_t* statements) { return Parse(statements, 0, nullptr); }

HRESULT ScriptHost::Evaluate(const wchar_t* expression, OvxComponent::ScopedVariant& result) {
    return Parse(expression, SCRIPTTEXT_ISEXPRESSION, result.put());
}

HRESULT ScriptHost::Parse(const wchar_t* code, DWORD flags, VARIANT* result) {
    m_lastError.clear();
    EXCEPINFO exception{};
    const HRESULT hr = m_parser->ParseScriptText(code, nullptr, nullptr, nullptr, 0, 0, flags, result, &exception);
    TakeDescription(exception);  // the error itself was reported to OnScriptError
    return hr;
}

HRESULT ScriptHost::QueryInterface(REFIID iid, void** object) {
    if (!object) return E_POINTER;
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IActiveScriptSite)) {
        *object = static_cast<IActiveScriptSite*>(this);
        return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
}

HRESULT ScriptHost::GetItemInfo(LPCOLESTR name, DWORD mask, IUnknown** item, ITypeInfo** info) {
    const auto found = m_objects.find(name);
    if (found == m_objects.end()) return TYPE_E_ELEMENTNOTFOUND;
    if (mask & SCRIPTINFO_IUNKNOWN) {
        *item = found->second.get();
        (*item)->AddRef();
    }
    if (mask & SCRIPTINFO_ITYPEINFO) return found->second->GetTypeInfo(0, 0, info);
    return S_OK;
}

HRESULT ScriptHost::OnScriptError(IActiveScriptError* error) {
    EXCEPINFO exception{};
    DWORD context = 0;
    ULONG line = 0;
    LONG column = 0;
    error->GetExceptionInfo(&exception);
    error->GetSourcePosition(&context, &line, &column);
    m_lastError = L"line " + std::to_wstring(line + 1) + L": " + TakeDescription(exception) + L" (" +
                  std::to_wstring(static_cast<unsigned long>(exception.scode)) + L")";
    return S_OK;
}

}  // namespace OvxTest
