// A libzip source over an open package file that reads at positions. Internal.
#pragma once

#include "container/zip_handles.h"

#include <cstdint>
#include <cstdio>

namespace VdcContainer {

// Takes over file (closed with the source) of the given size. libzip's own file source
// moves the stream's position for every step of reading an entry, a system call each;
// this one keeps the position in memory and reads each block where it lies. Null on
// failure, with error set.
zip_source_t* CreatePositionalSource(std::FILE* file, std::uint64_t size, zip_error_t* error);

}  // namespace VdcContainer
