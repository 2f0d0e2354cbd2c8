// ExtensionContainerInfo: the record's defaults, and its ranges and lists from text.
#include "OvxComponent/extensions/format/extension_container_info.h"
#include "extension_package_builder.h"
#include "extensions/format/extension_info_bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace OvxComponent;
using OvxUtils::Version;
using Groups = std::vector<std::vector<CString>>;

Groups FeatureGroups(const ExtensionContainerInfo& info) {
    const auto groups = info.GetFeatureRequirements();
    return Groups(groups.begin(), groups.end());
}

TEST(ExtensionContainerInfo, DefaultRecordIsUnboundedAndEmpty) {
    const ExtensionContainerInfo info;
    const CString bounds[] = {info.GetAppMinVersionAsString(), info.GetAppMaxVersionAsString(),
                              info.GetWinMinVersionAsString(), info.GetWinMaxVersionAsString()};
    EXPECT_THAT(bounds, ::testing::Each(CString(u"*")));
    EXPECT_EQ(info.GetVersionAsString(), CString(u"0"));
    EXPECT_EQ(info.GetApplistAsString() + info.GetPlatformSupportAsString(), CString());
    EXPECT_TRUE(info.GetFeatureRequirementsAsStrings().empty());
}

// Both bounds are replaced, "*" or an empty text leaving one absent; the order of the
// bounds is not checked here.
TEST(ExtensionContainerInfo, RangesAndListsFromText) {
    ExtensionContainerInfo info;
    info.SetAppMinMaxVersion(u"1", u"2");
    EXPECT_TRUE(info.SetAppMinMaxVersion(u"*", u"19"));
    EXPECT_EQ(info.GetAppVersion(), (OvxUtils::VersionRange{std::nullopt, Version{19}}));
    EXPECT_TRUE(info.SetWinMinMaxVersion(u"20", u""));
    EXPECT_EQ(info.GetWinMinVersionAsString() + u" " + info.GetWinMaxVersionAsString(), CString(u"20 *"));

    // Unknown names are skipped, and the text still counts as read.
    EXPECT_TRUE(info.SetApplist(u"Atlas,Unknown,Delta"));
    EXPECT_THAT(info.GetAppList(), ::testing::ElementsAre(ExtensionAppSupport::Atlas, ExtensionAppSupport::Delta));
    EXPECT_TRUE(info.SetPlatformSupport(u"x64,x86,x32"));
    EXPECT_EQ(info.GetPlatformSupportAsString(), CString(u"x64,x32"));
}

TEST(ExtensionContainerInfo, FeatureGroupNamesMayNotHoldTheSeparator) {
    ExtensionContainerInfo info;
    info.AddFeatureRequirementFromString(u"kept");
    EXPECT_FALSE(info.AddFeatureRequirement(std::vector<CString>{u"a,b"}));
    EXPECT_FALSE(info.AddFeatureRequirement(std::vector<CString>{u"ok", u"a,b"}));
    EXPECT_EQ(FeatureGroups(info), (Groups{{u"kept"}}));

    EXPECT_TRUE(info.AddFeatureRequirementFromString(u"a, b"));
    EXPECT_TRUE(info.AddFeatureRequirementFromString(u""));
    EXPECT_EQ(FeatureGroups(info), (Groups{{u"kept"}, {u"a", u"b"}, {}}));
    EXPECT_EQ(info.GetFeatureRequirementsAsStrings(), (std::vector<CString>{u"kept", u"a,b", u""}));

    EXPECT_TRUE(info.SetAllFeatureRequirements(std::vector<CString>{u"x", u"y,z"}));
    EXPECT_EQ(FeatureGroups(info), (Groups{{u"x"}, {u"y", u"z"}}));
}

// The records that the library keeps of what it read hold every field, and refuse every
// cut of their bytes.
TEST(ExtensionContainerInfo, TheByteEncodingKeepsEveryFieldAndRefusesEveryCut) {
    ExtensionContainerInfo info;
    info.data() = OvxTest::SampleExtensionData();
    info.data().AuxiliaryString = u"carried";
    info.data().AuxiliaryInteger = -3;
    info.data().requirements.Features = {{u"ink", u"layers"}, {u"gpu"}};
    info.SetInstanceID(*OvxUtils::Guid::FromString(u"{00000000-0000-0000-0000-000000000008}"));
    info.SetDerivedFrom({*OvxUtils::Guid::FromString(u"{00000000-0000-0000-0000-000000000009}")});
    OvxUtils::ByteWriter out;
    WriteInfo(out, info);
    const std::string bytes = out.Take();
    OvxUtils::ByteReader in(bytes);
    const auto back = ReadInfo(in);
    ASSERT_TRUE(back && in.AtEnd());
    EXPECT_EQ(back->data(), info.data());
    EXPECT_EQ(back->GetInstanceID(), info.GetInstanceID());
    EXPECT_EQ(back->GetDerivedFrom(), info.GetDerivedFrom());
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        OvxUtils::ByteReader cut(std::string_view(bytes).substr(0, size));
        EXPECT_TRUE(!ReadInfo(cut) || !cut.AtEnd()) << "cut at " << size;
    }
}

}  // namespace
