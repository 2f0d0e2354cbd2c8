// ExtensionAppSupport: the host applications and their names.
#include "OvxComponent/extensions/format/extension_app_support.h"

#include "extensions/format/enum_text_table.h"

namespace OvxComponent {
namespace {

const EnumTextTable<ExtensionAppSupport>& Table() {
    static const auto* const table = new EnumTextTable<ExtensionAppSupport>{
        {ExtensionAppSupport::Atlas, u"Atlas"},
        {ExtensionAppSupport::Beacon, u"Beacon"},
        {ExtensionAppSupport::Cinder, u"Cinder"},
        {ExtensionAppSupport::Delta, u"Delta"},
    };
    return *table;
}

}  // namespace

CString ToString(ExtensionAppSupport value) { return Table().ToString(value); }

std::optional<ExtensionAppSupport> ExtensionAppSupportFromString(const CString& text) {
    return Table().FromString(text);
}

}  // namespace OvxComponent
