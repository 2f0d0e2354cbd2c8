// WriteArchive: writes a new ZIP archive from a list of entries. Internal to ZipContainer.
#pragma once

#include "OvxComponent/container/result.h"
#include "container/entry_watcher.h"
#include "container/zip_handles.h"

#include <cstdint>
#include <string>
#include <vector>

namespace VdcContainer {

struct WriteItem {
    enum class Source { Bytes, File, Archive, Folder };
    Source source = Source::Bytes;
    std::string name;  // UTF-8 entry name; a folder's ends with '/'
    std::string bytes;             // Source::Bytes
    CString file;                  // Source::File: read when the archive is written
    std::uint64_t archiveIndex = 0;  // Source::Archive: entry of the source archive, copied as stored
    bool store = false;            // write uncompressed (Source::Bytes and Source::File)
};

// Writes the items in order to path, replacing any file there only once the whole archive
// is written. With reproducible, every entry gets the same fixed time, so the same items
// give the same bytes. source must stay open until this returns. With a seal, every item
// must come from bytes or a file: the seal sees each one's bytes as they are written, and
// its trailing entries end the archive.
Result<void> WriteArchive(const CString& path, zip_t* source, const std::vector<WriteItem>& items, bool reproducible,
                          SaveSeal* seal = nullptr);

}  // namespace VdcContainer
