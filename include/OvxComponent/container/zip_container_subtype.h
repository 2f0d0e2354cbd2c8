/// \file
/// ZipContainerSubtype<Info, Class>: the typed handle of one kind of package. Class is a
/// function object whose call returns the SubtypeClass; Info is the SubtypeInfo type its
/// factory makes. A handle that is not open (the default) stands for failure.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/container/zip_container_subtype_base.h"

#include <memory>
#include <utility>

namespace VdcContainer {

/// A container opened as the kind Class, with its record of type Info.
template <class Info, class Class>
class ZipContainerSubtype : public ZipContainerSubtypeBase {
public:
    ZipContainerSubtype() = default;

    /// Opens the package at path as the kind Class.
    /// \param path The package file.
    /// \param mode How to open it.
    /// \param maxPackageSize The largest package file accepted; 0 for the default.
    /// \return The open handle, or why the package cannot be opened.
    static Result<ZipContainerSubtype> Open(const CString& path, ZipFile::OpenMode mode,
                                            std::uint64_t maxPackageSize = 0) {
        ContainerLimits limits;
        if (maxPackageSize != 0) limits.maxPackageSize = maxPackageSize;
        return Open(path, mode, limits);
    }
    /// Opens the package at path as the kind Class, under limits.
    /// \param path The package file.
    /// \param mode How to open it.
    /// \param limits The limits the package is checked against.
    /// \return The open handle, or why the package cannot be opened.
    static Result<ZipContainerSubtype> Open(const CString& path, ZipFile::OpenMode mode, const ContainerLimits& limits) {
        ZipContainerSubtype handle;
        if (auto opened = handle.ZipContainerSubtypeBase::Open(path, mode, Class()(), limits); !opened) {
            return opened.TakeError();
        }
        return handle;
    }

    /// \return Whether a package is open.
    explicit operator bool() const { return IsOpen(); }

    /// \return The record when there is one of type Info, otherwise null.
    const Info* GetInfo() const { return dynamic_cast<const Info*>(GetSubtypeInfo()); }
    /// Replaces the record, which Save writes.
    /// \param info The record.
    void SetInfo(std::unique_ptr<Info> info) { SetSubtypeInfo(std::move(info)); }
    /// Takes over an open container with its record.
    /// \param container The open container.
    /// \param info Its record.
    void Adopt(ZipContainer container, std::unique_ptr<Info> info) {
        ZipContainerSubtypeBase::Adopt(std::move(container), Class()(), std::move(info));
    }
};

}  // namespace VdcContainer
