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
    EXPECT_EQ(MultiLanguageString::FromString(u"a|=b"), Make(u"a|=b"));
    EXPECT_EQ(MultiLanguageString::FromString(u"c:\\temp"), Make(u"c:\\temp"));
    EXPECT_EQ(MultiLanguageString::FromString(u"a|de=x|y"), Make(u"a", {{u"de", u"x|y"}}));
}

}  // namespace
