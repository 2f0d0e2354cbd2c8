// Splitting and number parsing of strings.
#include "platform/string_utils.h"

#include <gtest/gtest.h>

namespace {

using namespace OvxUtils::String;

std::vector<CString> Pieces(std::initializer_list<const char16_t*> texts) {
    return {texts.begin(), texts.end()};
}

TEST(StringSplit, FlagsDecideAboutEmptyAndBlankPieces) {
    EXPECT_EQ(Split(u"Atlas,Cinder", u',', false, true), Pieces({u"Atlas", u"Cinder"}));
    EXPECT_EQ(Split(u" a , ,b,", u',', false, true), Pieces({u"a", u"b"}));
    EXPECT_EQ(Split(u" a , ,b,", u',', true, false), Pieces({u" a ", u" ", u"b", u""}));
    EXPECT_EQ(Split(u" a , ,b,", u',', true, true), Pieces({u"a", u"", u"b", u""}));
    EXPECT_EQ(Split(u"", u',', false, true), Pieces({}));
    EXPECT_EQ(Split(u"", u',', true, false), Pieces({u""}));
    EXPECT_EQ(Split(u"18.0.0.448", u'.', false, true), Pieces({u"18", u"0", u"0", u"448"}));
}

TEST(StringIntFromString, ReadsTheLeadingNumber) {
    struct Case {
        const char16_t* text;
        std::int32_t lenient;
        std::optional<std::int32_t> strict;
    } cases[] = {
        {u"42", 42, 42},
        {u"-7", -7, -7},
        {u"+7", 7, 7},
        {u"  12abc", 12, std::nullopt},
        {u"abc", 0, std::nullopt},
        {u"", 0, std::nullopt},
        {u"-", 0, std::nullopt},
        {u"2147483647", 2147483647, 2147483647},
        {u"-2147483648", INT32_MIN, INT32_MIN},
        {u"2147483648", INT32_MAX, std::nullopt},
        {u"-99999999999999999999", INT32_MIN, std::nullopt},
        {u"１２", 0, std::nullopt},  // full-width digits are not decimal digits here
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IntFromString(c.text), c.lenient) << CString(c.text);
        EXPECT_EQ(TryIntFromString(c.text), c.strict) << CString(c.text);
    }
}

}  // namespace
