// FoldedName: simple case folding, code point by code point, as CompareNoCase does.
#include "container/folded_name.h"

#include "platform/case_folding.h"

namespace VdcContainer {

std::u32string FoldedName(std::string_view utf8) {
    std::u32string folded;
    folded.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t cp = length == 1 ? lead : lead & (0x7F >> length);
        for (std::size_t k = 1; k < length && i + k < utf8.size(); ++k) {
            cp = (cp << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
        }
        folded.push_back(OvxUtils::Unicode::SimpleFold(cp));
        i += length;
    }
    return folded;
}

}  // namespace VdcContainer
