// Opening an extension package for the read-only commands.
#pragma once

#include "OvxComponent/extensions/format/extension_container.h"

#include <memory>
#include <string>

namespace Ovxext {

// Opens path read-only; the error text says why it could not be opened.
OvxUtils::Result<OvxComponent::ExtensionContainer> OpenPackage(const std::string& path);

// Reads the record of an opened package once more, into a record of its own, so that
// a package whose record the container refused can still be looked at. complete is false
// when reading stopped early; the record then holds what was read up to that point. Null
// when the package has no main root file or it is not well-formed XML.
std::unique_ptr<OvxComponent::ExtensionContainerInfo> ReadRecordAgain(const OvxComponent::ExtensionContainer& package,
                                                                      bool& complete);

}  // namespace Ovxext
