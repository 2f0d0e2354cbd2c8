// A real script client: VBScript run by cscript against ovx_script_gadget.dll, registered
// for the current user. The script reads and sets a property by a name in another letter
// case (the dispatch holder's name lookup), calls a method with its optional argument left
// out, walks the parts with For Each (the variant enumerator's Next), and catches the
// error the object raises. Its exit code names the first check that failed, or is 100 when
// all held (cscript under Wine ends a script that fails to run with 0).
#include "support/temp_folder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char* kScript = R"(Set g = CreateObject("OvxTest.ScriptGadget")
If g.title <> "Pump" Then WScript.Quit 2
g.TITLE = "Valve"
If g.Title <> "Valve" Then WScript.Quit 3
If g.sCALE(21) <> 21 Or g.Scale(7, 3) <> 21 Then WScript.Quit 4
seen = ""
For Each part In g.Parts
    seen = seen & part & ","
Next
WScript.Echo "parts: " & seen
If seen <> "wheel,lever,spring," Or g.Parts.Count <> 3 Then WScript.Quit 5
On Error Resume Next
n = g.Scale(-1)
If Err.Number <> &H80040201 Then WScript.Echo "error: " & Hex(Err.Number) : WScript.Quit 6
WScript.Quit 100
)";

// The folder of the test program, where the server and the type library module are.
std::wstring ProgramFolder() {
    wchar_t path[MAX_PATH];
    const std::wstring program(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
    return program.substr(0, program.find_last_of(L"\\/") + 1);
}

// The class and its ProgID under HKEY_CLASSES_ROOT (Wine reads no per-user classes there);
// removed again at the end.
class Registration {
public:
    Registration() {
        Set(L"OvxTest.ScriptGadget\\CLSID", kClsid);
        Set(std::wstring(L"CLSID\\") + kClsid + L"\\InprocServer32", ProgramFolder() + L"ovx_script_gadget.dll");
    }
    ~Registration() {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + kClsid).c_str());
        RegDeleteTreeW(HKEY_CLASSES_ROOT, L"OvxTest.ScriptGadget");
    }

private:
    static constexpr const wchar_t* kClsid = L"{D5DDE739-2E58-4E05-87D8-73C4A4EC9B69}";
    static void Set(const std::wstring& key, const std::wstring& value) {
        const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        ASSERT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, REG_SZ, value.c_str(), bytes), ERROR_SUCCESS);
    }
};

TEST(ScriptClient, VbscriptDrivesTheDispatchHolderAndTheVariantEnumerator) {
    OvxTest::TempFolder temp;
    const CString script = temp.WriteFile(u"gadget.vbs", kScript);
    Registration registration;
    std::wstring command = L"cscript.exe //nologo \"" + std::wstring(script.Str().begin(), script.Str().end()) + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    // Started in the program's folder, where the server finds the type library module.
    ASSERT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, ProgramFolder().c_str(),
                               &startup, &process));
    ASSERT_EQ(WaitForSingleObject(process.hProcess, 60000), WAIT_OBJECT_0) << "cscript did not end within a minute";
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    EXPECT_EQ(code, 100u) << "the script's check " << code << " failed (2, 3: names in another case; 4: the optional "
                           "argument; 5: For Each; 6: the object's error; 0: the script did not run)";
}

}  // namespace
