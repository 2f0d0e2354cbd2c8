// The C interface's log stream: the log file plus one UTF-8 line per entry for the host.
#include "c_interface/log_line_stream.h"

#include "platform/stream/file_stream.h"

namespace OvxComponent::CInterface {

LogLineStream::LogLineStream(CString filePath, std::function<void(const std::string&)> onLine)
    : m_filePath(std::move(filePath)), m_onLine(std::move(onLine)) {}

bool LogLineStream::Write(const void* data, std::size_t size) {
    if (!m_file) {
        m_file = OvxUtils::FileStream::Create(m_filePath);
        static constexpr unsigned char byteOrderMark[] = {0xFF, 0xFE};
        if (m_file) m_file->Write(byteOrderMark, sizeof byteOrderMark);
    }
    const bool written = !m_file || m_file->Write(data, size);

    // The log writes UTF-16LE; a line ends with CR LF.
    for (const auto* byte = static_cast<const unsigned char*>(data); size != 0; ++byte, --size) {
        if (!m_oddByte) {
            m_lowByte = *byte;
            m_oddByte = true;
            continue;
        }
        m_oddByte = false;
        const auto unit = static_cast<char16_t>(m_lowByte | (*byte << 8));
        if (unit == u'\n') {
            if (!m_pending.empty() && m_pending.back() == u'\r') m_pending.pop_back();
            m_onLine(CString(m_pending).ToUtf8());
            m_pending.clear();
        } else {
            m_pending.push_back(unit);
        }
    }
    return written;
}

}  // namespace OvxComponent::CInterface
