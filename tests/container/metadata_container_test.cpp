// Metadata::Container: every kind of value survives its XML form; bad values are refused.
#include "OvxComponent/container/metadata_container.h"
#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/multi_language_string.h"
#include "container/zip_container_schema.h"

#include <gtest/gtest.h>

namespace {

using namespace VdcContainer;
namespace Keys = ZipContainerSchema::Metadata;
using OvxUtils::Guid;

const Guid kFirst(0x6B2D6A10, 0x1C1E, 0x4E0B, {0x9D, 0x1F, 0x0A, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F});
const Guid kSecond(0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16});

TEST(MetadataContainerTest, EveryKindRoundTrips) {
    MultiLanguageString keywords(u"red,green");
    keywords.Set(u"de", u"rot,gr\u00FCn");
    Metadata::Container metadata;
    metadata.SetStringMetadata(Keys::Title, u"A title | with \\ odd & <chars>\r\n");
    ASSERT_TRUE(metadata.SetMetadata(Keys::DocumentID, OvxUtils::Any(kFirst)));
    ASSERT_TRUE(metadata.SetMetadata(Keys::DerivedFrom, OvxUtils::Any(std::vector<Guid>{kFirst, kSecond})));
    ASSERT_TRUE(metadata.SetMetadata(Keys::InstanceID, OvxUtils::Any(std::vector<Guid>{})));
    ASSERT_TRUE(metadata.SetMetadata(Keys::Keywords, OvxUtils::Any(keywords)));
    ASSERT_TRUE(metadata.SetMetadata({{"x", "urn:test:custom"}, "custom"}, OvxUtils::Any(MultiLanguageString())));

    auto reread = Metadata::Container::FromXml(metadata.ToXml(), 1 << 20);
    ASSERT_TRUE(reread) << reread.ErrorText();
    EXPECT_EQ(*reread, metadata);
    EXPECT_EQ(reread->ToXml(), metadata.ToXml());
}

TEST(MetadataContainerTest, ReadingRefusesBadValuesAndSkipsUnknownKinds) {
    const std::string head = R"(<metadata xmlns="urn:orvex:namespaces:zcf:xmlns:container" xmlns:m="urn:orvex:namespaces:zcf:xmlns:metadata">)";
    auto skipped = Metadata::Container::FromXml(head + R"(<m:title kind="picture">x</m:title></metadata>)", 4096);
    ASSERT_TRUE(skipped);
    EXPECT_TRUE(skipped->GetAll().empty());

    auto badGuid = Metadata::Container::FromXml(head + R"(<m:document-id kind="guid">nope</m:document-id></metadata>)", 4096);
    EXPECT_EQ(badGuid.ErrorText(), CString(u"property \"document-id\" does not hold a GUID"));
    auto twice = Metadata::Container::FromXml(
        head + R"(<m:title kind="string">a</m:title><m:title kind="string">b</m:title></metadata>)", 4096);
    EXPECT_EQ(twice.ErrorText(), CString(u"holds property \"title\" twice"));
}

}  // namespace
