// ConsoleLogStream: the manager's log lines, turned to UTF-8 and written to a console.
#include "console_log_stream.h"

#include "command_context.h"

namespace Ovxext {

bool ConsoleLogStream::Write(const void* data, std::size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i + 1 < size; i += 2) m_pending += static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
    for (std::size_t end; (end = m_pending.find(u"\r\n")) != std::u16string::npos; m_pending.erase(0, end + 2)) {
        m_out << m_prefix << Utf8(CString(std::u16string_view(m_pending).substr(0, end))) << "\n";
    }
    m_out.flush();
    return true;
}

}  // namespace Ovxext
