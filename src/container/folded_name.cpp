// FoldedName: simple case folding, code point by code point, as CompareNoCase does.
#include "container/folded_name.h"

#include "platform/case_folding.h"

#include <cstdint>

namespace VdcContainer {

namespace {

// The folded code point at i, advancing i past it.
char32_t NextFolded(std::string_view utf8, std::size_t& i) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) {  // ASCII folds only A-Z
        ++i;
        return lead >= 'A' && lead <= 'Z' ? lead + ('a' - 'A') : lead;
    }
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t cp = lead & (0x7F >> length);
    for (std::size_t k = 1; k < length && i + k < utf8.size(); ++k) {
        cp = (cp << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
    }
    i += length;
    return OvxUtils::Unicode::SimpleFold(cp);
}

}  // namespace

std::u32string FoldedName(std::string_view utf8) {
    std::u32string folded;
    folded.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) folded.push_back(NextFolded(utf8, i));
    return folded;
}

std::size_t FoldedHash(std::string_view utf8) {
    std::uint64_t hash = 14695981039346656037ull;  // FNV-1a over the folded code points
    for (std::size_t i = 0; i < utf8.size();) {
        hash = (hash ^ static_cast<std::uint64_t>(NextFolded(utf8, i))) * 1099511628211ull;
    }
    return static_cast<std::size_t>(hash);
}

bool FoldedEqual(std::string_view a, std::string_view b) {
    if (a == b) return true;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (NextFolded(a, i) != NextFolded(b, j)) return false;
    }
    return i >= a.size() && j >= b.size();
}

}  // namespace VdcContainer
