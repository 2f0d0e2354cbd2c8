// ContainerState: everything an open ZipContainer holds (ZipContainer::Impl), and the
// layout of a package: which entries are the container's own, what an opened package's own
// entries say, and which entries a save writes in which order. Internal.
#pragma once

#include "OvxComponent/container/metadata_container.h"
#include "OvxComponent/container/zip_container.h"
#include "container/archive_reader.h"
#include "container/archive_writer.h"
#include "container/manifest.h"

#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace VdcContainer {

struct ContainerState {
    CString path;
    ZipFile::OpenMode mode = ZipFile::OpenMode::ReadOnly;
    ContainerLimits limits;
    std::unique_ptr<ArchiveReader> reader;  // null until a new package is first saved
    CString mimeType;
    Manifest manifest;
    Metadata::Container metadata;
    std::map<CString, std::string> rootFileXml;  // root files set since the last save
    std::vector<NewEntry> added;                 // entries added since the last save
    bool modified = false;
    bool reproducible = false;
    SaveSeal* seal = nullptr;
};

// The names in use, as a case-insensitive file system sees them: a new name may not be
// one of them, nor lie inside a file, nor be a folder that holds entries.
class NameIndex {
public:
    void Add(std::string_view path, bool isFolder);
    bool Conflicts(std::string_view path) const;

private:
    std::unordered_set<std::u32string> m_files;  // FoldedName keys
    std::unordered_set<std::u32string> m_folders;
};

// mimetype, the manifest and the metadata entry, in any letter case.
bool IsOwnEntry(const CString& name);
// Reads the MIME type, the manifest and the metadata of the opened archive into state.
Result<void> ReadOwnEntries(ContainerState& state);
// Everything a save writes, in order: the container's own entries, the root files, then
// the content as saved before and as added since (sorted by name when reproducible).
Result<std::vector<WriteItem>> BuildItems(const ContainerState& state);
// The names of the saved and the added entries.
NameIndex NamesInUse(const ContainerState& state);

}  // namespace VdcContainer
