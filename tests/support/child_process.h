// The child processes of the tests that must see a process die. Windows has no fork: the
// child is the test program again, running the current test, with the parent's request in
// an environment variable; its temporary folders lie below the parent's work folder,
// which removes them.
#pragma once

#ifdef _WIN32
#include "OvxComponent/platform/cstring.h"
#include "platform/system_io/win32_io.h"

#include <optional>
#include <string>

namespace OvxTest {

// In a child: the request its parent put in variable; nothing in the parent.
std::optional<std::wstring> ChildRequest(const wchar_t* variable);

// The work folder named at the end of a request, after the last '|'.
CString WorkFolderOf(const std::wstring& request);

// Starts the current test again as a child with request in variable; an invalid handle
// (and a failed test) when it cannot start. Wine now and then fails to create a process
// (ERROR_INTERNAL_ERROR): it is tried three times.
OvxUtils::SystemIO::Detail::UniqueFileHandle StartChild(const wchar_t* variable, const std::wstring& request,
                                                        const CString& workFolder);

}  // namespace OvxTest
#endif
