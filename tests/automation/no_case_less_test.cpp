// NoCaseLess must order names exactly as CString::CompareNoCase does: the name caches
// are searched with it and built with it.
#include "OvxComponent/automation/no_case_less.h"

#include <gtest/gtest.h>

namespace {

using OvxComponent::NoCaseLess;

int Sign(int value) { return (value > 0) - (value < 0); }

TEST(NoCaseLess, AgreesWithCStringCompareNoCase) {
    const wchar_t* names[] = {
        L"", L"a", L"A", L"Title", L"TITLE", L"title_", L"Titles", L"_NewEnum", L"[", L"Z",
        L"\u00C4rger", L"\u00E4RGER", L"\u03A3\u03C3\u03C2", L"\u03C3\u03A3\u03A3",  // Ä/ä, sigma forms
        L"\U0001D400", L"\U00010400x", L"\U00010428X",  // outside the BMP, with a case pair
        L"\xD800", L"\xFFFF",  // an unpaired surrogate, the last unit
    };
    for (const wchar_t* a : names) {
        for (const wchar_t* b : names) {
            EXPECT_EQ(Sign(NoCaseLess::Compare(a, b)), Sign(CString(a).CompareNoCase(CString(b))))
                << testing::PrintToString(std::wstring(a)) << " / " << testing::PrintToString(std::wstring(b));
        }
    }
    EXPECT_FALSE(NoCaseLess()(std::wstring_view(L"PARTS"), CString(L"parts")));
    EXPECT_TRUE(NoCaseLess()(CString(L"parts"), std::wstring_view(L"PARTZ")));
}

}  // namespace
