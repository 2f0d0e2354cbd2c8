// The text forms of the package format's enumerations, which packages store.
#include "OvxComponent/extensions/format/extension_app_support.h"
#include "OvxComponent/extensions/format/runtime_bits.h"
#include "extensions/format/extension_requirement_type.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

using namespace OvxComponent;
using OvxUtils::runtime_bits;

// The texts are part of the package format: each table's rows, in order, with texts that
// must not be accepted.
template <class E>
void ExpectTable(std::optional<E> (*fromString)(const CString&), std::vector<std::pair<E, const char16_t*>> rows,
                 std::vector<const char16_t*> refused) {
    for (const auto& [value, text] : rows) {
        EXPECT_EQ(ToString(value), CString(text));
        EXPECT_EQ(fromString(text), value) << CString(text);
    }
    for (const auto unknown : {-1, static_cast<int>(rows.size()), INT32_MAX})
        EXPECT_EQ(ToString(static_cast<E>(unknown)), CString(rows.front().second)) << unknown;
    for (const char16_t* text : refused) EXPECT_EQ(fromString(text), std::nullopt) << CString(text);
}

TEST(EnumTextTable, TextsAreExactAndUnknownValuesPrintTheFirstRow) {
    ExpectTable<ExtensionAppSupport>(
        &ExtensionAppSupportFromString,
        {{ExtensionAppSupport::Atlas, u"Atlas"}, {ExtensionAppSupport::Beacon, u"Beacon"},
         {ExtensionAppSupport::Cinder, u"Cinder"}, {ExtensionAppSupport::Delta, u"Delta"}},
        {u"atlas", u"Atlas,Delta", u""});
    ExpectTable<runtime_bits>(&OvxUtils::RuntimeBitsFromString,
                              {{runtime_bits::x32, u"x32"}, {runtime_bits::x64, u"x64"}}, {u"X64"});
    ExpectTable<ExtensionRequirementType>(
        &ExtensionRequirementTypeFromString,
        {{ExtensionRequirementType::PlatformBits, u"platform_bits"},
         {ExtensionRequirementType::OrvexApplication, u"orvex_application"},
         {ExtensionRequirementType::WindowsVersion, u"windows_version"},
         {ExtensionRequirementType::OrvexSuiteVersion, u"orvex_suite_version"},
         {ExtensionRequirementType::Feature, u"feature"}},
        {u"Feature", u"require_must"});
}

}  // namespace
