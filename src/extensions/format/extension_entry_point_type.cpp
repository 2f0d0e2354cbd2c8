// ExtensionEntryPointType: the entry-point types and their names.
#include "OvxComponent/extensions/format/extension_entry_point_type.h"

#include "extensions/format/enum_text_table.h"

namespace OvxComponent {
namespace {

const EnumTextTable<ExtensionEntryPointType>& Table() {
    static const auto* const table = new EnumTextTable<ExtensionEntryPointType>{
        {ExtensionEntryPointType::Control, u"control"},
        {ExtensionEntryPointType::Tool, u"tool"},
        {ExtensionEntryPointType::Docker, u"docker"},
        {ExtensionEntryPointType::Toolbar, u"toolbar"},
        {ExtensionEntryPointType::Menu, u"menu"},
    };
    return *table;
}

}  // namespace

CString ToString(ExtensionEntryPointType value) { return Table().ToString(value); }

std::optional<ExtensionEntryPointType> ExtensionEntryPointTypeFromString(const CString& text) {
    return Table().FromString(text);
}

}  // namespace OvxComponent
