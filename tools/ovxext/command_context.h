// CommandContext: what every ovxext command is given: its arguments after the command
// name and the two streams it writes to. Exit codes are shared by all commands.
//
// Text from packages, disks and the command line is shown by the display rule
// (platform/display_text.h): the print helpers below escape it, so that one value stays on
// its line, and the two streams escape every line again on its way out (display_stream.h),
// so that a value printed without them still sends no terminal sequence.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "platform/display_text.h"

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace Ovxext {

// The tool's exit codes, as docs/ovxext.md and the help text list them.
enum ExitCode : int {
    kExitOk = 0,        // done; check: the package would load; lint: no problems
    kExitProblems = 1,  // check: the package would not load; lint: problems found
    kExitUsage = 2,     // bad command line
    kExitFailure = 3,   // a file or package could not be read or written
};

struct CommandContext {
    std::vector<std::string> args;  // UTF-8, without the program and command names
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false;  // err reaches a terminal: progress lines are shown there
};

// Text for the streams: CString as UTF-8, shown by the display rule. Text for files, keys
// and JSON is text.ToUtf8() (JsonText) instead.
inline std::string Utf8(const CString& text) { return OvxUtils::DisplayText::Escaped(text).ToUtf8(); }
// UTF-8 text for the streams, shown by the display rule; an invalid byte shows as \xHH.
inline std::string Shown(std::string_view utf8) { return OvxUtils::DisplayText::Escaped(utf8); }
inline CString FromUtf8(const std::string& text) { return CString::FromUtf8(text); }
// The items' texts joined with commas, in UTF-8, shown by the display rule.
template <class Items, class ToText>
std::string JoinUtf8(const Items& items, ToText toText) {
    std::string joined;
    for (const auto& item : items) {
        if (!joined.empty()) joined += ',';
        joined += Utf8(toText(item));
    }
    return joined;
}
// A path for std::filesystem.
inline std::filesystem::path NativePath(const CString& path) {
#if defined(_WIN32)
    return std::filesystem::path(path.Str());
#else
    return std::filesystem::path(path.ToUtf8());
#endif
}

// The full path of path, relative to the working folder.
inline CString FullPath(const CString& path) {
    std::error_code error;
    const auto full = std::filesystem::absolute(NativePath(path), error);
    if (error) return path;
#if defined(_WIN32)
    return CString(full.wstring().c_str());
#else
    return CString::FromUtf8(full.string());
#endif
}

// Writes a line that says what long work is under way ("packing 2000 files, 35 MB ...")
// on err, only when err is the terminal: scripts and logs get the result lines alone.
void ReportProgress(const CommandContext& context, const std::string& line);
// Whether the work on count files of bytes bytes is long enough for ReportProgress.
inline bool IsLargeWork(std::size_t count, std::uint64_t bytes) { return count >= 500 || bytes >= (16u << 20); }

// "ovxext <command>: <file>: <message>" on err, file and message shown by the display
// rule; returns code.
int ReportError(const CommandContext& context, const std::string& command, const std::string& file,
                const std::string& message, int code);
// "ovxext <command>: <message>", shown by the display rule, and a pointer to --help on
// err; returns kExitUsage.
int ReportUsage(const CommandContext& context, const std::string& command, const std::string& message);

}  // namespace Ovxext
