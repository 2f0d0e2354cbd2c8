// Guid: the text form, parsing and comparison of 16-byte identifiers.
#include "OvxComponent/platform/guid.h"

#include "platform/guid_random.h"

#include <stdexcept>

namespace OvxUtils {
namespace {

// Positions of the dashes in the bare 36-character form.
constexpr int kDashes[] = {8, 13, 18, 23};

int HexValue(CString::XCHAR c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

// Reads `digits` hex digits of text starting at pos; -1 on a non-hex character.
std::int64_t ReadHex(CString::ViewType text, std::size_t pos, int digits) {
    std::int64_t value = 0;
    for (int i = 0; i < digits; ++i) {
        const int v = HexValue(text[pos + static_cast<std::size_t>(i)]);
        if (v < 0) return -1;
        value = (value << 4) | v;
    }
    return value;
}

void AppendHex(CString& out, std::uint64_t value, int digits) {
    static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) out += static_cast<CString::XCHAR>(kDigits[(value >> shift) & 0xF]);
}

}  // namespace

Guid Guid::Generate() {
    Guid guid;
    do {
        if (!Detail::FillRandom(&guid, sizeof(guid))) throw std::runtime_error("no system random source");
        guid.Data3 = static_cast<std::uint16_t>((guid.Data3 & 0x0FFF) | 0x4000);  // version 4
        guid.Data4[0] = static_cast<std::uint8_t>((guid.Data4[0] & 0x3F) | 0x80);  // RFC 4122 variant
    } while (guid.IsNull());
    return guid;
}

std::optional<Guid> Guid::FromString(const CString& text) {
    auto view = text.View();
    if (view.size() == 38) {
        if (view.front() != u'{' || view.back() != u'}') return std::nullopt;
        view = view.substr(1, 36);
    }
    if (view.size() != 36) return std::nullopt;
    for (int dash : kDashes) {
        if (view[static_cast<std::size_t>(dash)] != u'-') return std::nullopt;
    }
    const std::int64_t d1 = ReadHex(view, 0, 8), d2 = ReadHex(view, 9, 4), d3 = ReadHex(view, 14, 4);
    if (d1 < 0 || d2 < 0 || d3 < 0) return std::nullopt;
    Guid guid;
    guid.Data1 = static_cast<std::uint32_t>(d1);
    guid.Data2 = static_cast<std::uint16_t>(d2);
    guid.Data3 = static_cast<std::uint16_t>(d3);
    constexpr std::size_t kByteOffsets[8] = {19, 21, 24, 26, 28, 30, 32, 34};
    for (std::size_t i = 0; i < 8; ++i) {
        const std::int64_t byte = ReadHex(view, kByteOffsets[i], 2);
        if (byte < 0) return std::nullopt;
        guid.Data4[i] = static_cast<std::uint8_t>(byte);
    }
    return guid;
}

CString Guid::ToString() const {
    CString out;
    out += u'{';
    AppendHex(out, Data1, 8);
    out += u'-';
    AppendHex(out, Data2, 4);
    out += u'-';
    AppendHex(out, Data3, 4);
    out += u'-';
    AppendHex(out, Data4[0], 2);
    AppendHex(out, Data4[1], 2);
    out += u'-';
    for (std::size_t i = 2; i < 8; ++i) AppendHex(out, Data4[i], 2);
    out += u'}';
    return out;
}

}  // namespace OvxUtils
