// The running system's version on POSIX systems: the kernel's major and minor numbers.
#include "extensions/format/system_version.h"

#include "extensions/format/system_version_numbers.h"
#include "platform/string_utils.h"

#include <sys/utsname.h>

namespace OvxComponent {

OvxUtils::Version GetRunningSystemVersion() {
    utsname names{};
    if (uname(&names) != 0) return OvxUtils::Version({0, 0, 0, 0});
    // A release reads like 6.1.0-18-amd64: the first two numbers are major and minor.
    const auto pieces = OvxUtils::String::Split(CString::FromUtf8(names.release), u'.', true, false);
    const auto number = [&](std::size_t index) {
        return index < pieces.size() ? OvxUtils::String::IntFromString(pieces[index]) : 0;
    };
    return OvxUtils::Version({number(0), number(1), 0, 0});
}

bool RunningSystemPasses(const OvxUtils::Version& bound, SystemVersionTest test) {
    const auto running = Detail::SystemVersionNumbers::FromVersion(GetRunningSystemVersion());
    const auto required = Detail::SystemVersionNumbers::FromVersion(bound);
    return test == SystemVersionTest::AtOrAfter ? running >= required : running < required;
}

}  // namespace OvxComponent
