// A real automation client: VBScript, run by the system's script engine, against a
// gadget whose IDispatch is a CTypeInfoHolder over the test type library and whose
// collection hands out a CVariantEnum.
#include "gadget.h"
#include "script_host.h"

#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using namespace OvxTest;

class ScriptClient : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        m_script = std::make_unique<ScriptHost>();
        ASSERT_EQ(m_script->StartResult(), S_OK) << "the VBScript engine is not available";
    }
    void TearDown() override {
        m_script.reset();
        CoUninitialize();
    }

    // Evaluates expression as text (CStr), failing the test on a script error.
    std::wstring Text(const wchar_t* expression) {
        ScopedVariant value;
        const std::wstring converted = std::wstring(L"CStr(") + expression + L")";
        const HRESULT hr = m_script->Evaluate(converted.c_str(), value);
        EXPECT_EQ(hr, S_OK) << expression << L": " << m_script->LastError();
        return value.Type() == VT_BSTR ? std::wstring(value.get()->bstrVal) : std::wstring();
    }

    TestLibCache m_module;  // the host module's type library, outliving its gadgets
    std::unique_ptr<ScriptHost> m_script;
};

TEST_F(ScriptClient, PropertiesAndMethodsAnswerUnderAnyCase) {
    CComPtr<IGadget> gadget = MakeGadget(&m_module, L"Pump");
    ASSERT_EQ(m_script->AddObject(L"gadget", gadget.get()), S_OK);

    EXPECT_EQ(Text(L"gadget.Title"), L"Pump");
    ASSERT_EQ(m_script->Run(L"gadget.title = \"Pump 2\""), S_OK);
    EXPECT_EQ(GadgetTitle(gadget.get()), L"Pump 2");
    EXPECT_EQ(Text(L"GADGET.TITLE"), L"Pump 2");
    EXPECT_EQ(Text(L"gadget.scale(7, 3)"), L"21");
    EXPECT_EQ(Text(L"gadget.SCALE(7)"), L"7");  // the optional argument's default
    EXPECT_EQ(Text(L"gadget.Parts.count"), L"0");

    // A name the interface does not have is the script's error, not a crash.
    EXPECT_NE(m_script->Run(L"gadget.Missing = 1"), S_OK);
    EXPECT_NE(m_script->LastError(), L"");
}

TEST_F(ScriptClient, ForEachWalksTheCollectionThroughTheEnumerator) {
    CComPtr<IGadget> valve = MakeGadget(&m_module, L"Valve");
    CComPtr<IGadget> gauge = MakeGadget(&m_module, L"Gauge");
    CComPtr<IGadget> pump = MakeGadget(&m_module, L"Pump", {CComPtr<IDispatch>(valve.get()), CComPtr<IDispatch>(gauge.get())},
                                       {L"spare", L"manual"});
    ASSERT_EQ(m_script->AddObject(L"pump", pump.get()), S_OK);

    ASSERT_EQ(m_script->Run(L"Dim seen\n"
                            L"seen = \"\"\n"
                            L"For Each part In pump.Parts\n"
                            L"  If IsObject(part) Then seen = seen & part.title Else seen = seen & \"<\" & part & \">\"\n"
                            L"  seen = seen & \";\"\n"
                            L"Next"),
              S_OK)
        << m_script->LastError();
    EXPECT_EQ(Text(L"seen"), L"Valve;Gauge;<spare>;<manual>;");
    EXPECT_EQ(Text(L"pump.Parts.Count"), L"4");
}

}  // namespace
