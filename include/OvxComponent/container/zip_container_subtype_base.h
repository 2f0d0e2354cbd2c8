// ZipContainerSubtypeBase: an open package of one kind (a SubtypeClass), with the
// SubtypeInfo record read from it or to be written into it.
//
// Opening an existing package reads its MIME type, manifest and metadata; when the MIME
// type is one of the class's, it parses the main root file, makes a record with the
// class's factory and fills it with Deserialize. A package of another MIME type, or one
// whose record cannot be read, still opens, but without a record: GetSubtypeInfo is null
// and GetInfoError says why. Saving runs Serialize into a fresh main root file and fresh
// metadata, then writes the package. The handle is movable and saves on Close and on
// destruction when it holds changes; it is used by one thread at a time.
#pragma once

#include "OvxComponent/container/subtype_class.h"
#include "OvxComponent/container/subtype_info.h"
#include "OvxComponent/container/zip_container.h"

#include <cstdint>
#include <memory>

namespace VdcContainer {

class OVX_API ZipContainerSubtypeBase {
public:
    ZipContainerSubtypeBase();
    ~ZipContainerSubtypeBase();
    ZipContainerSubtypeBase(ZipContainerSubtypeBase&&) noexcept;
    ZipContainerSubtypeBase& operator=(ZipContainerSubtypeBase&&) noexcept;

    // Opens path into this handle, closing what it held before. maxPackageSize caps the
    // package file (0: the default of ContainerLimits). A new package (Create) gets the
    // class's first MIME type and no record until SetSubtypeInfo.
    Result<void> Open(const CString& path, ZipFile::OpenMode mode, const SubtypeClass& subtypeClass,
                      std::uint64_t maxPackageSize = 0);
    Result<void> Open(const CString& path, ZipFile::OpenMode mode, const SubtypeClass& subtypeClass,
                      const ContainerLimits& limits);

    bool IsOpen() const { return m_container.IsOpen(); }
    ZipContainer& Container() { return m_container; }
    const ZipContainer& Container() const { return m_container; }
    const SubtypeClass& GetSubtypeClass() const { return m_class; }

    // The record, or null (see GetInfoError). Borrowed; valid until the record is replaced
    // or the handle closed.
    const SubtypeInfo* GetSubtypeInfo() const { return m_info.get(); }
    // Why an opened package has no record; empty when it has one or is new.
    const CString& GetInfoError() const { return m_infoError; }
    // Replaces the record; it is written by the next save.
    void SetSubtypeInfo(std::unique_ptr<SubtypeInfo> info);
    // Takes over an open container whose record is known already, for example a byte copy
    // of a package that was read before, without reading the record again.
    void Adopt(ZipContainer container, const SubtypeClass& subtypeClass, std::unique_ptr<SubtypeInfo> info);

    Result<void> Save();
    Result<void> Close();
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
