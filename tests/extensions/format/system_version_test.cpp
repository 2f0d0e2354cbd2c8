// The running system's version against the bounds of a requirement.
#include "extensions/format/system_version.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using namespace OvxComponent;
using OvxUtils::Version;

// Bounds are built around the running system's own numbers, so that each row sits just
// beside it: the first number that differs must decide, whatever the later ones say.
TEST(SystemVersion, TheFirstDifferingNumberDecides) {
    const auto running = GetRunningSystemVersion().Components();
    ASSERT_EQ(running.size(), 4u);
    const std::int32_t major = running[0], minor = running[1], spMajor = running[2], spMinor = running[3];
    ASSERT_GT(major, 0);

    struct Case {
        Version bound;
        bool atOrAfter;  // the running system is at or after the bound
    };
    std::vector<Case> cases = {
        {Version{major, minor, spMajor, spMinor}, true},
        {Version{major, minor, spMajor, spMinor + 1}, false},
        {Version{major, minor, spMajor + 1}, false},
        {Version{major, minor, spMajor + 65536, spMinor}, true},  // service pack numbers are 16-bit
        {Version{major, minor + 1}, false},
        {Version{major, minor + 1, 0, 0}, false},
        {Version{major + 1}, false},
        {Version{major - 1, minor + 1, 99, 99}, true},
        {Version{major - 1, 9999}, true},
    };
    if (minor > 0) cases.push_back({Version{major, minor - 1, spMajor + 1, 9999}, true});
    if (spMajor == 0 && spMinor == 0) cases.push_back({Version{major, minor}, true});

    for (const Case& c : cases) {
        EXPECT_EQ(RunningSystemPasses(c.bound, SystemVersionTest::AtOrAfter), c.atOrAfter) << c.bound.ToString();
        EXPECT_EQ(RunningSystemPasses(c.bound, SystemVersionTest::Before), !c.atOrAfter) << c.bound.ToString();
    }
}

}  // namespace
