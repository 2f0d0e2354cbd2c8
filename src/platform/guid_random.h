// The operating system's cryptographic random source.
#pragma once

#include <cstddef>

namespace OvxUtils::Detail {

// Fills buffer with size random bytes; false when the system source failed.
bool FillRandom(void* buffer, std::size_t size);

}  // namespace OvxUtils::Detail
