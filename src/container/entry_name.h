// EntryName: the name of an archive entry that is safe to use as a relative path.
//
// Names found in archives are untrusted. Parse is the one way to make an EntryName, and it
// refuses every name that could leave a target folder or mean something else on Windows
// than on Linux: empty or over-long names, names that are not UTF-8 or hold control
// characters, absolute paths, drive letters, UNC and device prefixes, backslashes, ':'
// (alternate data streams), the characters <>"|?*, empty, "." and ".." segments, segments
// ending in a dot or a space, and Windows reserved device names (CON, PRN, AUX, NUL,
// COM0-9, LPT0-9, CONIN$, CONOUT$), also with an extension ("nul.txt").
#pragma once

#include "OvxComponent/container/result.h"
#include "OvxComponent/platform/cstring.h"

#include <string>
#include <string_view>

namespace VdcContainer {

class EntryName {
public:
    static constexpr std::size_t kMaxBytes = 1024;
    static constexpr std::size_t kMaxSegmentUnits = 255;

    // A name as stored in an archive: UTF-8, '/' between segments, a final '/' for a folder.
    // The error text is "entry "NAME" ..." followed by the reason.
    static Result<EntryName> Parse(std::string_view utf8);

    // The name as stored, with the final '/' of a folder.
    const std::string& Utf8() const { return m_utf8; }
    // The name without the final '/' of a folder.
    std::string_view Path() const;
    bool IsFolder() const { return m_utf8.back() == '/'; }

    friend bool operator==(const EntryName&, const EntryName&) = default;

private:
    explicit EntryName(std::string utf8) : m_utf8(std::move(utf8)) {}
    std::string m_utf8;
};

}  // namespace VdcContainer
