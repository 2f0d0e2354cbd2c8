// ZipContainer: a package file, a ZIP archive with a MIME type, a manifest of root files,
// typed metadata and content entries (docs/package-format.md).
//
// Opening reads the MIME type, the manifest and the metadata and checks every entry name
// (ArchiveReader); content is read only when asked for. Changes (MIME type, metadata, root
// files, added entries) stay in memory until Save, which writes a complete new archive
// and only then replaces the file, so a failed save leaves the file as it was. Close saves
// when there are changes; the destructor closes. A container is a movable handle, used by
// one thread at a time.
#pragma once

#include "OvxComponent/container/container_limits.h"
#include "OvxComponent/container/metadata_container.h"
#include "OvxComponent/container/path_resolver.h"
#include "OvxComponent/container/result.h"
#include "OvxComponent/container/root_file_info.h"
#include "OvxComponent/container/xml_document.h"
#include "OvxComponent/container/zip_file_open_mode.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace VdcContainer {

class ArchiveReader;
class SaveSeal;

// One entry of a container as saved.
struct ContainerEntry {
    CString name;  // a folder's ends with '/'
    std::uint64_t size = 0;  // as the archive's headers claim it
};

// A file to add: from disk, or from bytes in memory.
struct NewEntry {
    CString name;  // entry name, '/' between segments
    CString file;  // read when the container is saved
    std::optional<std::string> bytes;  // used instead of file when set
};

class OVX_API ZipContainer {
public:
    using RootFileInfo = VdcContainer::RootFileInfo;

    // A handle that is not open.
    ZipContainer();
    ~ZipContainer();
    ZipContainer(ZipContainer&&) noexcept;
    ZipContainer& operator=(ZipContainer&&) noexcept;

    // ReadOnly and ReadWrite open an existing package, which must hold a "mimetype" entry;
    // the manifest and the metadata entry may be missing. Create opens nothing yet: the
    // package is written by the first Save, replacing any file at path.
    static Result<ZipContainer> Open(const CString& path, ZipFile::OpenMode mode,
                                     const ContainerLimits& limits = ContainerLimits());

    bool IsOpen() const;
    const CString& GetPath() const;
    ZipFile::OpenMode GetOpenMode() const;
    const ContainerLimits& GetLimits() const;
    // True when there are changes that Save would write.
    bool IsModified() const;

    // Setters fail when the container is not open or is open read-only.
    const CString& GetMimeType() const;
    Result<void> SetMimeType(const CString& mimeType);
    const Metadata::Container& GetMetadata() const;
    Result<void> SetMetadata(Metadata::Container metadata);

    // Root files in manifest order, and the main one (null when there is none).
    const std::vector<RootFileInfo>& GetRootFiles() const;
    const RootFileInfo* GetMainRootFile() const;
    // Adds or replaces a root file with its XML bytes; isMain makes it the main one.
    Result<void> SetRootFile(const RootFileInfo& info, bool isMain, std::string xml);

    // The entries as saved, in archive order.
    std::vector<ContainerEntry> GetEntries() const;
    // An entry's bytes (a root file set since the last save gives its new bytes); capped by
    // the limits like any other read.
    Result<std::string> ReadEntry(const CString& name) const;
    // An entry parsed as XML, capped at ContainerLimits::maxXmlSize.
    Result<std::unique_ptr<XmlNS::Document>> ReadXml(const CString& name) const;

    // Adds all the entries or, when any is refused (an invalid name, a name that is taken,
    // also in other letter case, or one of the container's own entries), none of them.
    Result<void> AddEntries(const std::vector<NewEntry>& entries);

    // Reproducible saving: content entries sorted by name and every time fixed, so the
    // same content gives the same bytes.
    void SetReproducible(bool reproducible);
    bool IsReproducible() const;

    Result<void> Save();
    // Saves when there are changes and the container is writable, then closes the handle,
    // also when the save fails.
    Result<void> Close();
    // Closes the handle without saving; unsaved changes are lost.
    void Discard();

    // Copies the package file as saved to path (resolved by resolver), replacing a file
    // there, and opens the copy read-only. Fails when there are unsaved changes.
    Result<ZipContainer> Clone(const CString& path, const PathResolver& resolver = PathResolver()) const;

    // The open archive as saved, or null before the first save of a new package. For the
    // container library's own functions (ExtractFolder).
    const ArchiveReader* Reader() const;
    // Has the next saves of a new package shown to seal, which ends them with entries of
    // its own (a signature made while packing); null stops it. seal must outlive the saves.
    void SetSaveSeal(SaveSeal* seal);

private:
    struct Impl;
    explicit ZipContainer(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

}  // namespace VdcContainer
