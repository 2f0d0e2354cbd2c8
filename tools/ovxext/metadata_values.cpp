#include "metadata_values.h"

#include "command_context.h"

namespace Ovxext {

bool ParseGuid(const std::string& text, OvxUtils::Guid& id, std::string& error) {
    const auto parsed = OvxUtils::Guid::FromString(FromUtf8(text));
    if (!parsed) {
        error = "'" + text + "' is not a GUID ({XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX})";
        return false;
    }
    id = *parsed;
    return true;
}

bool ParseVersion(const std::string& text, OvxUtils::Version& version, std::string& error) {
    const auto parsed = OvxUtils::Version::TryParse(FromUtf8(text));
    if (!parsed) {
        error = "'" + text + "' is not a version (numbers separated by dots)";
        return false;
    }
    version = *parsed;
    return true;
}

bool ParseBound(const std::string& text, std::optional<OvxUtils::Version>& bound, std::string& error) {
    if (text.empty() || text == "*") {
        bound.reset();
        return true;
    }
    OvxUtils::Version version;
    if (!ParseVersion(text, version, error)) return false;
    bound = version;
    return true;
}

bool ParseApp(const std::string& text, OvxComponent::ExtensionAppSupport& app, std::string& error) {
    const auto parsed = OvxComponent::ExtensionAppSupportFromString(FromUtf8(text));
    if (!parsed) {
        error = "unknown application '" + text + "' (expected Atlas, Beacon, Cinder or Delta)";
        return false;
    }
    app = *parsed;
    return true;
}

bool ParsePlatform(const std::string& text, OvxUtils::runtime_bits& platform, std::string& error) {
    const auto parsed = OvxUtils::RuntimeBitsFromString(FromUtf8(text));
    if (!parsed) {
        error = "unknown platform '" + text + "' (expected x32 or x64)";
        return false;
    }
    platform = *parsed;
    return true;
}

}  // namespace Ovxext
