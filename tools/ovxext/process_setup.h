// Settings of the ovxext process made before any command runs.
#pragma once

namespace Ovxext {

// On glibc, freed memory at the top of the heap is kept up to 64 MiB instead of being
// handed back at once: packing allocates and frees a compressor's buffers per file, and
// handing them back and faulting them in again cost three quarters of a pack's time. On
// POSIX systems an unset TZ is set to the system's zone file, read once (see there).
void SetUpProcess();

}  // namespace Ovxext
