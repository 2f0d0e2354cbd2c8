// Stream: where the component writes text for a host (logs, reports). Hosts implement it
// and hand it over as std::shared_ptr<Stream>; a null pointer means "no stream".
#pragma once

#include "OvxComponent/platform/ovx_export.h"

#include <cstddef>

namespace OvxUtils {

class OVX_API Stream {
public:
    virtual ~Stream();

    // Writes all size bytes, or returns false.
    virtual bool Write(const void* data, std::size_t size) = 0;
    virtual bool Flush() { return true; }

protected:
    Stream() = default;
    Stream(const Stream&) = default;
    Stream& operator=(const Stream&) = default;
};

}  // namespace OvxUtils
