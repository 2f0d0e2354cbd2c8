// The metadata file of ovxext pack: an XML document that gives an extension's metadata,
// so that it can live beside the extension's sources instead of on the command line.
// docs/ovxext.md describes the format.
#pragma once

#include "extensions/format/extension_data.h"

#include <string>

namespace Ovxext {

// Reads the file at path into data, replacing the fields that the file gives. False with
// error set (without the file name) when the file cannot be read, is not well-formed, or
// holds an element or value that is not understood.
bool ReadMetadataFile(const std::string& path, OvxComponent::ExtensionData& data, std::string& error);

}  // namespace Ovxext
