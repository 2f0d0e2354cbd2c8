// The running operating system's version, as Windows-version requirements test it.
//
// A bound is tested on four numbers: major, minor, service pack major and service pack
// minor, taken from the bound's components 1 to 4 (missing ones are 0; major and minor
// are read as unsigned 32-bit numbers, the service pack numbers cut to 16 bits). The
// numbers are compared in that order, and the first that differs decides, as Windows
// compares them when all four are tested with one condition. On Windows the running
// numbers are the ones the process is shown, which for a host without a compatibility
// manifest for newer systems may be older than the installed system. On Linux they are
// the kernel's major and minor numbers with service pack 0.0.
#pragma once

#include "OvxComponent/platform/version.h"

namespace OvxComponent {

enum class SystemVersionTest {
    AtOrAfter,  // the running system is at or after the bound
    Before,     // the running system is before the bound
};

// Major, minor, service pack major and service pack minor; 0.0.0.0 when the system
// does not tell.
OvxUtils::Version GetRunningSystemVersion();

bool RunningSystemPasses(const OvxUtils::Version& bound, SystemVersionTest test);

}  // namespace OvxComponent
