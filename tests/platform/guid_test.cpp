// Guid: its text form, what FromString accepts, and generation.
#include "OvxComponent/platform/guid.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace {

using OvxUtils::Guid;

const Guid kSample(0x6B2D6A10, 0x1C1E, 0x4E0B, {0x9D, 0x1F, 0x0A, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F});

TEST(Guid, TextFormIsBracedUpperCaseAndParsesBracedOrBareInAnyCase) {
    EXPECT_EQ(kSample.ToString(), CString(u"{6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F}"));
    EXPECT_EQ(Guid().ToString(), CString(u"{00000000-0000-0000-0000-000000000000}"));
    for (const char16_t* text : {u"{6b2d6a10-1c1e-4e0b-9d1f-0a1b2c3d4e5f}", u"6b2D6a10-1C1e-4E0b-9d1F-0a1B2c3D4e5F"}) {
        EXPECT_EQ(Guid::FromString(text), kSample) << CString(text);
    }
}

TEST(Guid, FromStringRefusesEverythingElse) {
    for (const char16_t* text : {
             u"",
             u"{6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5}",    // one digit short
             u"{6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5FF}",  // one digit more
             u"6B2D6A10-1C1E4-E0B-9D1F-0A1B2C3D4E5F",     // dash misplaced
             u"6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5G",     // not hex
             u" 6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F",    // blank
             u"6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5\uFF26",  // full-width F
         }) {
        EXPECT_FALSE(Guid::FromString(text).has_value()) << CString(text);
    }
}

TEST(Guid, GenerateGivesDistinctVersion4Values) {
    std::unordered_set<Guid> seen;
    for (int i = 0; i < 1000; ++i) {
        const Guid guid = *seen.insert(Guid::Generate()).first;
        EXPECT_TRUE(guid.Data3 >> 12 == 4 && (guid.Data4[0] & 0xC0) == 0x80) << guid.ToString();
    }
    EXPECT_EQ(seen.size(), 1000u);
}

}  // namespace
