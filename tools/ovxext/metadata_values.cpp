// Reading metadata values given as text.
#include "metadata_values.h"

#include "command_context.h"

#include <cstdio>

namespace Ovxext {

namespace {

using OvxUtils::Error;

// The names of texts, each split at its commas; empty names are skipped.
std::vector<std::string> Names(const std::vector<std::string>& texts) {
    std::vector<std::string> names;
    for (const std::string& text : texts) {
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t comma = std::min(text.find(',', start), text.size());
            if (comma > start) names.push_back(text.substr(start, comma - start));
            start = comma + 1;
        }
    }
    return names;
}

template <class T, class FromString>
OvxUtils::Result<std::vector<T>> ParseList(const std::vector<std::string>& texts, FromString fromString,
                                           const char* kind, const char* expected) {
    std::vector<T> values;
    for (const std::string& name : Names(texts)) {
        const std::optional<T> parsed = fromString(FromUtf8(name));
        if (!parsed) return Error{FromUtf8("unknown " + std::string(kind) + " '" + name + "' (expected " + expected + ")")};
        values.push_back(*parsed);
    }
    return values;
}

}  // namespace

OvxUtils::Result<OvxUtils::Guid> ParseGuid(const std::string& text) {
    const auto parsed = OvxUtils::Guid::FromString(FromUtf8(text));
    if (!parsed) return Error{FromUtf8("'" + text + "' is not a GUID ({XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX})")};
    return *parsed;
}

OvxUtils::Result<OvxUtils::Version> ParseVersion(const std::string& text) {
    const auto parsed = OvxUtils::Version::TryParse(FromUtf8(text));
    if (!parsed) return Error{FromUtf8("'" + text + "' is not a version (numbers separated by dots)")};
    return *parsed;
}

OvxUtils::Result<std::optional<OvxUtils::Version>> ParseBound(const std::string& text) {
    if (text.empty() || text == "*") return std::optional<OvxUtils::Version>();
    auto version = ParseVersion(text);
    if (!version) return version.TakeError();
    return std::optional<OvxUtils::Version>(*version);
}

OvxUtils::Result<std::vector<OvxComponent::ExtensionAppSupport>> ParseApps(const std::vector<std::string>& texts) {
    return ParseList<OvxComponent::ExtensionAppSupport>(texts, OvxComponent::ExtensionAppSupportFromString,
                                                        "application", "Atlas, Beacon, Cinder or Delta");
}

OvxUtils::Result<std::vector<OvxUtils::runtime_bits>> ParsePlatforms(const std::vector<std::string>& texts) {
    return ParseList<OvxUtils::runtime_bits>(texts, OvxUtils::RuntimeBitsFromString, "platform", "x32 or x64");
}

OvxUtils::Result<void> CheckRangeNotEmpty(const std::string& what, const OvxUtils::VersionRange& range) {
    if (!range.min || !range.max || OvxUtils::Version::Compare(*range.min, *range.max) < 0) return {};
    return OvxUtils::Error{CString::FromUtf8(what + ": the minimum " + range.min->ToString().ToUtf8() +
                                             " is not below the maximum " + range.max->ToString().ToUtf8() +
                                             ", which is exclusive, so no version passes")};
}

OvxUtils::Result<void> CheckTextsWritable(const OvxComponent::ExtensionData& data) {
    std::vector<std::pair<std::string, const CString*>> texts{{"extension type", &data.ExtensionType},
                                                              {"creator tool", &data.CreatorTool}};
    const auto add = [&](const std::string& what, const MultiLanguageString& text) {
        texts.emplace_back(what, &text.GetDefault());
        for (const auto& [language, variant] : text.GetVariants()) {
            texts.emplace_back(what + " (" + Utf8(language) + ")", &variant);
        }
    };
    add("title", data.Title);
    add("description", data.Description);
    add("notes", data.Notes);
    for (const auto& keyword : data.Keywords) add("keyword", keyword);
    for (const auto& entry : data.EntryPoints) {
        add("entry point name", entry.Name);
        add("entry point description", entry.ShortDescription);
        texts.emplace_back("entry point value", &entry.Value);
    }
    for (const auto& [what, text] : texts) {
        for (const char16_t unit : text->Str()) {
            if ((unit >= 0x20 && unit < 0xFFFE) || unit == u'\t' || unit == u'\n' || unit == u'\r') continue;
            char code[8];
            std::snprintf(code, sizeof code, "%04X", static_cast<unsigned>(unit));
            return Error{FromUtf8(what + ": holds U+" + code + ", a character that XML, and so a package, cannot hold")};
        }
    }
    return {};
}

}  // namespace Ovxext
