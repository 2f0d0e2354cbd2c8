// CString: UTF-16 storage, ordering and case-insensitive comparison.
#include "OvxComponent/platform/cstring.h"

#include <gtest/gtest.h>

#include <map>

namespace {

TEST(CString, StoresUtf16UnitsOnEveryPlatform) {
    const CString clef = u"a\U0001D11Eb";  // G clef: one surrogate pair
    ASSERT_EQ(clef.GetLength(), 4);
    EXPECT_EQ(clef[1], 0xD834);
    EXPECT_EQ(clef[2], 0xDD1E);
    EXPECT_EQ(clef.ToUtf8(), "a\xF0\x9D\x84\x9E" "b");
    EXPECT_EQ(CString::FromUtf8(clef.ToUtf8()), clef);
}

TEST(CString, OrdersByCodeUnits) {
    EXPECT_LT(CString(u"B"), CString(u"a"));
    EXPECT_LT(CString(u"ab"), CString(u"abc"));
    // U+FF21 sorts after a surrogate pair's first unit (0xD835) by code unit.
    EXPECT_LT(CString(u"\U0001D400"), CString(u"\uFF21"));
    EXPECT_EQ(CString(u"x").Compare(u"y"), -1);
    EXPECT_EQ(CString(u"y").Compare(u"x"), 1);
    EXPECT_EQ(CString(u"").Compare(u""), 0);
}

TEST(CString, CompareNoCaseFoldsBeyondAscii) {
    struct Case {
        const char16_t* a;
        const char16_t* b;
        int expected;
    } cases[] = {
        {u"MyClass", u"MYCLASS", 0},
        {u"Straße", u"STRAßE", 0},
        {u"ÄÖÜ", u"äöü", 0},
        {u"ΣΊΣΥΦΟΣ", u"σίσυφος", 0},         // final sigma folds like sigma
        {u"\U00010400", u"\U00010428", 0},  // Deseret: case pair outside the BMP
        {u"Ǆ", u"ǆ", 0},
        {u"apple", u"Banana", -1},
        {u"abc", u"AB", 1},
        {u"", u"", 0},
        {u"a", u"", 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CString(c.a).CompareNoCase(c.b), c.expected) << CString(c.a) << " vs " << CString(c.b);
        EXPECT_EQ(CString(c.b).CompareNoCase(c.a), -c.expected) << CString(c.b) << " vs " << CString(c.a);
    }
}

TEST(CString, NoCaseMapMergesSpellings) {
    std::map<CString, int, CStringNoCaseLess> names;
    names[u"GetItem"] = 1;
    names[u"GETITEM"] = 2;
    names[u"getitem"] = 3;
    names[u"Count"] = 4;
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names.begin()->first, CString(u"Count"));
    EXPECT_EQ(names[u"gEtItEm"], 3);
}

TEST(CString, SearchAndSubstrings) {
    const CString path = u"root/x64/{GUID}/1.0/unpacked";
    EXPECT_EQ(path.Find(u"x64"), 5);
    EXPECT_EQ(path.Find(u"x64", 6), -1);
    EXPECT_EQ(path.Find(u'/'), 4);
    EXPECT_EQ(path.ReverseFind(u'/'), 19);
    EXPECT_EQ(path.Find(u"a", 100), -1);
    EXPECT_EQ(path.Mid(5, 3), CString(u"x64"));
    // Out-of-range arguments clamp instead of throwing.
    EXPECT_EQ(path.Left(-1), CString());
    EXPECT_EQ(path.Right(1000), path);
    EXPECT_EQ(path.Mid(1000, 5), CString());
    EXPECT_TRUE(path.StartsWith(u"root/"));
    EXPECT_TRUE(path.EndsWith(u"/unpacked"));
    EXPECT_FALSE(path.EndsWith(u"x/root/x64/{GUID}/1.0/unpacked"));
}

TEST(CString, ConcatenationAndNulls) {
    CString s = CString(u"opening") + u"...";
    s += u'!';
    EXPECT_EQ(s, CString(u"opening...!"));
    EXPECT_TRUE(CString(static_cast<const char16_t*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<const CString::XCHAR*>(nullptr), 5).IsEmpty());
}

}  // namespace
