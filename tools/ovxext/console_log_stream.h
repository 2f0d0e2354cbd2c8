// ConsoleLogStream: shows the extension log as it is written: the manager's UTF-16LE lines
// go to a text stream as UTF-8 lines, each with a prefix. The log escapes what it writes
// already; the lines are shown by the same display rule all the same, which leaves such
// text as it is.
#pragma once

#include "OvxComponent/platform/stream/stream.h"

#include <ostream>
#include <string>

namespace Ovxext {

class ConsoleLogStream final : public OvxUtils::Stream {
public:
    ConsoleLogStream(std::ostream& out, std::string prefix) : m_out(out), m_prefix(std::move(prefix)) {}
    bool Write(const void* data, std::size_t size) override;

private:
    std::ostream& m_out;
    std::string m_prefix;
    std::u16string m_pending;  // a line not finished yet
};

}  // namespace Ovxext
