// ExtractFolder: writes a container's entries to disk, safely.
#pragma once

#include "OvxComponent/container/result.h"
#include "OvxComponent/platform/cstring.h"
#include "container/entry_watcher.h"

namespace VdcContainer {

class ZipContainer;
class ZipContainerSubtypeBase;

// Extracts the entries below folderName ("content", or empty for the whole container)
// into targetFolder, with folderName's own part of each name left out. The container's
// names were checked when it was opened (ArchiveReader); here every byte inflated counts
// against the container's limits, and CRC and sizes are checked at the end of each entry.
// Everything is written into a staging folder beside the target first and moved into
// place only when all entries are out, so a failed extraction leaves the target as it
// was. The target may exist; an entry that exists there already fails the extraction.
// Only what the container holds as saved is extracted. A watcher, where given, sees every
// file's bytes (entry names are the archive's own, folderName included).
Result<void> ExtractFolder(const ZipContainer& container, const CString& folderName, const CString& targetFolder,
                           EntryWatcher* watcher = nullptr);
Result<void> ExtractFolder(const ZipContainerSubtypeBase& container, const CString& folderName,
                           const CString& targetFolder, EntryWatcher* watcher = nullptr);

// Whether targetFolder holds every file of the whole container as ExtractFolder(container,
// "", targetFolder) writes it, each at its size; content is not compared. Costs one look at
// the disk per file.
bool HoldsExtractedFiles(const ZipContainer& container, const CString& targetFolder);

}  // namespace VdcContainer
