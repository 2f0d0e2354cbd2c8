// Serialize and Deserialize through real packages: a packed package is edited entry by
// entry and opened again.
#include "extensions/format/extension_container_info.h"

#include "container/zip_container_schema.h"
#include "extension_package_builder.h"
#include "extensions/format/extension_container.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

using namespace OvxComponent;
using OvxTest::ExtensionPackageBuilder;
namespace Keys = VdcContainer::ZipContainerSchema::Metadata;

const CString kExtensionXml = u"extension.xml";
const CString kRequirementsXml = u"requirements.xml";
const OvxUtils::Guid kOtherId = *OvxUtils::Guid::FromString(u"{99999999-8888-7777-6666-555555555555}");

TEST(ExtensionContainerInfoXml, PackedPackageReadsBackWithEveryField) {
    const ExtensionPackageBuilder builder;
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->data(), OvxTest::SampleExtensionData());
    EXPECT_FALSE(builder.InstanceID().IsNull());
    EXPECT_EQ(info->GetInstanceID(), builder.InstanceID());
    EXPECT_EQ(info->GetDerivedFrom(),
              std::vector<OvxUtils::Guid>{*OvxUtils::Guid::FromString(u"{11111111-2222-3333-4444-555555555555}")});
    EXPECT_EQ(info->GetAppMaxVersionAsString(), CString(u"19"));
    EXPECT_EQ(info->GetWinMaxVersionAsString(), CString(u"*"));
}

TEST(ExtensionContainerInfoXml, LaterSavesKeepTheInstanceID) {
    const ExtensionPackageBuilder builder;
    {
        auto package = ExtensionContainer::Open(builder.Path(), VdcContainer::ZipFile::OpenMode::ReadWrite);
        ASSERT_TRUE(package && package->GetInfo());
        auto info = package->GetInfo()->Modify();
        info->SetCreatorTool(u"resaved");
        package->SetInfo(std::move(info));
        ASSERT_TRUE(package->Close());
    }
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->GetCreatorTool(), CString(u"resaved"));
    EXPECT_EQ(info->GetInstanceID(), builder.InstanceID());
}

struct DocumentEdit {
    const char* name;
    CString entry;
    std::string pattern;
    std::string replacement;
    bool readable;
};

class ExtensionDocumentEdits : public testing::TestWithParam<DocumentEdit> {};

TEST_P(ExtensionDocumentEdits, ReadOnlyWhenTheDocumentIsValid) {
    const DocumentEdit& edit = GetParam();
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.Replace(edit.entry, edit.pattern, edit.replacement));
    EXPECT_EQ(builder.Read() != nullptr, edit.readable);
}


INSTANTIATE_TEST_SUITE_P(
    , ExtensionDocumentEdits,
    testing::Values(
        DocumentEdit{"ZcfVersion11", kExtensionXml, "zcf_version=\"1.0\"", "zcf_version=\"1.1\"", false},
        DocumentEdit{"ZcfVersionMissing", kExtensionXml, "zcf_version=\"1.0\"", "", false},
        DocumentEdit{"GuidUnparsable", kExtensionXml, "guid=\"\\{", "guid=\"x{", false},
        DocumentEdit{"TypeDiffersFromSubFormat", kExtensionXml, "type=\"script\"", "type=\"style\"", false},
        DocumentEdit{"RequirementsRootWrong", kRequirementsXml, "<requirements ", "<requirement ", false},
        DocumentEdit{"FeatureRequirement", kRequirementsXml, "<requirements [^>]*>",
                     "$&<require_must require_type=\"feature\" requires_any_of=\"ink\" />", false},
        DocumentEdit{"EmptyFeatureRequirement", kRequirementsXml, "<requirements [^>]*>",
                     "$&<require_must require_type=\"feature\" requires_any_of=\"\" />", false},
        DocumentEdit{"OtherChildOfRequirements", kRequirementsXml, "<requirements [^>]*>",
                     "$&<require_may require_type=\"platform_bits\" requires_any_of=\"x64\" />", false},
        DocumentEdit{"RequireTypeUnknown", kRequirementsXml, "\"platform_bits\"", "\"Platform_bits\"", false},
        DocumentEdit{"RequireTypeMissing", kRequirementsXml, "require_type=\"platform_bits\"", "", false},
        DocumentEdit{"PlatformListEmpty", kRequirementsXml, "\"x32,x64\"", "\"\"", false},
        DocumentEdit{"ApplicationListEmpty", kRequirementsXml, "\"Atlas,Cinder\"", "\"\"", false},
        DocumentEdit{"WindowsBoundsBothStar", kRequirementsXml, "\"6.1\"", "\"*\"", true},
        DocumentEdit{"WindowsMaximumEmpty", kRequirementsXml, "requires_before=\"\\*\"", "requires_before=\"\"",
                     false},
        DocumentEdit{"WindowsMaximumMissing", kRequirementsXml, "requires_before=\"\\*\"", "", false},
        DocumentEdit{"SuiteMinimumEmpty", kRequirementsXml, "\"18.0\"", "\"\"", false},
        DocumentEdit{"SuiteBoundsEqual", kRequirementsXml, "\"18.0\"", "\"19.0\"", false},
        DocumentEdit{"SuiteBoundsReversed", kRequirementsXml, "\"18.0\"", "\"20\"", true},
        DocumentEdit{"NoRequirementsAtAll", kRequirementsXml, "<require_must[\\s\\S]*</requirements>",
                     "</requirements>", true},
        DocumentEdit{"EntryPointsEmpty", kExtensionXml, "<entry_points>[\\s\\S]*</entry_points>",
                     "<entry_points />", true},
        DocumentEdit{"EntryPointsMissing", kExtensionXml, "<entry_points>[\\s\\S]*</entry_points>", "", true}),
    [](const testing::TestParamInfo<DocumentEdit>& edit) { return std::string(edit.param.name); });

