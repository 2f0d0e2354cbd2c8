/// \file
/// ZipContainer: a package file, a ZIP archive with a MIME type, a manifest of root files,
/// typed metadata and content entries (docs/package-format.md).
///
/// Opening reads the MIME type, the manifest and the metadata and checks every entry name
/// (ArchiveReader); content is read only when asked for. Changes (MIME type, metadata, root
/// files, added entries) stay in memory until Save, which writes a complete new archive
/// and only then replaces the file, so a failed save leaves the file as it was. Close saves
/// when there are changes; the destructor closes. A container is a movable handle, used by
/// one thread at a time.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

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

/// One entry of a container as saved.
struct ContainerEntry {
    CString name;  ///< a folder's ends with '/'
    std::uint64_t size = 0;  ///< as the archive's headers claim it
};

/// A file to add: from disk, or from bytes in memory.
struct NewEntry {
    CString name;  ///< entry name, '/' between segments
    CString file;  ///< read when the container is saved
    std::optional<std::string> bytes;  ///< used instead of file when set
};

/// An open package file: its entries, its container metadata and its root files, read
/// and changed in memory and written by Save in one atomic step.
class OVX_API ZipContainer {
public:
    /// A root file's record.
    using RootFileInfo = VdcContainer::RootFileInfo;

    /// A handle that is not open.
    ZipContainer();
    ~ZipContainer();
    /// Moves the open container.
    ZipContainer(ZipContainer&&) noexcept;
    /// Moves the open container.
    /// \return This container.
    ZipContainer& operator=(ZipContainer&&) noexcept;

    /// ReadOnly and ReadWrite open an existing package, which must hold a "mimetype" entry;
    /// the manifest and the metadata entry may be missing. Create opens nothing yet: the
    /// package is written by the first Save, replacing any file at path.
    /// \param path The package file.
    /// \param mode How to open it.
    /// \param limits The limits it is checked against.
    /// \return The open container, or why it cannot be opened.
    static Result<ZipContainer> Open(const CString& path, ZipFile::OpenMode mode,
                                     const ContainerLimits& limits = ContainerLimits());

    /// Whether a package is open.
    /// \return Whether a package is open.
    bool IsOpen() const;
    /// The path of the package file.
    /// \return The path.
    const CString& GetPath() const;
    /// How the package was opened.
    /// \return The mode.
    ZipFile::OpenMode GetOpenMode() const;
    /// The limits the package is checked against.
    /// \return The limits.
    const ContainerLimits& GetLimits() const;
    /// True when there are changes that Save would write.
    /// \return Whether there are unsaved changes.
    bool IsModified() const;

    /// Setters fail when the container is not open or is open read-only.
    /// \return The MIME type.
    const CString& GetMimeType() const;
    /// Sets the container's MIME type, written to the "mimetype" entry.
    /// \param mimeType The MIME type.
    /// \return Success, or why it cannot be set.
    Result<void> SetMimeType(const CString& mimeType);
    /// The container metadata.
    /// \return The metadata.
    const Metadata::Container& GetMetadata() const;
    /// Replaces the container metadata.
    /// \param metadata The metadata.
    /// \return Success, or why it cannot be set.
    Result<void> SetMetadata(Metadata::Container metadata);

    /// Root files in manifest order, and the main one (null when there is none).
    /// \return The root files' records.
    const std::vector<RootFileInfo>& GetRootFiles() const;
    /// The main root file's record, or null when there is none.
    /// \return The record, or null.
    const RootFileInfo* GetMainRootFile() const;
    /// Adds or replaces a root file with its XML bytes; isMain makes it the main one.
    /// \param info The root file's record.
    /// \param isMain Whether it is the main root file.
    /// \param xml Its content.
    /// \return Success, or why it cannot be set.
    Result<void> SetRootFile(const RootFileInfo& info, bool isMain, std::string xml);

    /// The entries as saved, in archive order.
    /// \return The entries, in archive order.
    std::vector<ContainerEntry> GetEntries() const;
    /// An entry's bytes (a root file set since the last save gives its new bytes); capped by
    /// the limits like any other read.
    /// \param name The entry's name.
    /// \return Its bytes, or why they cannot be read.
    Result<std::string> ReadEntry(const CString& name) const;
    /// An entry parsed as XML, capped at ContainerLimits::maxXmlSize.
    /// \param name The entry's name.
    /// \return The parsed document, or why it cannot be read.
    Result<std::unique_ptr<XmlNS::Document>> ReadXml(const CString& name) const;

    /// Adds all the entries or, when any is refused (an invalid name, a name that is taken,
    /// also in other letter case, or one of the container's own entries), none of them.
    /// \param entries The entries to add.
    /// \return Success, or why they cannot be added.
    Result<void> AddEntries(const std::vector<NewEntry>& entries);

    /// Reproducible saving: content entries sorted by name and every time fixed, so the
    /// same content gives the same bytes.
    /// \param reproducible Whether to write reproducibly.
    void SetReproducible(bool reproducible);
    /// Whether the container is written reproducibly (see SetReproducible).
    /// \return Whether saves are reproducible.
    bool IsReproducible() const;

    /// Writes every change to the package file: to a temporary file first, then renamed.
    /// \return Success, or why the package cannot be written.
    Result<void> Save();
    /// Saves when there are changes and the container is writable, then closes the handle,
    /// also when the save fails.
    /// \return Success, or why the changes cannot be written.
    Result<void> Close();
    /// Closes the handle without saving; unsaved changes are lost.
    void Discard();

    /// Copies the package file as saved to path (resolved by resolver), replacing a file
    /// there, and opens the copy read-only. Fails when there are unsaved changes.
    /// \param path Where to write the copy.
    /// \param resolver Maps the path.
    /// \return The copy, open, or why it cannot be made.
    Result<ZipContainer> Clone(const CString& path, const PathResolver& resolver = PathResolver()) const;

    /// The open archive as saved, or null before the first save of a new package. For the
    /// container library's own functions (ExtractFolder).
    /// \return The archive, or null.
    const ArchiveReader* Reader() const;
    /// Has the next saves of a new package shown to seal, which ends them with entries of
    /// its own (a signature made while packing); null stops it. seal must outlive the saves.
    /// \param seal The seal, or null.
    void SetSaveSeal(SaveSeal* seal);

private:
    struct Impl;
    explicit ZipContainer(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

}  // namespace VdcContainer
