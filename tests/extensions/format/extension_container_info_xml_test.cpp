// Serialize and Deserialize through real packages: a packed package is edited entry by
// entry and opened again.
#include "OvxComponent/extensions/format/extension_container_info.h"

#include "OvxComponent/extensions/format/extension_container.h"
#include "container/zip_container_schema.h"
#include "extension_package_builder.h"

#include <gmock/gmock.h>
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

// Every field reads back, and the InstanceID made at the first save stays through later ones.
TEST(ExtensionContainerInfoXml, PackedPackageReadsBackWithEveryFieldAndKeepsItsInstanceID) {
    const ExtensionPackageBuilder builder;
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->data(), OvxTest::SampleExtensionData());
    EXPECT_FALSE(builder.InstanceID().IsNull());
    EXPECT_EQ(info->GetInstanceID(), builder.InstanceID());
    EXPECT_EQ(info->GetDerivedFrom(),
              std::vector<OvxUtils::Guid>{*OvxUtils::Guid::FromString(u"{11111111-2222-3333-4444-555555555555}")});
    EXPECT_EQ(info->GetWinMaxVersionAsString(), CString(u"*"));
    {
        auto package = ExtensionContainer::Open(builder.Path(), VdcContainer::ZipFile::OpenMode::ReadWrite);
        ASSERT_TRUE(package && package->GetInfo());
        auto changed = package->GetInfo()->Modify();
        changed->SetCreatorTool(u"resaved");
        package->SetInfo(std::move(changed));
        ASSERT_TRUE(package->Close());
    }
    const auto resaved = builder.Read();
    ASSERT_NE(resaved, nullptr);
    EXPECT_EQ(resaved->GetCreatorTool(), CString(u"resaved"));
    EXPECT_EQ(resaved->GetInstanceID(), builder.InstanceID());
}

// A refused package names the rule and what broke it; refusal is where the reason starts,
// null for a package that reads.
void ExpectReadOrRefused(const ExtensionPackageBuilder& builder, const char* refusal) {
    EXPECT_EQ(builder.Read() != nullptr, refusal == nullptr);
    if (refusal != nullptr) {
        EXPECT_THAT(builder.InfoError().ToUtf8(), testing::StartsWith(refusal));
    }
}

struct DocumentEdit {
    const char* name;
    CString entry;
    std::string pattern;
    std::string replacement;
    const char* refusal;
};

class ExtensionDocumentEdits : public testing::TestWithParam<DocumentEdit> {};

TEST_P(ExtensionDocumentEdits, ReadOnlyWhenTheDocumentIsValid) {
    const DocumentEdit& edit = GetParam();
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.Replace(edit.entry, edit.pattern, edit.replacement));
    ExpectReadOrRefused(builder, edit.refusal);
}


INSTANTIATE_TEST_SUITE_P(
    , ExtensionDocumentEdits,
    testing::Values(
        DocumentEdit{"ZcfVersion11", kExtensionXml, "zcf_version=\"1.0\"", "zcf_version=\"1.1\"", "extension.xml: zcf_version is \"1.1\""},
        DocumentEdit{"TypeDiffersFromSubFormat", kExtensionXml, "type=\"script\"", "type=\"style\"", "metadata: SubFormat \"script\" differs from the type \"style\""},
        DocumentEdit{"RequirementsRootWrong", kRequirementsXml, "<requirements ", "<requirement ", "requirements.xml: missing, or not XML"},
        DocumentEdit{"FeatureRequirement", kRequirementsXml, "<requirements [^>]*>",
                     "$&<require_must require_type=\"feature\" requires_any_of=\"ink\" />", "requirements.xml: the feature requirement \"ink\""},
        DocumentEdit{"OtherChildOfRequirements", kRequirementsXml, "<requirements [^>]*>",
                     "$&<require_may require_type=\"platform_bits\" requires_any_of=\"x64\" />", "requirements.xml: an element other than require_must"},
        DocumentEdit{"WindowsBoundsBothStar", kRequirementsXml, "\"6.1\"", "\"*\"", nullptr},
        DocumentEdit{"WindowsMaximumEmpty", kRequirementsXml, "requires_before=\"\\*\"", "requires_before=\"\"",
                     "requirements.xml: the windows_version requirement needs both bounds"},
        DocumentEdit{"NoRequirementsAtAll", kRequirementsXml, "<require_must[\\s\\S]*</requirements>",
                     "</requirements>", nullptr},
        DocumentEdit{"EntryPointsEmpty", kExtensionXml, "<entry_points>[\\s\\S]*</entry_points>",
                     "<entry_points />", nullptr},
        DocumentEdit{"EntryPointsMissing", kExtensionXml, "<entry_points>[\\s\\S]*</entry_points>", "", nullptr}),
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

TEST(ExtensionContainerInfoXml, EntryPointOfUnknownTypeIsDroppedAndAnEmptyGuidReadsAsNone) {
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.Replace(kExtensionXml, "entry_point_type=\"tool\"", "entry_point_type=\"Tool\""));
    ASSERT_TRUE(builder.Replace(kExtensionXml, "entry_point_guid=\"[^\"]*\"", "entry_point_guid=\"\""));
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    ExtensionEntryPoint kept = OvxTest::SampleExtensionData().EntryPoints[1];
    kept.Guid = std::nullopt;
    EXPECT_THAT(info->data().EntryPoints, testing::ElementsAre(kept));
}

struct MetadataEdit {
    const char* name;
    std::function<void(VdcContainer::Metadata::Container&)> edit;
    const char* refusal;
};

class ExtensionMetadataEdits : public testing::TestWithParam<MetadataEdit> {};

TEST_P(ExtensionMetadataEdits, ReadOnlyWhenTheMetadataIsValid) {
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.EditMetadata(GetParam().edit));
    ExpectReadOrRefused(builder, GetParam().refusal);
}

using Metadata = VdcContainer::Metadata::Container;

INSTANTIATE_TEST_SUITE_P(
    , ExtensionMetadataEdits,
    testing::Values(
        MetadataEdit{"InstanceIDMissing", [](Metadata& m) { m.RemoveMetadata(Keys::InstanceID); }, "metadata: InstanceID is missing"},
        MetadataEdit{"DocumentIDZero", [](Metadata& m) { m.SetMetadata(Keys::DocumentID, OvxUtils::Guid()); }, "metadata: DocumentID is missing"},
        MetadataEdit{"ContentVersionDiffers", [](Metadata& m) { m.SetStringMetadata(Keys::ContentVersion, u"2.5.2"); },
                     "metadata: ContentVersion \"2.5.2\" differs"},
        MetadataEdit{"SubFormatDiffers", [](Metadata& m) { m.SetStringMetadata(Keys::SubFormat, u"Script"); }, "metadata: SubFormat \"Script\""},
        MetadataEdit{"OptionalPropertiesMissing",
                     [](Metadata& m) {
                         for (const auto& key : {Keys::Title, Keys::Description, Keys::DerivedFrom, Keys::Keywords,
                                                 Keys::Notes, Keys::CreatorTool}) {
                             m.RemoveMetadata(key);
                         }
                     },
                     nullptr}),
    [](const testing::TestParamInfo<MetadataEdit>& edit) { return std::string(edit.param.name); });

TEST(ExtensionContainerInfoXml, MetadataDocumentIDWinsOverTheGuidAttribute) {
    const ExtensionPackageBuilder builder;
    ASSERT_TRUE(builder.EditMetadata([](Metadata& m) { m.SetMetadata(Keys::DocumentID, kOtherId); }));
    const auto info = builder.Read();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->GetDocumentID(), kOtherId);
}

}  // namespace
