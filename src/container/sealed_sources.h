// libzip sources for a sealed save: one that shows an inner source's bytes to a watcher
// as libzip reads them, and one whose bytes are made when libzip first asks for them.
// Internal to WriteArchive.
#pragma once

#include "container/entry_watcher.h"
#include "container/zip_handles.h"

#include <cstddef>

namespace VdcContainer {

// Takes inner (freed with the new source, or by the caller when this fails). Each close of
// the source counts one in *closed.
zip_source_t* MakeWatchedSource(zip_t* archive, zip_source_t* inner, EntryWatcher& watcher, std::string name,
                                std::size_t& closed);

// The bytes come from make, called once, when libzip first looks at the source; by then
// *closed must have reached expected, or the source fails.
zip_source_t* MakeLateSource(zip_t* archive, std::function<Result<std::string>()> make, const std::size_t& closed,
                             std::size_t expected);

}  // namespace VdcContainer
