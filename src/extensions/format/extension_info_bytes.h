// The metadata record of an extension in the library's own byte encoding, for the records
// it keeps of what it has read (platform/byte_record.h): every field of the record, so
// that a record read back equals the one written. Internal.
#pragma once

#include "OvxComponent/extensions/format/extension_container_info.h"
#include "platform/byte_record.h"

#include <memory>

namespace OvxComponent {

void WriteInfo(OvxUtils::ByteWriter& out, const ExtensionContainerInfo& info);
// The record, or null when the bytes are not one (the reader has then failed).
std::unique_ptr<ExtensionContainerInfo> ReadInfo(OvxUtils::ByteReader& in);

}  // namespace OvxComponent
