// MultiLanguageString: its text form both ways, and keyword lists.
#include "OvxComponent/platform/multi_language_string.h"

#include <gtest/gtest.h>

namespace {

MultiLanguageString Make(const char16_t* text, std::initializer_list<std::pair<const char16_t*, const char16_t*>> variants = {}) {
    MultiLanguageString value(text);
    for (const auto& [language, variant] : variants) value.Set(language, variant);
    return value;
}

TEST(MultiLanguageString, PlainTextStaysReadableAndAnyContentRoundTrips) {
    EXPECT_EQ(Make(u"Tools", {{u"de", u"Werkzeuge"}, {u"fr", u"Outils"}}).ToString(),
              CString(u"Tools|de=Werkzeuge|fr=Outils"));
    const MultiLanguageString values[] = {
        Make(u""),
        Make(u"a|b\\c=d"),
        Make(u"|de=not a variant"),
        Make(u"x", {{u"de", u"a|b"}, {u"lang=odd", u"="}, {u"\\", u"\\|"}}),
        Make(u"", {{u"ja", u"日本語 \U0001F600"}}),
    };
    for (const auto& value : values) {
        const CString text = value.ToString();
        EXPECT_EQ(MultiLanguageString::FromString(text), value) << text;
    }
}

TEST(MultiLanguageString, ForeignTextIsReadLeniently) {
    // A '|' that starts no "tag=text" part and a backslash escaping nothing stay literal.
    EXPECT_EQ(MultiLanguageString::FromString(u"a|b"), Make(u"a|b"));
    EXPECT_EQ(MultiLanguageString::FromString(u"a|=b"), Make(u"a|=b"));
    EXPECT_EQ(MultiLanguageString::FromString(u"c:\\temp"), Make(u"c:\\temp"));
    EXPECT_EQ(MultiLanguageString::FromString(u"a|de=x|y"), Make(u"a", {{u"de", u"x|y"}}));
}

TEST(MultiLanguageString, JoinAndSplitKeywords) {
    const std::vector<MultiLanguageString> keywords = {Make(u"red", {{u"de", u"rot"}}), Make(u"blue"),
                                                       Make(u"green", {{u"de", u"grün"}})};
    const MultiLanguageString joined = join(keywords, u",");
    EXPECT_EQ(joined, Make(u"red,blue,green", {{u"de", u"rot,blue,grün"}}));

    const std::vector<MultiLanguageString> back = split(joined, u",");
    ASSERT_EQ(back.size(), 3u);
    EXPECT_EQ(back[0], Make(u"red", {{u"de", u"rot"}}));
    EXPECT_EQ(back[1], Make(u"blue", {{u"de", u"blue"}}));  // the default stood in for it
    EXPECT_TRUE(split(MultiLanguageString(), u",").empty());
    EXPECT_EQ(join({}, u","), MultiLanguageString());
}

}  // namespace
