// Settings of the ovxext process on POSIX systems: the allocator's trim threshold.
#include "process_setup.h"

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

namespace Ovxext {

void SetUpProcess() {
#if defined(__GLIBC__) && defined(M_TRIM_THRESHOLD)
    ::mallopt(M_TRIM_THRESHOLD, 64 << 20);
#endif
}

}  // namespace Ovxext
