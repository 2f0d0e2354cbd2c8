// LogLineStream: the log stream of a manager made through the C interface when the host
// takes the log lines. It writes the log file as the manager would (created at the first
// line, with its byte-order mark) and hands each complete line to the host in UTF-8.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/stream/stream.h"

#include <functional>
#include <memory>
#include <string>

namespace OvxComponent::CInterface {

class LogLineStream final : public OvxUtils::Stream {
public:
    LogLineStream(CString filePath, std::function<void(const std::string&)> onLine);

    bool Write(const void* data, std::size_t size) override;

private:
    CString m_filePath;
    std::shared_ptr<OvxUtils::Stream> m_file;
    std::function<void(const std::string&)> m_onLine;
    std::u16string m_pending;  // UTF-16 code units of the line not yet ended
    bool m_oddByte = false;
    unsigned char m_lowByte = 0;
};

}  // namespace OvxComponent::CInterface
