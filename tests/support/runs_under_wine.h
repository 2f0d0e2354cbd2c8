// Whether the test runs under Wine, for the few behaviours that differ there.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#endif

namespace OvxTest {

inline bool RunsUnderWine() {
#if defined(_WIN32)
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    return ntdll && ::GetProcAddress(ntdll, "wine_get_version");
#else
    return false;
#endif
}

}  // namespace OvxTest
