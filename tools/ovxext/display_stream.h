// DisplayStream: the streams that every ovxext command writes to. Each line goes on to the
// real stream shown by the display rule (platform/display_text.h), its line end kept, so
// that a value that a command printed without escaping it still cannot colour the terminal,
// move the cursor or reorder what is shown. A line feed inside such a value cannot be told
// from a line end here: the print helpers of command_context.h escape it.
//
// Lives for one command, on the thread that runs it; what is left is written out when it
// is flushed or goes.
#pragma once

#include <ostream>
#include <streambuf>
#include <string>

namespace Ovxext {

class DisplayStreamBuffer final : public std::streambuf {
public:
    explicit DisplayStreamBuffer(std::ostream& target) : m_target(target) {}
    // Writes out everything that is left, an unfinished UTF-8 sequence as invalid bytes.
    void Finish();

protected:
    int_type overflow(int_type unit) override;
    std::streamsize xsputn(const char* units, std::streamsize count) override;
    int sync() override;

private:
    // Writes out the pending text up to end, line by line.
    void Forward(std::size_t end);

    std::ostream& m_target;
    std::string m_pending;
};

class DisplayStream final : public std::ostream {
public:
    explicit DisplayStream(std::ostream& target) : std::ostream(nullptr), m_buffer(target) { rdbuf(&m_buffer); }
    ~DisplayStream() override { m_buffer.Finish(); }

private:
    DisplayStreamBuffer m_buffer;
};

}  // namespace Ovxext
