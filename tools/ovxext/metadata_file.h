// The metadata file of ovxext pack: an XML document that gives an extension's metadata,
// so that it can live beside the extension's sources instead of on the command line.
// docs/ovxext.md describes the format.
#pragma once

#include "OvxComponent/extensions/format/extension_data.h"
#include "OvxComponent/platform/result.h"

#include <string>

namespace Ovxext {

// Reads the file at path into data, replacing the fields that the file gives; data stays
// as it was when the file cannot be read, is not well-formed, or holds an element or value
// that is not understood, and the error (without the file name) says which.
OvxUtils::Result<void> ReadMetadataFile(const std::string& path, OvxComponent::ExtensionData& data);

}  // namespace Ovxext
