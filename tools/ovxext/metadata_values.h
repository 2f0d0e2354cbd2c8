// Reading metadata values given as text, on the command line or in a metadata file. Each
// returns false with error set when the text is not a valid value.
#pragma once

#include "extensions/format/extension_data.h"

#include <optional>
#include <string>

namespace Ovxext {

bool ParseGuid(const std::string& text, OvxUtils::Guid& id, std::string& error);
bool ParseVersion(const std::string& text, OvxUtils::Version& version, std::string& error);
// "*" or an empty text is an absent bound.
bool ParseBound(const std::string& text, std::optional<OvxUtils::Version>& bound, std::string& error);
bool ParseApp(const std::string& text, OvxComponent::ExtensionAppSupport& app, std::string& error);
bool ParsePlatform(const std::string& text, OvxUtils::runtime_bits& platform, std::string& error);

}  // namespace Ovxext
