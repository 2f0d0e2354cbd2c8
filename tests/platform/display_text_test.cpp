// The display rule: what shows escaped, how, and that ordinary text passes as it is.
#include "platform/display_text.h"

#include <gtest/gtest.h>

namespace {

using namespace OvxUtils;

TEST(DisplayText, EscapesWhatCouldBreakOrDisguiseALineAndNothingElse) {
    struct Utf16Row {
        const char* what;
        std::u16string text;
        std::string shown;
    };
    const Utf16Row utf16[] = {
        {"ordinary", u"C:\\ext\\\u00DCber \u6F22\U0001F600 \"a\".txt", "C:\\ext\\\xC3\x9C" "ber \xE6\xBC\xA2\xF0\x9F\x98\x80 \"a\".txt"},
        {"C0 and DEL", std::u16string(u"\x1B[31m\r\n\0\t\x7F", 10), "\\x1B[31m\\x0D\\x0A\\x00\\x09\\x7F"},
        {"C1, separator, bidi", u"a\u0085b\u2028c\u202Ed\u2066", "a\\x85b\\u2028c\\u202Ed\\u2066"},
        {"unpaired surrogates", {u'a', 0xD800, u'b', 0xDC00}, "a\\uD800b\\uDC00"},
    };
    for (const Utf16Row& row : utf16) {
        const CString shown = DisplayText::Escaped(CString(row.text));
        EXPECT_EQ(shown.ToUtf8(), row.shown) << row.what;
        EXPECT_EQ(DisplayText::Escaped(shown), shown) << row.what << ": escaping twice changes nothing";
    }
    struct Utf8Row {
        const char* what;
        std::string text;
        std::string shown;
    };
    const Utf8Row utf8[] = {
        {"ordinary", "\xC3\x9C" "ber \xE6\xBC\xA2\xF0\x9F\x98\x80", "\xC3\x9C" "ber \xE6\xBC\xA2\xF0\x9F\x98\x80"},
        {"C0, C1, bidi", "\x1B[0m\xC2\x85\xE2\x80\xAE", "\\x1B[0m\\x85\\u202E"},
        {"invalid byte", "a\xC3(b\xFF", "a\\xC3(b\\xFF"},
        {"truncated sequence", "\xE2\x82", "\\xE2\\x82"},
        {"overlong form", "\xC0\xAF", "\\xC0\\xAF"},
        {"encoded surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80"},
    };
    for (const Utf8Row& row : utf8) EXPECT_EQ(DisplayText::Escaped(row.text), row.shown) << row.what;
}

}  // namespace
