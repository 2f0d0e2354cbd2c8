// EntryName: validation of archive entry names.
#include "container/entry_name.h"

#include "platform/data_encoding.h"

#include <array>
#include <optional>

namespace VdcContainer {

namespace {

constexpr std::array<std::string_view, 7> kReservedNames = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"};
// COM and LPT take a digit or a superscript one, two or three (U+00B9, U+00B2, U+00B3).
constexpr std::array<std::string_view, 2> kNumberedNames = {"COM", "LPT"};
constexpr std::array<std::string_view, 3> kSuperscriptDigits = {"\xC2\xB9", "\xC2\xB2", "\xC2\xB3"};

bool EqualsAsciiNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
        if (upper(a[i]) != upper(b[i])) return false;
    }
    return true;
}

// Windows treats "CON", "con.txt" and "CON .txt" alike: the part before the first dot,
// without trailing spaces, decides.
bool IsReservedDeviceName(std::string_view segment) {
    std::string_view base = segment.substr(0, segment.find('.'));
    while (!base.empty() && base.back() == ' ') base.remove_suffix(1);
    for (const std::string_view reserved : kReservedNames) {
        if (EqualsAsciiNoCase(base, reserved)) return true;
    }
    for (const std::string_view prefix : kNumberedNames) {
        if (base.size() < 4 || !EqualsAsciiNoCase(base.substr(0, 3), prefix)) continue;
        const std::string_view number = base.substr(3);
        if (number.size() == 1 && number[0] >= '0' && number[0] <= '9') return true;
        for (const std::string_view digit : kSuperscriptDigits) {
            if (number == digit) return true;
        }
    }
    return false;
}

bool IsSlash(char c) { return c == '/' || c == '\\'; }

std::size_t Utf16Units(std::string_view utf8) {
    std::size_t units = 0;
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0) != 0x80) units += byte >= 0xF0 ? 2 : 1;
    }
    return units;
}

// The bytes that the checks of single characters look for: control characters, '\\', ':'
// and the characters that Windows forbids in names.
constexpr std::array<bool, 256> kSuspectBytes = [] {
    std::array<bool, 256> suspect{};
    for (int c = 0; c < 0x20; ++c) suspect[static_cast<std::size_t>(c)] = true;
    for (const char c : std::string_view("\\:<>\"|?*")) suspect[static_cast<unsigned char>(c)] = true;
    return suspect;
}();

// The reason a name is refused, or nothing for a good name.
std::optional<std::u16string_view> Refusal(std::string_view name) {
    if (name.empty()) return u"is empty";
    if (name.size() > EntryName::kMaxBytes) return u"is longer than 1024 bytes";
    // One pass tells whether the name is ASCII and whether any single-character check can
    // fail; most names are plain and skip the rest.
    bool ascii = true;
    bool suspect = false;
    for (const char c : name) {
        ascii &= static_cast<unsigned char>(c) < 0x80;
        suspect |= kSuspectBytes[static_cast<unsigned char>(c)];
    }
    if (!ascii && !OvxUtils::DataEncoding::IsValidUtf8(name)) return u"is not valid UTF-8";
    if (suspect) {
        for (const char c : name) {
            if (static_cast<unsigned char>(c) < 0x20) return u"holds a control character";
        }
    }
    if (name.size() >= 2 && IsSlash(name[0]) && IsSlash(name[1])) return u"is a UNC or device path";
    if (suspect && name.find('\\') != std::string_view::npos) return u"uses a backslash as separator";
    if (name[0] == '/') return u"is an absolute path";
    if (suspect) {
        if (name.size() >= 2 && name[1] == ':' && ((name[0] | 0x20) >= 'a' && (name[0] | 0x20) <= 'z')) {
            return u"starts with a drive letter";
        }
        if (name.find(':') != std::string_view::npos) return u"holds a ':' (an alternate data stream)";
        if (name.find_first_of("<>\"|?*") != std::string_view::npos) {
            return u"holds a character that Windows forbids in names";
        }
    }

    std::string_view rest = name.back() == '/' ? name.substr(0, name.size() - 1) : name;
    while (true) {
        const std::size_t slash = rest.find('/');
        const std::string_view segment = rest.substr(0, slash);
        if (segment.empty()) return u"has an empty path segment";
        if (segment == "..") return u"has a \"..\" segment";
        if (segment == ".") return u"has a \".\" segment";
        if (segment.back() == '.' || segment.back() == ' ') return u"has a segment ending in a dot or a space";
        if (IsReservedDeviceName(segment)) return u"uses a reserved Windows device name";
        if (Utf16Units(segment) > EntryName::kMaxSegmentUnits) return u"has a segment longer than 255 characters";
        if (slash == std::string_view::npos) break;
        rest.remove_prefix(slash + 1);
    }
    return std::nullopt;
}

}  // namespace

Result<EntryName> EntryName::Parse(std::string_view utf8) {
    if (const auto refusal = Refusal(utf8)) {
        return Error{u"entry " + Quoted(utf8) + u" " + CString(*refusal)};
    }
    return EntryName(std::string(utf8));
}

std::string_view EntryName::Path() const {
    const std::string_view name = m_utf8;
    return IsFolder() ? name.substr(0, name.size() - 1) : name;
}

}  // namespace VdcContainer
