// ExtensionRequirementType: the requirement types of requirements.xml and their names.
#include "extensions/format/extension_requirement_type.h"

#include "extensions/format/enum_text_table.h"

namespace OvxComponent {
namespace {

const EnumTextTable<ExtensionRequirementType>& Table() {
    static const auto* const table = new EnumTextTable<ExtensionRequirementType>{
        {ExtensionRequirementType::PlatformBits, u"platform_bits"},
        {ExtensionRequirementType::OrvexApplication, u"orvex_application"},
        {ExtensionRequirementType::WindowsVersion, u"windows_version"},
        {ExtensionRequirementType::OrvexSuiteVersion, u"orvex_suite_version"},
        {ExtensionRequirementType::Feature, u"feature"},
    };
    return *table;
}

}  // namespace

CString ToString(ExtensionRequirementType value) { return Table().ToString(value); }

std::optional<ExtensionRequirementType> ExtensionRequirementTypeFromString(const CString& text) {
    return Table().FromString(text);
}

}  // namespace OvxComponent
