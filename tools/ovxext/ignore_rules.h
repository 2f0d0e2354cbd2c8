// IgnoreRules: the patterns of a folder's .ovxextignore file, read as git reads .gitignore:
//
// - blank lines and lines starting with '#' are skipped; "\#" and "\!" start a pattern
//   with those characters; trailing blanks are dropped;
// - a pattern starting with '!' takes back what an earlier pattern left out;
// - a pattern ending in '/' matches folders only (and so everything in them);
// - a pattern with a '/' elsewhere is anchored at the packed folder; one without matches
//   a name at any depth;
// - a segment "**" matches any number of folders;
// - within one name, the wildcards are the system's own file-name matcher's: fnmatch on
//   POSIX systems (*, ?, [...]); on Windows PathMatchSpecExW (* and ?, ignoring letter
//   case, as Windows file names do).
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <string>
#include <string_view>
#include <vector>

namespace Ovxext {

class IgnoreRules {
public:
    // The rules of the file; none when it does not exist.
    static OvxUtils::Result<IgnoreRules> Read(const CString& file);
    static IgnoreRules Parse(std::string_view text);

    // relative: '/' between segments, relative to the packed folder.
    bool Ignores(std::string_view relative, bool isFolder) const;
    bool Empty() const { return m_rules.empty(); }

private:
    struct Rule {
        std::vector<std::string> segments;
        bool negated = false;
        bool foldersOnly = false;
        bool anchored = false;
    };
    std::vector<Rule> m_rules;
};

inline constexpr char16_t kIgnoreFileName[] = u".ovxextignore";

}  // namespace Ovxext
