// ExtensionContainerInfo: the record's defaults, and its ranges and lists from text.
#include "OvxComponent/extensions/format/extension_container_info.h"

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

TEST(ExtensionContainerInfo, VersionRangesFromTextReplaceBothBounds) {
    struct Case {
        const char16_t *min, *max, *minText, *maxText;
    } cases[] = {
        {u"*", u"19", u"*", u"19"},
        {u"18.0.0.448", u"", u"18.0.0.448", u"*"},
        {u"20", u"19", u"20", u"19"},  // the order of the bounds is not checked here
        {u"6.x.1", u" 7 ", u"6.0.1", u"7"},
    };
    for (const Case& c : cases) {
        ExtensionContainerInfo info;
        info.SetAppMinMaxVersion(u"1", u"2");
        info.SetWinMinMaxVersion(u"1", u"2");
        EXPECT_TRUE(info.SetAppMinMaxVersion(c.min, c.max));
        EXPECT_TRUE(info.SetWinMinMaxVersion(c.min, c.max));
        const CString bounds[] = {info.GetAppMinVersionAsString(), info.GetAppMaxVersionAsString(),
                                  info.GetWinMinVersionAsString(), info.GetWinMaxVersionAsString()};
        EXPECT_THAT(bounds, ::testing::ElementsAre(c.minText, c.maxText, c.minText, c.maxText)) << CString(c.min);
    }
    ExtensionContainerInfo info;
    info.SetAppMinMaxVersion(u"*", u"19");
    EXPECT_EQ(info.GetAppVersion(), (OvxUtils::VersionRange{std::nullopt, Version{19}}));
}

TEST(ExtensionContainerInfo, ListTextsSkipUnknownNames) {
    struct Case {
        const char16_t *text, *apps, *platforms;
    } cases[] = {
        {u"Atlas,Unknown,Delta", u"Atlas,Delta", u""},
        {u"x64,x86,x32", u"", u"x64,x32"},
        {u"atlas,X64", u"", u""},
    };
    for (const Case& c : cases) {
        ExtensionContainerInfo info;
        info.SetApplist(u"Cinder");
        info.SetPlatformSupport(u"x32");
        EXPECT_TRUE(info.SetApplist(c.text));
        EXPECT_TRUE(info.SetPlatformSupport(CString(c.text)));
        EXPECT_EQ(info.GetApplistAsString(), CString(c.apps)) << CString(c.text);
        EXPECT_EQ(info.GetPlatformSupportAsString(), CString(c.platforms)) << CString(c.text);
    }
    ExtensionContainerInfo info;
    info.SetApplist(u"Atlas,Unknown,Delta");
    EXPECT_THAT(info.GetAppList(), ::testing::ElementsAre(ExtensionAppSupport::Atlas, ExtensionAppSupport::Delta));
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

}  // namespace
