#include "extensions/channel/channel_package.h"

#include "OvxComponent/extensions/format/check_requirements.h"
#include "OvxComponent/extensions/format/runtime_bits.h"
#include "update/update_error.h"

#include <algorithm>
#include <array>

namespace OvxComponent {

namespace {

using nlohmann::json;

CString StringField(const json& fields, const char* name) {
    auto found = fields.find(name);
    return found != fields.end() && found->is_string() ? CString::FromUtf8(found->get<std::string>())
                                                       : CString();
}

std::vector<CString> StringsField(const json& fields, const char* name) {
    std::vector<CString> strings;
    auto found = fields.find(name);
    if (found == fields.end() || !found->is_array()) return strings;
    for (const auto& item : *found)
        if (item.is_string()) strings.push_back(CString::FromUtf8(item.get<std::string>()));
    return strings;
}

}  // namespace

ChannelPackage ReadChannelPackage(const OvxUpdate::TargetFile& target) {
    ChannelPackage package;
    package.targetPath = target.path;
    package.length = target.length;
    if (!target.custom.is_object()) return package;
    auto fields = target.custom.find("orvex");
    if (fields == target.custom.end() || !fields->is_object()) return package;
    package.hasExtensionFields = true;
    if (auto id = StringField(*fields, "document_id"); !id.IsEmpty())
        package.documentId = OvxUtils::Guid::FromString(id);
    package.version = StringField(*fields, "version");
    package.applications = StringsField(*fields, "applications");
    package.platforms = StringsField(*fields, "platforms");
    package.extensionType = StringField(*fields, "extension_type");
    return package;
}

bool IsForThisHost(const ChannelPackage& package, const std::set<ExtensionAppSupport>& supported) {
    if (!package.hasExtensionFields) return false;
    bool application =
        package.applications.empty() ||
        std::any_of(package.applications.begin(), package.applications.end(), [&](const CString& name) {
            auto known = ExtensionAppSupportFromString(name);
            return known && supported.contains(*known);
        });
    CString platform = OvxUtils::ToString(kRunningPlatform);
    bool onPlatform =
        package.platforms.empty() ||
        std::find(package.platforms.begin(), package.platforms.end(), platform) != package.platforms.end();
    return application && onPlatform;
}

OvxUtils::Result<CString> DestinationName(const std::string& targetPath) {
    std::string name = targetPath.substr(targetPath.rfind('/') + 1);
    auto refuse = [&](const char* why) {
        return OvxUpdate::Refused("target " + OvxUpdate::Named(targetPath) +
                                  " cannot be placed: its file name " + why);
    };
    if (name.empty() || name.size() > 200) return refuse("is empty or longer than 200 bytes");
    if (name.front() == '.') return refuse("starts with a dot");
    if (name.back() == ' ' || name.back() == '.') return refuse("ends with a space or a dot");
    for (unsigned char c : name)
        if (c < 0x20 || c == 0x7F ||
            std::string_view("<>:\"\\|?*").find(static_cast<char>(c)) != std::string_view::npos)
            return refuse("holds a control or reserved character");
    std::string stem = name.substr(0, name.find('.'));
    std::transform(stem.begin(), stem.end(), stem.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    static constexpr std::array kDevices{"CON",  "PRN",  "AUX",  "NUL",  "COM1", "COM2", "COM3", "COM4",
                                         "COM5", "COM6", "COM7", "COM8", "COM9", "LPT1", "LPT2", "LPT3",
                                         "LPT4", "LPT5", "LPT6", "LPT7", "LPT8", "LPT9"};
    if (std::find(kDevices.begin(), kDevices.end(), stem) != kDevices.end())
        return refuse("is a device name");
    auto decoded = CString::FromUtf8(name);
    if (decoded.ToUtf8() != name) return refuse("is not UTF-8");
    return decoded;
}

}  // namespace OvxComponent
