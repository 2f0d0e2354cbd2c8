// Feeds arbitrary bytes to the text parsers that see package content: UTF-8 decoding,
// GUID, version and multi-language string parsing. Checks the round trips they promise.

#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/multi_language_string.h"
#include "OvxComponent/platform/version.h"
#include "platform/data_encoding.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const CString text = OvxUtils::DataEncoding::Utf8Decode(bytes);
    if (OvxUtils::DataEncoding::IsValidUtf8(bytes) && text.ToUtf8() != bytes) std::abort();

    if (const auto guid = OvxUtils::Guid::FromString(text)) {
        if (OvxUtils::Guid::FromString(guid->ToString()) != guid) std::abort();
    }
    if (const auto version = OvxUtils::Version::TryParse(text)) {
        if (OvxUtils::Version::TryParse(version->ToString()) != version) std::abort();
    }
    (void)OvxUtils::Version::Parse(text);

    const MultiLanguageString parsed = MultiLanguageString::FromString(text);
    if (MultiLanguageString::FromString(parsed.ToString()) != parsed) std::abort();
    return 0;
}
