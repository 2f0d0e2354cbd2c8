// MemoryStream: a stream that keeps what is written in memory.
#include "platform/stream/memory_stream.h"

namespace OvxUtils {

bool MemoryStream::Write(const void* data, std::size_t size) {
    m_bytes.append(static_cast<const char*>(data), size);
    return true;
}

}  // namespace OvxUtils
