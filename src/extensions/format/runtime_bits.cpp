// runtime_bits: the platforms and their names.
#include "OvxComponent/extensions/format/runtime_bits.h"

#include "extensions/format/enum_text_table.h"

namespace OvxUtils {
namespace {

const OvxComponent::EnumTextTable<runtime_bits>& Table() {
    static const auto* const table = new OvxComponent::EnumTextTable<runtime_bits>{
        {runtime_bits::x32, u"x32"},
        {runtime_bits::x64, u"x64"},
    };
    return *table;
}

}  // namespace

CString ToString(runtime_bits value) { return Table().ToString(value); }

std::optional<runtime_bits> RuntimeBitsFromString(const CString& text) { return Table().FromString(text); }

}  // namespace OvxUtils
