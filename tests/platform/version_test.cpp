// Version: text form, parsing (with the number reading beneath it) and comparison.
#include "OvxComponent/platform/version.h"

#include <gtest/gtest.h>

namespace {

using OvxUtils::Version;

TEST(Version, TextForm) {
    EXPECT_EQ(Version({18, 0, 0, 448}).ToString(), CString(u"18.0.0.448"));
    EXPECT_EQ(Version().ToString(), CString(u"0"));
    EXPECT_EQ(Version({-1, INT32_MAX}).ToString(), CString(u"-1.2147483647"));
}

TEST(Version, LenientParseKeepsWhatItCanRead) {
    struct Case {
        const char16_t* text;
        std::vector<std::int32_t> components;
    } cases[] = {
        {u"18.0.0.448", {18, 0, 0, 448}},
        {u" 1 . 2 ", {1, 2}},
        {u"1.x.3", {1, 0, 3}},
        {u"12abc.+7.-7", {12, 7, -7}},
        {u"", {}},
        {u"99999999999.-99999999999", {INT32_MAX, INT32_MIN}},
        {u"１２", {0}},  // full-width digits are not decimal digits here
    };
    for (const auto& c : cases) EXPECT_EQ(Version::Parse(c.text).Components(), c.components) << CString(c.text);
}

TEST(Version, StrictParseRefusesAnythingButDottedNumbers) {
    EXPECT_EQ(Version::TryParse(u"1.20.3")->Components(), (std::vector<std::int32_t>{1, 20, 3}));
    EXPECT_EQ(Version::TryParse(u"007.2147483647")->Components(), (std::vector<std::int32_t>{7, INT32_MAX}));
    for (const char16_t* text : {u"", u".", u"1.", u".1", u"1..2", u"1.x", u" 1", u"-1", u"+1", u"1.2 ",
                                 u"2147483648", u"unpacked", u"1,2"}) {
        EXPECT_FALSE(Version::TryParse(text).has_value()) << CString(text);
    }
}

TEST(Version, ComparesWithMissingComponentsAsZero) {
    struct Case {
        Version a, b;
        int expected;
    } cases[] = {
        {{1, 2}, {1, 2, 0, 0}, 0},
        {{1, 2}, {1, 10}, -1},  // numeric, not textual
        {{1, 2, 1}, {1, 2}, 1},
        {{-1}, {0}, -1},        // signed
        {{2}, {1, 99}, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Version::Compare(c.a, c.b), c.expected) << c.a.ToString() << " vs " << c.b.ToString();
        EXPECT_EQ(Version::Compare(c.b, c.a), -c.expected);
        EXPECT_EQ(c.a == c.b, c.expected == 0);
        EXPECT_EQ(c.a < c.b, c.expected < 0);
    }
}

}  // namespace
