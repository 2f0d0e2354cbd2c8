// --json: writing a document.
#include "json_output.h"

#include <algorithm>
#include <cstdio>

namespace Ovxext {

void WriteJson(const CommandContext& context, const Json& document) {
    const std::string text = document.dump(2, ' ', false, Json::error_handler_t::replace);
    // The dump is well-formed UTF-8 with every control character below U+0020 inside a
    // string escaped, and the characters beyond ASCII occur only inside strings; any of
    // them may be written as \uXXXX there.
    std::string shown;
    shown.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const OvxUtils::DisplayText::Utf8CodePoint codePoint = OvxUtils::DisplayText::ReadUtf8(text, i);
        const std::size_t length = std::max<std::size_t>(codePoint.length, 1);
        if (codePoint.value >= 0x7F && OvxUtils::DisplayText::IsEscaped(codePoint.value)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(codePoint.value));
            shown += escape;
        } else {
            shown.append(text, i, length);
        }
        i += length;
    }
    context.out << shown << "\n";
}

}  // namespace Ovxext