TEST(ExtensionContainerInfoXml, RequirementsReadReplaceOnlyWhatTheyState) {
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.Replace(kRequirementsXml, "\"6.1\"", "\"*\""));
    ASSERT_TRUE(builder.Replace(kRequirementsXml, "<require_must require_type=\"platform_bits\"[^>]*>", ""));
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->GetWinVersion(), OvxUtils::VersionRange());
    EXPECT_EQ(info->GetPlatformSupportAsString(), CString());
    EXPECT_EQ(info->GetApplistAsString(), CString(u"Atlas,Cinder"));
}

TEST(ExtensionContainerInfoXml, EntryPointOfUnknownTypeIsDroppedAndOthersKept) {
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.Replace(kExtensionXml, "entry_point_type=\"tool\"", "entry_point_type=\"Tool\""));
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    ASSERT_EQ(info->data().EntryPoints.size(), 1u);
    EXPECT_EQ(info->data().EntryPoints[0], OvxTest::SampleExtensionData().EntryPoints[1]);
}

TEST(ExtensionContainerInfoXml, EmptyEntryPointGuidReadsAsNone) {
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.Replace(kExtensionXml, "entry_point_guid=\"[^\"]*\"", "entry_point_guid=\"\""));
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    ASSERT_EQ(info->data().EntryPoints.size(), 2u);
    EXPECT_EQ(info->data().EntryPoints[0].Guid, std::nullopt);
}

struct MetadataEdit {
    const char* name;
    std::function<void(VdcContainer::Metadata::Container&)> edit;
    bool readable;
};

class ExtensionMetadataEdits : public testing::TestWithParam<MetadataEdit> {};

TEST_P(ExtensionMetadataEdits, ReadOnlyWhenTheMetadataIsValid) {
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.EditMetadata(GetParam().edit));
    EXPECT_EQ(builder.Read() != nullptr, GetParam().readable);
}

using Metadata = VdcContainer::Metadata::Container;

INSTANTIATE_TEST_SUITE_P(
    , ExtensionMetadataEdits,
    testing::Values(
        MetadataEdit{"InstanceIDMissing", [](Metadata& m) { m.RemoveMetadata(Keys::InstanceID); }, false},
        MetadataEdit{"InstanceIDZero", [](Metadata& m) { m.SetMetadata(Keys::InstanceID, OvxUtils::Guid()); }, false},
        MetadataEdit{"InstanceIDAsString",
                     [](Metadata& m) { m.SetStringMetadata(Keys::InstanceID, OvxUtils::Guid::Generate().ToString()); },
                     false},
        MetadataEdit{"DocumentIDMissing", [](Metadata& m) { m.RemoveMetadata(Keys::DocumentID); }, false},
        MetadataEdit{"DocumentIDZero", [](Metadata& m) { m.SetMetadata(Keys::DocumentID, OvxUtils::Guid()); }, false},
        MetadataEdit{"ContentVersionDiffers", [](Metadata& m) { m.SetStringMetadata(Keys::ContentVersion, u"2.5.2"); },
                     false},
        MetadataEdit{"ContentVersionMissing", [](Metadata& m) { m.RemoveMetadata(Keys::ContentVersion); }, false},
        MetadataEdit{"FormatVersion11", [](Metadata& m) { m.SetStringMetadata(Keys::Version, u"1.1"); }, false},
        MetadataEdit{"FormatVersionMissing", [](Metadata& m) { m.RemoveMetadata(Keys::Version); }, false},
        MetadataEdit{"SubFormatDiffers", [](Metadata& m) { m.SetStringMetadata(Keys::SubFormat, u"Script"); }, false},
        MetadataEdit{"OptionalPropertiesMissing",
                     [](Metadata& m) {
                         for (const auto& key : {Keys::Title, Keys::Description, Keys::DerivedFrom, Keys::Keywords,
                                                 Keys::Notes, Keys::CreatorTool}) {
                             m.RemoveMetadata(key);
                         }
                     },
                     true}),
    [](const testing::TestParamInfo<MetadataEdit>& edit) { return std::string(edit.param.name); });

TEST(ExtensionContainerInfoXml, MetadataDocumentIDWinsOverTheGuidAttribute) {
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.EditMetadata([](Metadata& m) { m.SetMetadata(Keys::DocumentID, kOtherId); }));
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->GetDocumentID(), kOtherId);
}

}  // namespace
