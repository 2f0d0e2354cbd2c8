// IgnoreRules: gitignore's rules over the system's file-name matcher.
#include "ignore_rules.h"

#include "command_context.h"

#include "platform/system_io/file.h"

#if defined(_WIN32)
#include <windows.h>
#include <shlwapi.h>
#else
#include <fnmatch.h>
#endif

namespace Ovxext {

namespace {

std::vector<std::string> Split(std::string_view text) {
    std::vector<std::string> segments;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t slash = std::min(text.find('/', start), text.size());
        if (slash > start) segments.emplace_back(text.substr(start, slash - start));
        start = slash + 1;
    }
    return segments;
}

// One name against one segment of a pattern.
bool NameMatches(const std::string& pattern, const std::string& name) {
#if defined(_WIN32)
    const CString wideName = CString::FromUtf8(name);
    const CString widePattern = CString::FromUtf8(pattern);
    return ::PathMatchSpecExW(wideName.GetString(), widePattern.GetString(), PMSF_NORMAL) == S_OK;
#else
    return ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
#endif
}

// Whether pattern segments [p..] match path segments [s..], "**" spanning any number.
bool SegmentsMatch(const std::vector<std::string>& pattern, std::size_t p, const std::vector<std::string>& path,
                   std::size_t s) {
    if (p == pattern.size()) return s == path.size();
    if (pattern[p] == "**") {
        for (std::size_t next = s; next <= path.size(); ++next) {
            if (SegmentsMatch(pattern, p + 1, path, next)) return true;
        }
        return false;
    }
    return s < path.size() && NameMatches(pattern[p], path[s]) && SegmentsMatch(pattern, p + 1, path, s + 1);
}

}  // namespace

OvxUtils::Result<IgnoreRules> IgnoreRules::Read(const CString& file) {
    if (!OvxUtils::SystemIO::File::Exists(file)) return IgnoreRules();
    auto bytes = OvxUtils::SystemIO::File::ReadAllBytes(file);
    if (!bytes) return bytes.TakeError();
    return Parse(*bytes);
}

IgnoreRules IgnoreRules::Parse(std::string_view text) {
    IgnoreRules rules;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        std::string line(text.substr(start, end - start));
        start = end + 1;
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) line.pop_back();
        if (line.empty() || line.front() == '#') continue;
        Rule rule;
        if (line.front() == '!') {
            rule.negated = true;
            line.erase(0, 1);
        } else if (line.front() == '\\') {
            line.erase(0, 1);
        }
        if (!line.empty() && line.back() == '/') {
            rule.foldersOnly = true;
            line.pop_back();
        }
        rule.anchored = line.find('/') != std::string::npos;
        rule.segments = Split(line);
        if (!rule.segments.empty()) rules.m_rules.push_back(std::move(rule));
    }
    return rules;
}

bool IgnoreRules::Ignores(std::string_view relative, bool isFolder) const {
    const std::vector<std::string> path = Split(relative);
    if (path.empty()) return false;
    bool ignored = false;
    for (const Rule& rule : m_rules) {
        if (rule.foldersOnly && !isFolder) continue;
        const bool matches = rule.anchored ? SegmentsMatch(rule.segments, 0, path, 0)
                                           : rule.segments.size() == 1 && NameMatches(rule.segments[0], path.back());
        if (matches) ignored = !rule.negated;
    }
    return ignored;
}

}  // namespace Ovxext
