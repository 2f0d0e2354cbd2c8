// Reading metadata values given as text, on the command line or in a metadata file. Each
// answers the value, or the error that says why the text is not one.
#pragma once

#include "OvxComponent/extensions/format/extension_data.h"
#include "OvxComponent/platform/result.h"

#include <optional>
#include <string>
#include <vector>

namespace Ovxext {

OvxUtils::Result<OvxUtils::Guid> ParseGuid(const std::string& text);
OvxUtils::Result<OvxUtils::Version> ParseVersion(const std::string& text);
// "*" or an empty text is an absent bound.
OvxUtils::Result<std::optional<OvxUtils::Version>> ParseBound(const std::string& text);
// Each text is one name or a comma-separated list of names ("Atlas,Delta").
OvxUtils::Result<std::vector<OvxComponent::ExtensionAppSupport>> ParseApps(const std::vector<std::string>& texts);
OvxUtils::Result<std::vector<OvxUtils::runtime_bits>> ParsePlatforms(const std::vector<std::string>& texts);

// A range that no version passes (its minimum is not below its exclusive maximum) makes a
// package that no host accepts: the error says so, under what names the range.
OvxUtils::Result<void> CheckRangeNotEmpty(const std::string& what, const OvxUtils::VersionRange& range);

// A control character (but tab, line feed and carriage return), U+FFFE or U+FFFF in a text
// of the record would be left out when the package is written: the error names the text.
OvxUtils::Result<void> CheckTextsWritable(const OvxComponent::ExtensionData& data);

}  // namespace Ovxext
