// Settings of the ovxext process on POSIX systems: the allocator's trim threshold and the
// time zone.
#include "process_setup.h"

#include <stdlib.h>

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

namespace Ovxext {

void SetUpProcess() {
#if defined(__GLIBC__) && defined(M_TRIM_THRESHOLD)
    ::mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
    // Reading a package converts the time of every entry to local time. Without TZ, glibc
    // checks /etc/localtime for changes at each conversion, a file status call per entry;
    // naming the same file once in TZ lets it read the zone a single time. A command runs
    // for seconds, so a zone changed meanwhile does not matter.
    ::setenv("TZ", ":/etc/localtime", 0);
}

}  // namespace Ovxext
