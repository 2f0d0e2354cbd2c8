// Random bytes for new GUIDs on POSIX systems.
#include "platform/guid_random.h"

#include <sys/random.h>

#include <cerrno>
#include <cstdint>

namespace OvxUtils::Detail {

bool FillRandom(void* buffer, std::size_t size) {
    auto* out = static_cast<std::uint8_t*>(buffer);
    while (size > 0) {
        const ssize_t got = getrandom(out, size, 0);
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        out += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace OvxUtils::Detail
