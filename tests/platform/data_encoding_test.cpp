// UTF-8 and UTF-16 conversion, malformed input included.
#include "platform/data_encoding.h"

#include <gtest/gtest.h>

namespace {

using OvxUtils::DataEncoding::IsValidUtf8;
using OvxUtils::DataEncoding::Utf8Decode;
using OvxUtils::DataEncoding::Utf8Encode;

TEST(Utf8, RoundTripsEveryPlaneAndEncodesUnpairedSurrogatesAsReplacement) {
    const CString text = u"ASCII é € 日本 \U0001F600 \U0010FFFF";
    const std::string bytes = Utf8Encode(text);
    EXPECT_EQ(bytes, "ASCII \xC3\xA9 \xE2\x82\xAC \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80 \xF4\x8F\xBF\xBF");
    EXPECT_TRUE(IsValidUtf8(bytes));
    EXPECT_EQ(Utf8Decode(bytes), text);
    const CString::XCHAR lone[] = {u'a', 0xD800, u'b', 0xDC00};
    EXPECT_EQ(Utf8Encode(CString(lone, 4)), "a\xEF\xBF\xBD" "b\xEF\xBF\xBD");
}

TEST(Utf8, MalformedInputBecomesReplacementCharacters) {
    struct Case {
        std::string bytes;
        std::u16string expected;
    } cases[] = {
        {"a\x80" "b", u"a\uFFFDb"},                      // stray continuation byte
        {"\xC0\xAF", u"\uFFFD\uFFFD"},                   // overlong '/'
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},         // encoded surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
        {"\xE2\x82", u"\uFFFD"},                         // truncated at the end
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Utf8Decode(c.bytes), CString(c.expected)) << testing::PrintToString(c.bytes);
        EXPECT_FALSE(IsValidUtf8(c.bytes)) << testing::PrintToString(c.bytes);
    }
    // NUL is an ordinary character, not a terminator.
    EXPECT_EQ(Utf8Decode(std::string("x\0y", 3)), CString(std::u16string_view(u"x\0y", 3)));
}

}  // namespace
