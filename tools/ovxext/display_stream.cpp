// DisplayStream: the commands' output, shown by the display rule line by line.
#include "display_stream.h"

#include "platform/display_text.h"

#include <algorithm>

namespace Ovxext {

namespace {

// The bytes at the end of text that begin a UTF-8 sequence still to be completed.
std::size_t UnfinishedSequence(std::string_view text) {
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
        const auto byte = static_cast<unsigned char>(text[text.size() - back]);
        if (byte < 0x80) return 0;
        if (byte >= 0xC0) return (byte >= 0xF0 ? 4u : byte >= 0xE0 ? 3u : 2u) > back ? back : 0;
    }
    return 0;
}

}  // namespace

DisplayStreamBuffer::int_type DisplayStreamBuffer::overflow(int_type unit) {
    if (traits_type::eq_int_type(unit, traits_type::eof())) return traits_type::not_eof(unit);
    m_pending.push_back(traits_type::to_char_type(unit));
    if (unit == '\n') Forward(m_pending.size());
    return unit;
}

std::streamsize DisplayStreamBuffer::xsputn(const char* units, std::streamsize count) {
    const std::string_view added(units, static_cast<std::size_t>(count));
    m_pending.append(added);
    if (added.find('\n') != std::string_view::npos) Forward(m_pending.rfind('\n') + 1);
    return count;
}

// A flush in the middle of a line shows what there is, but keeps a character that is
// only partly written for the next write.
int DisplayStreamBuffer::sync() {
    Forward(m_pending.size() - UnfinishedSequence(m_pending));
    m_target.flush();
    return m_target ? 0 : -1;
}

void DisplayStreamBuffer::Finish() {
    Forward(m_pending.size());
    m_target.flush();
}

void DisplayStreamBuffer::Forward(std::size_t end) {
    const std::string_view pending(m_pending);
    std::string shown;
    shown.reserve(end);
    for (std::size_t from = 0; from < end;) {
        const std::size_t lineEnd = std::min(pending.find('\n', from), end);
        OvxUtils::DisplayText::AppendEscaped(shown, pending.substr(from, lineEnd - from));
        if (lineEnd < end) shown += '\n';
        from = lineEnd + 1;
    }
    m_target.write(shown.data(), static_cast<std::streamsize>(shown.size()));
    m_pending.erase(0, end);
}

}  // namespace Ovxext
