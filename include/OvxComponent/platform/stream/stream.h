/// \file
/// Stream: where the component writes text for a host (logs, reports). Hosts implement it
/// and hand it over as std::shared_ptr<Stream>; a null pointer means "no stream".
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/ovx_export.h"

#include <cstddef>

namespace OvxUtils {

/// An output stream of bytes.
class OVX_API Stream {
public:
    virtual ~Stream();

    /// Writes all size bytes, or returns false.
    /// \param data The first byte.
    /// \param size The number of bytes.
    /// \return Whether every byte was written.
    virtual bool Write(const void* data, std::size_t size) = 0;
    /// Writes what is buffered; answers whether it could.
    /// \return Whether the buffered bytes were written.
    virtual bool Flush() { return true; }

protected:
    Stream() = default;
    /// Streams are copied by their kinds.
    Stream(const Stream&) = default;
    /// Streams are copied by their kinds.
    /// \return This stream.
    Stream& operator=(const Stream&) = default;
};

}  // namespace OvxUtils
