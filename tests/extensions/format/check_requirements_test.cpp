// CheckRequirements and FirstUnmetRequirement: the order of the steps, where they stop, and
// the bounds of ranges.
#include "OvxComponent/extensions/format/check_requirements.h"

#include "OvxComponent/extensions/format/extension_container_info.h"
#include "platform/component_version.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace OvxComponent;
using OvxUtils::runtime_bits;
using OvxUtils::Version;

// A host that runs as one application and offers some features, and records every
// question it is asked.
struct Host {
    std::vector<ExtensionAppSupport> runningAs{ExtensionAppSupport::Atlas};
    std::vector<CString> offered;
    std::vector<ExtensionAppSupport> appsAsked;
    std::vector<CString> featuresAsked;

    bool Check(const ExtensionRequirements& requirements) {
        return CheckRequirements(
            requirements,
            [this](CString name) {
                featuresAsked.push_back(name);
                return std::find(offered.begin(), offered.end(), name) != offered.end();
            },
            [this](ExtensionAppSupport app) {
                appsAsked.push_back(app);
                return std::find(runningAs.begin(), runningAs.end(), app) != runningAs.end();
            });
    }
};

// Requirements that the test host meets; each test spoils one of them.
ExtensionContainerInfo Fitting() {
    ExtensionContainerInfo info;
    info.SetApplist(u"Atlas");
    info.SetPlatformSupport(u"x64");
    return info;
}

TEST(CheckRequirements, NothingListedNeverFits) {
    Host host;
    EXPECT_FALSE(host.Check(ExtensionContainerInfo().GetRequirements()));
    EXPECT_TRUE(host.Check(Fitting().GetRequirements()));
    for (const bool withApps : {false, true}) {
        ExtensionContainerInfo info;
        withApps ? info.SetApplist(u"Atlas") : info.SetPlatformSupport(u"x32,x64");
        EXPECT_FALSE(host.Check(info.GetRequirements())) << withApps;
    }
}

TEST(CheckRequirements, ApplicationSearchStopsAtTheFirstMatch) {
    ExtensionContainerInfo info = Fitting();
    info.SetApplist(u"Beacon,Cinder,Delta,Cinder");
    Host host;
    host.runningAs = {ExtensionAppSupport::Cinder};
    EXPECT_TRUE(host.Check(info.GetRequirements()));
    EXPECT_EQ(host.appsAsked, (std::vector{ExtensionAppSupport::Beacon, ExtensionAppSupport::Cinder}));
}

// The suite range against 18.0.0.448; the Windows range against bounds far below and far
// above any running system.
TEST(CheckRequirements, RangesIncludeTheirMinimumAndExcludeTheirMaximum) {
    ASSERT_EQ(GetComponentVersion(), (Version{18, 0, 0, 448}));
    struct Case {
        bool suite;
        const char16_t *min, *max;
        bool fits;
    } cases[] = {
        {true, u"18.0.0.448", u"*", true},
        {true, u"18", u"18.0.0.448", false},
        {true, u"18.0.0.449", u"*", false},
        {true, u"-1", u"*", true},  // components compare as signed numbers
        {false, u"1.0", u"*", true},
        {false, u"100000.0", u"*", false},
        {false, u"*", u"1.0", false},
    };
    for (const Case& c : cases) {
        ExtensionContainerInfo info = Fitting();
        c.suite ? info.SetAppMinMaxVersion(c.min, c.max) : info.SetWinMinMaxVersion(c.min, c.max);
        Host host;
        EXPECT_EQ(host.Check(info.GetRequirements()), c.fits)
            << (c.suite ? "suite " : "windows ") << CString(c.min) << " " << CString(c.max);
    }
}

TEST(CheckRequirements, EveryFeatureGroupNeedsOneOfferedName) {
    struct Case {
        std::vector<CString> groups;
        std::vector<CString> offered;
        bool fits;
        std::vector<CString> asked;
    } cases[] = {
        {{}, {}, true, {}},
        {{u""}, {u""}, false, {}},
        {{u"a,b"}, {u"b"}, true, {u"a", u"b"}},
        {{u"a", u"c,d"}, {u"a", u"d"}, true, {u"a", u"c", u"d"}},
        {{u"a", u"c", u"a"}, {u"a"}, false, {u"a", u"c"}},
    };
    for (const Case& c : cases) {
        ExtensionContainerInfo info = Fitting();
        info.SetAllFeatureRequirements(c.groups);
        Host host;
        host.offered = c.offered;
        EXPECT_EQ(host.Check(info.GetRequirements()), c.fits) << ::testing::PrintToString(c.groups);
        EXPECT_EQ(host.featuresAsked, c.asked) << ::testing::PrintToString(c.groups);
    }
}

// CheckRequirements and FirstUnmetRequirement stop at the same step, after the same
// questions, and the latter names it.
TEST(CheckRequirements, StopsAtTheFirstFailingStep) {
    const auto spoil = [](void (*change)(ExtensionContainerInfo&)) {
        ExtensionContainerInfo info = Fitting();
        info.AddFeatureRequirementFromString(u"feature");
        change(info);
        return info.GetRequirements();
    };
    struct Case {
        const char* step;
        ExtensionRequirements requirements;
        std::size_t appsAsked;
        std::size_t featuresAsked;
        const char16_t* unmet;  // what FirstUnmetRequirement names
    } cases[] = {
        {"windows", spoil([](ExtensionContainerInfo& i) { i.SetWinMinMaxVersion(u"100000", u"*"); }), 0, 0,
         u"Windows version: requires at or after 100000, this system is "},
        {"platform", spoil([](ExtensionContainerInfo& i) { i.SetPlatformSupport(u"x32"); }), 0, 0,
         u"platform: requires one of x32, this host is x64"},
        {"application", spoil([](ExtensionContainerInfo& i) { i.SetApplist(u"Beacon"); }), 1, 0,
         u"application: requires one of Beacon, the host meets none of them"},
        {"suite", spoil([](ExtensionContainerInfo& i) { i.SetAppMinMaxVersion(u"19", u"*"); }), 1, 0,
         u"suite version: requires at or after 19, this host is 18.0.0.448"},
        {"feature", spoil([](ExtensionContainerInfo& i) { i.AddFeatureRequirementFromString(u"ink,pen"); }), 1, 3,
         u"feature: requires one of ink,pen, the host meets none of them"},
    };
    for (const Case& c : cases) {
        Host host;
        host.offered = {u"feature"};
        EXPECT_FALSE(host.Check(c.requirements)) << c.step;
        EXPECT_EQ(host.appsAsked.size(), c.appsAsked) << c.step;
        EXPECT_EQ(host.featuresAsked.size(), c.featuresAsked) << c.step;
        const auto unmet = FirstUnmetRequirement(c.requirements, [](CString name) { return name == u"feature"; },
                                                 [](ExtensionAppSupport app) { return app == ExtensionAppSupport::Atlas; });
        ASSERT_TRUE(unmet) << c.step;
        EXPECT_TRUE(unmet->Text().StartsWith(c.unmet)) << unmet->Text();
    }
}

TEST(CheckRequirements, AnEmptyPredicateAnswersNo) {
    ExtensionContainerInfo info = Fitting();
    EXPECT_FALSE(CheckRequirements(info.GetRequirements(), nullptr, nullptr));
    info.AddFeatureRequirementFromString(u"a");
    EXPECT_FALSE(CheckRequirements(info.GetRequirements(), nullptr, [](ExtensionAppSupport) { return true; }));
}

}  // namespace
