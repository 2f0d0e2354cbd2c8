// The digest list's text: parsing with every rule checked, and formatting.
#include "extensions/trust/digest_list.h"

#include <algorithm>
#include <array>

namespace OvxComponent::Trust {

namespace {

using OvxUtils::Error;

constexpr std::size_t kHexDigits = 2 * std::tuple_size_v<Sha256>;

// The value of each lowercase hex digit; 16 for every other byte.
constexpr std::array<unsigned char, 256> kHexValues = [] {
    std::array<unsigned char, 256> values{};
    values.fill(16);
    for (int digit = 0; digit < 10; ++digit) values['0' + digit] = static_cast<unsigned char>(digit);
    for (int digit = 0; digit < 6; ++digit) values['a' + digit] = static_cast<unsigned char>(10 + digit);
    return values;
}();

// The digest the line's first 64 characters spell, or nothing.
bool ReadDigest(std::string_view hex, Sha256& digest) {
    unsigned char invalid = 0;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        const unsigned char high = kHexValues[static_cast<unsigned char>(hex[2 * i])];
        const unsigned char low = kHexValues[static_cast<unsigned char>(hex[2 * i + 1])];
        invalid |= static_cast<unsigned char>((high | low) & 16);
        digest[i] = static_cast<unsigned char>((high << 4) | (low & 15));
    }
    return invalid == 0;
}

CString LineError(std::size_t number, const char16_t* what) {
    return CString(u"line ") + OvxUtils::DecimalText(number) + u" of " + CString::FromUtf8(kDigestListEntry) + u" " +
           what;
}

}  // namespace

OvxUtils::Result<std::vector<DigestLine>> ParseDigestList(std::string_view text) {
    if (text.size() > kMaxDigestListSize) {
        return Error{CString::FromUtf8(kDigestListEntry) + u" is larger than the cap of " +
                     OvxUtils::DecimalText(kMaxDigestListSize) + u" bytes"};
    }
    if (!text.empty() && text.back() != '\n') {
        return Error{CString::FromUtf8(kDigestListEntry) + u" does not end with a line feed"};
    }
    // Room for as many lines as the text can hold, not as many line feeds as it has: the
    // list may be hostile, and a line is at least a digest, two blanks, a name and its end.
    std::vector<DigestLine> lines;
    lines.reserve(std::min(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')),
                           text.size() / (kHexDigits + 4)));
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() + 1);
        DigestLine parsed;
        if (line.size() <= kHexDigits + 2 || line.substr(kHexDigits, 2) != "  " || !ReadDigest(line, parsed.digest)) {
            return Error{LineError(number, u"is not \"<64 lowercase hex digits>  <entry name>\"")};
        }
        parsed.name = std::string(line.substr(kHexDigits + 2));
        if (parsed.name.find_first_of("\r\\") != std::string::npos) {
            return Error{LineError(number, u"holds a carriage return or a backslash")};
        }
        if (!lines.empty() && !(lines.back().name < parsed.name)) {
            return Error{LineError(number, lines.back().name == parsed.name ? u"lists an entry a second time"
                                                                              : u"is out of order (names sort by bytes)")};
        }
        lines.push_back(std::move(parsed));
    }
    return lines;
}

OvxUtils::Result<std::string> FormatDigestList(std::vector<DigestLine> lines) {
    std::sort(lines.begin(), lines.end(), [](const DigestLine& a, const DigestLine& b) { return a.name < b.name; });
    static constexpr char kHex[] = "0123456789abcdef";
    std::string text;
    text.reserve(lines.size() * (kHexDigits + 48));
    for (const DigestLine& line : lines) {
        if (line.name.empty() || line.name.find_first_of("\n\r\\") != std::string::npos) {
            return Error{u"the entry name " + OvxUtils::Quoted(line.name) +
                         u" cannot be listed in sha256sum's format (line break or backslash)"};
        }
        for (const unsigned char byte : line.digest) {
            text += kHex[byte >> 4];
            text += kHex[byte & 15];
        }
        text += "  ";
        text += line.name;
        text += '\n';
    }
    return text;
}

}  // namespace OvxComponent::Trust
