// Random bytes for new GUIDs on Windows.
#include "platform/guid_random.h"

#include <windows.h>
#include <bcrypt.h>

#include <limits>

namespace OvxUtils::Detail {

bool FillRandom(void* buffer, std::size_t size) {
    if (size > std::numeric_limits<ULONG>::max()) return false;
    return BCryptGenRandom(nullptr, static_cast<PUCHAR>(buffer), static_cast<ULONG>(size),
                           BCRYPT_USE_SYSTEM_PREFERRED_RNG) == 0;
}

}  // namespace OvxUtils::Detail
