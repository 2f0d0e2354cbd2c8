// The running system's version on Windows, tested as VerifyVersionInfoW tests it.
#include "extensions/format/system_version.h"

#include "extensions/format/system_version_numbers.h"

#include <windows.h>

namespace OvxComponent {

static_assert(sizeof(OSVERSIONINFOEXW) == 284, "VerifyVersionInfoW expects the 284-byte record");

OvxUtils::Version GetRunningSystemVersion() {
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof(info);
    if (!GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&info))) return OvxUtils::Version({0, 0, 0, 0});
    return OvxUtils::Version({static_cast<std::int32_t>(info.dwMajorVersion),
                              static_cast<std::int32_t>(info.dwMinorVersion), info.wServicePackMajor,
                              info.wServicePackMinor});
}

bool RunningSystemPasses(const OvxUtils::Version& bound, SystemVersionTest test) {
    const auto required = Detail::SystemVersionNumbers::FromVersion(bound);
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof(info);
    info.dwMajorVersion = required.major;
    info.dwMinorVersion = required.minor;
    info.wServicePackMajor = required.servicePackMajor;
    info.wServicePackMinor = required.servicePackMinor;

    constexpr DWORD types[] = {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR, VER_SERVICEPACKMINOR};
    const BYTE condition = test == SystemVersionTest::AtOrAfter ? VER_GREATER_EQUAL : VER_LESS;
    DWORDLONG conditions = 0;
    DWORD typeMask = 0;
    for (DWORD type : types) {
        conditions = VerSetConditionMask(conditions, type, condition);
        typeMask |= type;
    }
    return VerifyVersionInfoW(&info, typeMask, conditions) != FALSE;
}

}  // namespace OvxComponent
