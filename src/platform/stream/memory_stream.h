// MemoryStream: a Stream that keeps what is written, for hosts and tests.
#pragma once

#include "OvxComponent/platform/stream/stream.h"

#include <string>

namespace OvxUtils {

class MemoryStream : public Stream {
public:
    bool Write(const void* data, std::size_t size) override;

    const std::string& Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

}  // namespace OvxUtils
