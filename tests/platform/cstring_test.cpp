// CString: UTF-16 storage, clamped substrings and case-insensitive comparison.
#include "OvxComponent/platform/cstring.h"

#include <gtest/gtest.h>

namespace {

TEST(CString, StoresUtf16UnitsOnEveryPlatform) {
    const CString clef = u"a\U0001D11Eb";  // G clef: one surrogate pair
    ASSERT_EQ(clef.GetLength(), 4);
    EXPECT_EQ(clef[1], 0xD834);
    EXPECT_EQ(clef[2], 0xDD1E);
    EXPECT_EQ(clef.ToUtf8(), "a\xF0\x9D\x84\x9E" "b");
    EXPECT_EQ(CString::FromUtf8(clef.ToUtf8()), clef);
    EXPECT_TRUE(CString(static_cast<const CString::XCHAR*>(nullptr), 5).IsEmpty());
}

TEST(CString, SearchAndSubstringsClampInsteadOfThrowing) {
    const CString path = u"root/x64/{GUID}/1.0/unpacked";
    EXPECT_EQ(path.Find(u"x64"), 5);
    EXPECT_EQ(path.ReverseFind(u'/'), 19);
    EXPECT_EQ(path.Mid(5, 3), CString(u"x64"));
    EXPECT_EQ(path.Left(-1), CString());
    EXPECT_EQ(path.Mid(1000, 5), CString());
}

TEST(CString, CompareNoCaseFoldsBeyondAscii) {
    struct Case {
        const char16_t* a;
        const char16_t* b;
        int expected;
    } cases[] = {
        {u"MyClass", u"MYCLASS", 0},
        {u"ÄÖÜ", u"äöü", 0},
        {u"ΣΊΣΥΦΟΣ", u"σίσυφος", 0},         // final sigma folds like sigma
        {u"\U00010400", u"\U00010428", 0},  // Deseret: case pair outside the BMP
        {u"apple", u"Banana", -1},
        {u"abc", u"AB", 1},
        {u"", u"", 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CString(c.a).CompareNoCase(c.b), c.expected) << CString(c.a) << " vs " << CString(c.b);
        EXPECT_EQ(CString(c.b).CompareNoCase(c.a), -c.expected) << CString(c.b) << " vs " << CString(c.a);
    }
}

}  // namespace
