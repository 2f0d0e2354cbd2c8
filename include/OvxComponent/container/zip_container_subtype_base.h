/// \file
/// ZipContainerSubtypeBase: an open package of one kind (a SubtypeClass), with the
/// SubtypeInfo record read from it or to be written into it.
///
/// Opening an existing package reads its MIME type, manifest and metadata; when the MIME
/// type is one of the class's, it parses the main root file, makes a record with the
/// class's factory and fills it with Deserialize. A package of another MIME type, or one
/// whose record cannot be read, still opens, but without a record: GetSubtypeInfo is null
/// and GetInfoError says why. Saving runs Serialize into a fresh main root file and fresh
/// metadata, then writes the package. The handle is movable and saves on Close and on
/// destruction when it holds changes; it is used by one thread at a time.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/subtype_class.h"
#include "OvxComponent/container/subtype_info.h"
#include "OvxComponent/container/zip_container.h"

#include <cstdint>
#include <memory>

namespace VdcContainer {

/// A container opened as one subtype: the ZIP container with the subtype's record
/// (SubtypeInfo), read when it opens and written when it is saved.
class OVX_API ZipContainerSubtypeBase {
public:
    ZipContainerSubtypeBase();
    ~ZipContainerSubtypeBase();
    /// Moves the open container and its record.
    ZipContainerSubtypeBase(ZipContainerSubtypeBase&&) noexcept;
    /// Moves the open container and its record.
    /// \return This handle.
    ZipContainerSubtypeBase& operator=(ZipContainerSubtypeBase&&) noexcept;

    /// Opens path into this handle, closing what it held before. A new package (Create)
    /// gets the class's first MIME type and no record until SetSubtypeInfo.
    /// \param path The package file.
    /// \param mode How to open it.
    /// \param subtypeClass The kind to open it as.
    /// \param maxPackageSize The largest package file accepted; 0 for the default of
    /// ContainerLimits.
    /// \return Success, or why the package cannot be opened as the kind.
    Result<void> Open(const CString& path, ZipFile::OpenMode mode, const SubtypeClass& subtypeClass,
                      std::uint64_t maxPackageSize = 0);
    /// Opens path into this handle under limits, as the overload above.
    /// \param path The package file.
    /// \param mode How to open it.
    /// \param subtypeClass The kind to open it as.
    /// \param limits The limits the package is checked against.
    /// \return Success, or why the package cannot be opened as the kind.
    Result<void> Open(const CString& path, ZipFile::OpenMode mode, const SubtypeClass& subtypeClass,
                      const ContainerLimits& limits);

    /// \return Whether a container is open.
    bool IsOpen() const { return m_container.IsOpen(); }
    ///@{
    /// The ZIP container.
    /// \return The container.
    ZipContainer& Container() { return m_container; }
    const ZipContainer& Container() const { return m_container; }
    ///@}
    /// \return The kind the container was opened as.
    const SubtypeClass& GetSubtypeClass() const { return m_class; }

    /// The record, or null (see GetInfoError). Borrowed; valid until the record is replaced
    /// or the handle closed.
    /// \return The record, or null.
    const SubtypeInfo* GetSubtypeInfo() const { return m_info.get(); }
    /// \return Why an opened package has no record; empty when it has one or is new.
    const CString& GetInfoError() const { return m_infoError; }
    /// Replaces the record; it is written by the next save.
    /// \param info The record.
    void SetSubtypeInfo(std::unique_ptr<SubtypeInfo> info);
    /// Takes over an open container whose record is known already, for example a byte copy
    /// of a package that was read before, without reading the record again.
    /// \param container The open container.
    /// \param subtypeClass The kind it is.
    /// \param info Its record.
    void Adopt(ZipContainer container, const SubtypeClass& subtypeClass, std::unique_ptr<SubtypeInfo> info);

    /// Writes the changed record and the container.
    /// \return Success, or why the package cannot be written.
    Result<void> Save();
    /// Saves when there are changes and the container is writable, then closes it, also
    /// when the save fails.
    /// \return Success, or why the changes cannot be written.
    Result<void> Close();
    /// A copy of the container at path, opened (see ZipContainer::Clone).
    /// \param path Where to write the copy.
    /// \param resolver Maps the path.
    /// \return The copy, or why it cannot be made.
    Result<ZipContainer> Clone(const CString& path, const PathResolver& resolver = PathResolver()) const {
        return m_container.Clone(path, resolver);
    }

private:
    ZipContainer m_container;
    SubtypeClass m_class;
    std::unique_ptr<SubtypeInfo> m_info;
    CString m_infoError;
    bool m_infoChanged = false;
};

}  // namespace VdcContainer
