// Child processes on Windows: the test program again, with a request in its environment.
#include "support/child_process.h"

#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <gtest/gtest.h>

#include <map>

namespace OvxTest {

std::optional<std::wstring> ChildRequest(const wchar_t* variable) {
    std::wstring value(32768, L'\0');
    const DWORD length = ::GetEnvironmentVariableW(variable, value.data(), static_cast<DWORD>(value.size()));
    if (length == 0 || length >= value.size()) return std::nullopt;
    value.resize(length);
    return value;
}

CString WorkFolderOf(const std::wstring& request) {
    return CString(std::wstring_view(request).substr(request.rfind(L'|') + 1));
}

OvxUtils::SystemIO::Detail::UniqueFileHandle StartChild(const wchar_t* variable, const std::wstring& request,
                                                        const CString& workFolder) {
    std::wstring program(MAX_PATH, L'\0');
    program.resize(::GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::wstring commandLine =
        L"child --gtest_filter=" + CString::FromUtf8(std::string(test->test_suite_name()) + "." + test->name()).Str();
    const CString childTemp = OvxUtils::SystemIO::Path::Combine(workFolder, u"child-temp");
    EXPECT_TRUE(OvxUtils::SystemIO::Folder::EnsureExists(childTemp));
    std::map<std::wstring, std::wstring> before;
    for (const auto& [name, value] :
         {std::pair<std::wstring, std::wstring>{L"TMP", childTemp.Str()}, {L"TEMP", childTemp.Str()}, {variable, request}}) {
        before[name] = ::_wgetenv(name.c_str()) ? ::_wgetenv(name.c_str()) : L"";
        ::_wputenv_s(name.c_str(), value.c_str());
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION child{};
    BOOL started = FALSE;
    for (int attempt = 0; attempt < 3 && !started; ++attempt) {
        started = ::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &startup, &child);
    }
    const DWORD startError = ::GetLastError();
    for (const auto& [name, value] : before) ::_wputenv_s(name.c_str(), value.c_str());
    EXPECT_TRUE(started) << "cannot start the child: error " << startError;
    if (!started) return {};
    ::CloseHandle(child.hThread);
    return OvxUtils::SystemIO::Detail::UniqueFileHandle(child.hProcess);
}

}  // namespace OvxTest
