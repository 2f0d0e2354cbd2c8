// Version: parsing, text form and comparison of dotted version numbers.
#include "OvxComponent/platform/version.h"

#include "platform/string_utils.h"

#include <algorithm>
#include <string>

namespace OvxUtils {

Version Version::Parse(const CString& text) {
    std::vector<std::int32_t> components;
    for (const CString& piece : String::Split(text, u'.', false, true))
        components.push_back(String::IntFromString(piece));
    return Version(std::move(components));
}

std::optional<Version> Version::TryParse(const CString& text) {
    std::vector<std::int32_t> components;
    for (const CString& piece : String::Split(text, u'.', true, false)) {
        if (piece.IsEmpty() || piece[0] == u'+' || piece[0] == u'-') return std::nullopt;
        const auto value = String::TryIntFromString(piece);
        if (!value) return std::nullopt;
        components.push_back(*value);
    }
    if (components.empty()) return std::nullopt;
    return Version(std::move(components));
}

CString Version::ToString() const {
    if (m_components.empty()) return u"0";
    std::string text;
    for (std::size_t i = 0; i < m_components.size(); ++i) {
        if (i > 0) text += '.';
        text += std::to_string(m_components[i]);
    }
    return CString::FromUtf8(text);
}

int Version::Compare(const Version& a, const Version& b) {
    const std::size_t length = std::max(a.m_components.size(), b.m_components.size());
    for (std::size_t i = 0; i < length; ++i) {
        const std::int32_t x = i < a.m_components.size() ? a.m_components[i] : 0;
        const std::int32_t y = i < b.m_components.size() ? b.m_components[i] : 0;
        if (x != y) return x < y ? -1 : 1;
    }
    return 0;
}

}  // namespace OvxUtils
