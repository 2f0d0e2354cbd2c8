// ZipContainerSubtype<Info, Class>: the typed handle of one kind of package. Class is a
// function object whose call returns the SubtypeClass; Info is the SubtypeInfo type its
// factory makes. A handle that is not open (the default) stands for failure.
#pragma once

#include "OvxComponent/container/zip_container_subtype_base.h"

#include <memory>
#include <utility>

namespace VdcContainer {

template <class Info, class Class>
class ZipContainerSubtype : public ZipContainerSubtypeBase {
public:
    ZipContainerSubtype() = default;

    static Result<ZipContainerSubtype> Open(const CString& path, ZipFile::OpenMode mode,
                                            std::uint64_t maxPackageSize = 0) {
        ContainerLimits limits;
        if (maxPackageSize != 0) limits.maxPackageSize = maxPackageSize;
        return Open(path, mode, limits);
    }
    static Result<ZipContainerSubtype> Open(const CString& path, ZipFile::OpenMode mode, const ContainerLimits& limits) {
        ZipContainerSubtype handle;
        if (auto opened = handle.ZipContainerSubtypeBase::Open(path, mode, Class()(), limits); !opened) {
            return opened.TakeError();
        }
        return handle;
    }

    explicit operator bool() const { return IsOpen(); }

    // The record when there is one of type Info, otherwise null.
    const Info* GetInfo() const { return dynamic_cast<const Info*>(GetSubtypeInfo()); }
    void SetInfo(std::unique_ptr<Info> info) { SetSubtypeInfo(std::move(info)); }
    void Adopt(ZipContainer container, std::unique_ptr<Info> info) {
        ZipContainerSubtypeBase::Adopt(std::move(container), Class()(), std::move(info));
    }
};

}  // namespace VdcContainer
