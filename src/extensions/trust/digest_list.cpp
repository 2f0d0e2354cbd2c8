// The digest list's text: parsing with every rule checked, and formatting.
#include "extensions/trust/digest_list.h"

#include <algorithm>

namespace OvxComponent::Trust {

namespace {

using OvxUtils::Error;

constexpr std::size_t kHexDigits = 2 * std::tuple_size_v<Sha256>;

bool IsLowerHex(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }

int HexValue(char c) { return c <= '9' ? c - '0' : c - 'a' + 10; }

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
    std::vector<DigestLine> lines;
    lines.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() + 1);
        if (line.size() <= kHexDigits + 2 || line.substr(kHexDigits, 2) != "  " ||
            !std::all_of(line.begin(), line.begin() + kHexDigits, IsLowerHex)) {
            return Error{LineError(number, u"is not \"<64 lowercase hex digits>  <entry name>\"")};
        }
        DigestLine parsed;
        parsed.name = std::string(line.substr(kHexDigits + 2));
        if (parsed.name.find_first_of("\r\\") != std::string::npos) {
            return Error{LineError(number, u"holds a carriage return or a backslash")};
        }
        for (std::size_t i = 0; i < parsed.digest.size(); ++i) {
            parsed.digest[i] = static_cast<unsigned char>(HexValue(line[2 * i]) * 16 + HexValue(line[2 * i + 1]));
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
