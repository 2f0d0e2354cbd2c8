// ZipContainer and the typed handle: packages round-trip with every field intact, packing
// can be reproducible, and refusals leave packages as they were.
#include "OvxComponent/container/zip_container.h"
#include "container/add_files.h"
#include "container/zip_container_schema.h"
#include "platform/system_io/file.h"
#include "support/temp_folder.h"
#include "widget_package.h"
#include "zip_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace VdcContainer;
using OvxTest::SampleWidget;
using OvxTest::WidgetInfo;
using OvxTest::WidgetPackage;
namespace File = OvxUtils::SystemIO::File;

const std::string kBinary("\x00\x01\xFF payload", 11);

struct Source {
    OvxTest::TempFolder temp;
    std::vector<CString> files = {temp.WriteFile(u"src/a.txt", "alpha"), temp.WriteFile(u"src/sub/b.bin", kBinary),
                                  temp.WriteFile(u"src/\u00DCber.txt", "umlaut")};
    CString base = temp / u"src";
};

Result<void> Pack(const CString& path, const std::vector<CString>& files, const CString& base, bool reproducible = false,
                  WidgetInfo info = SampleWidget()) {
    auto package = WidgetPackage::Open(path, ZipFile::OpenMode::Create);
    if (!package) return package.TakeError();
    package->Container().SetReproducible(reproducible);
    package->SetInfo(std::make_unique<WidgetInfo>(std::move(info)));
    if (auto added = AddFiles(*package, base, files, u"content"); !added) return added;
    return package->Close();
}

std::vector<std::string> EntryNames(const ZipContainer& container) {
    std::vector<std::string> names;
    for (const ContainerEntry& entry : container.GetEntries()) names.push_back(entry.name.ToUtf8());
    return names;
}

TEST(ZipContainerTest, PackedPackageReadsBackIntactWithItsMimeTypeFirst) {
    Source source;
    const CString path = source.temp / u"widget.pkg";
    ASSERT_TRUE(Pack(path, source.files, source.base));

    auto package = WidgetPackage::Open(path, ZipFile::OpenMode::ReadOnly);
    ASSERT_TRUE(package) << package.ErrorText();
    ASSERT_NE(package->GetInfo(), nullptr) << package->GetInfoError();
    EXPECT_EQ(*package->GetInfo(), SampleWidget());
    const ZipContainer& container = package->Container();
    EXPECT_EQ(container.GetMimeType(), OvxTest::kWidgetMimeType);
    EXPECT_EQ(container.GetMetadata().GetStringMetadata(ZipContainerSchema::Metadata::SubFormat), CString(u"widget"));
    EXPECT_EQ(EntryNames(container),
              (std::vector<std::string>{"mimetype", "META-INF/manifest.xml", "META-INF/metadata.xml", "widget.xml",
                                        "needs.xml", "content/a.txt", "content/sub/b.bin", "content/\xC3\x9C" "ber.txt"}));
    ASSERT_EQ(container.GetRootFiles().size(), 2u);
    const RootFileInfo& needs = container.GetRootFiles()[1];
    EXPECT_EQ(needs.kind, CString(u"requirements"));
    EXPECT_EQ(needs.rootElement, (XmlNS::ElementDef{OvxTest::kWidgetNs, "needs"}));
    ASSERT_NE(container.GetMainRootFile(), nullptr);
    EXPECT_EQ(container.GetMainRootFile()->name, CString(u"widget.xml"));
    EXPECT_EQ(container.ReadEntry(u"content/sub/b.bin").Value(), kBinary);

    // The mimetype entry comes first, stored, without extra field, as ODF and EPUB readers
    // expect.
    const std::string bytes = *File::ReadAllBytes(path);
    EXPECT_EQ(bytes.substr(0, 4), "PK\x03\x04");
    EXPECT_EQ(bytes.substr(8, 2), std::string("\0\0", 2));   // stored
    EXPECT_EQ(bytes.substr(28, 2), std::string("\0\0", 2));  // no extra field
    EXPECT_EQ(bytes.substr(30, 8 + OvxTest::kWidgetMimeType.GetLength()), "mimetype" + OvxTest::kWidgetMimeType.ToUtf8());
}

TEST(ZipContainerTest, ReproduciblePackingGivesIdenticalBytes) {
    Source source;
    ASSERT_TRUE(Pack(source.temp / u"first.pkg", source.files, source.base, true));
    for (const CString& file : source.files) File::SetLastWriteTime(file, 132'000'000'000'000'000ull);
    const std::vector<CString> reversed(source.files.rbegin(), source.files.rend());
    ASSERT_TRUE(Pack(source.temp / u"second.pkg", reversed, source.base, true));
    const auto first = File::ReadAllBytes(source.temp / u"first.pkg");
    ASSERT_TRUE(first);
    EXPECT_TRUE(first == File::ReadAllBytes(source.temp / u"second.pkg"));
}

struct NoInfoCase {
    const char* label;
    std::function<std::string()> archive;
    std::u16string error;
};

void PrintTo(const NoInfoCase& noInfo, std::ostream* out) { *out << noInfo.label; }

class NoInfoTest : public testing::TestWithParam<NoInfoCase> {};

TEST_P(NoInfoTest, OpensWithoutInformation) {
    OvxTest::TempFolder temp;
    auto package = WidgetPackage::Open(temp.WriteFile(u"p.pkg", GetParam().archive()), ZipFile::OpenMode::ReadOnly);
    ASSERT_TRUE(package) << package.ErrorText();
    EXPECT_EQ(package->GetInfo(), nullptr);
    EXPECT_EQ(package->GetInfoError(), CString(GetParam().error));
}

OvxTest::ZipBuilder WidgetZip() { return OvxTest::ZipBuilder::Package(OvxTest::kWidgetMimeType.ToUtf8()); }

INSTANTIATE_TEST_SUITE_P(
    Packages, NoInfoTest,
    testing::Values(
        NoInfoCase{"OtherMimeType", [] { return OvxTest::ZipBuilder::Package("application/x-other+zip").Build(); },
                   u"the package's MIME type \"application/x-other+zip\" is not one of this kind of package"},
        NoInfoCase{"NoMainRootFile", [] { return WidgetZip().Build(); },
                   u"entry \"widget.xml\" does not exist"},
        NoInfoCase{"OtherRootElement",
                   [] { return WidgetZip().Add("widget.xml", R"(<widget xmlns="urn:test:gadget"/>)").Build(); },
                   u"entry \"widget.xml\" has another root element than \"widget\""},
        NoInfoCase{"DeserializeRefuses",
                   [] { return WidgetZip().Add("widget.xml", R"(<widget xmlns="urn:test:widget" name="w"/>)").Build(); },
                   u"entry \"widget.xml\" or the metadata does not hold valid information"}),
    [](const testing::TestParamInfo<NoInfoCase>& param) { return std::string(param.param.label); });

TEST(ZipContainerTest, FailedSerializeWritesNothing) {
    Source source;
    WidgetInfo failing = SampleWidget();
    failing.failSerialize = true;
    const CString path = source.temp / u"widget.pkg";
    EXPECT_EQ(Pack(path, source.files, source.base, false, failing).ErrorText(),
              CString(u"the package information cannot be written"));
    EXPECT_FALSE(File::Exists(path));
}

TEST(ZipContainerTest, ReadWriteKeepsWhatWasThere) {
    Source source;
    const CString path = source.temp / u"widget.pkg";
    ASSERT_TRUE(Pack(path, source.files, source.base));
    {
        auto package = WidgetPackage::Open(path, ZipFile::OpenMode::ReadWrite);
        ASSERT_TRUE(package);
        auto changed = std::make_unique<WidgetInfo>(*package->GetInfo());
        changed->name = "renamed";
        package->SetInfo(std::move(changed));
        ASSERT_TRUE(package->Container().AddEntries({{u"content/new.txt", {}, std::string("new")}}));
    }  // saved on destruction
    auto package = WidgetPackage::Open(path, ZipFile::OpenMode::ReadOnly);
    ASSERT_TRUE(package && package->GetInfo());
    EXPECT_EQ(package->GetInfo()->name, "renamed");
    EXPECT_EQ(package->Container().ReadEntry(u"content/sub/b.bin").Value(), kBinary);
    EXPECT_EQ(package->Container().ReadEntry(u"content/new.txt").Value(), "new");
    EXPECT_EQ(package->Container().GetEntries().size(), 9u);
}

TEST(ZipContainerTest, AddFilesRefusesAndAddsNothing) {
    Source source;
    const CString outside = source.temp.WriteFile(u"outside.txt", "x");
    const CString sneaky = source.base + u"/sub/../../outside.txt";
    const CString clash = source.temp.WriteFile(u"src/A.TXT", "clash");
    const CString missing = source.base + u"/missing.txt";
    auto container = ZipContainer::Open(source.temp / u"p.pkg", ZipFile::OpenMode::Create);
    ASSERT_TRUE(container);
    ASSERT_TRUE(AddFiles(*container, source.base, source.files, u"content"));

    const auto refused = [&](const CString& file) {
        const std::vector<CString> files = {source.temp.WriteFile(u"src/fine.txt", "fine"), file};
        return AddFiles(*container, source.base, files, u"content").ErrorText();
    };
    EXPECT_EQ(refused(outside), outside + u" is not inside the folder " + source.base);
    EXPECT_EQ(refused(sneaky), sneaky + u" is not inside the folder " + source.base);
    EXPECT_EQ(refused(missing), missing + u" is not a file");
    EXPECT_EQ(refused(clash), CString(u"entry \"content/A.TXT\" is taken by another entry"));
    EXPECT_EQ(container->AddEntries({{u"mimetype", {}, std::string()}}).ErrorText(),
              CString(u"entry \"mimetype\" is one of the container's own entries"));

    ASSERT_TRUE(container->SetMimeType(u"application/x-test+zip"));
    ASSERT_TRUE(container->Save());
    EXPECT_EQ(EntryNames(*container),
              (std::vector<std::string>{"mimetype", "META-INF/manifest.xml", "META-INF/metadata.xml", "content/a.txt",
                                        "content/sub/b.bin", "content/\xC3\x9C" "ber.txt"}));
}

TEST(ZipContainerTest, CloneCopiesTheSavedPackage) {
    Source source;
    const CString path = source.temp / u"widget.pkg";
    ASSERT_TRUE(Pack(path, source.files, source.base));
    auto package = WidgetPackage::Open(path, ZipFile::OpenMode::ReadWrite);
    ASSERT_TRUE(package);

    auto clone = package->Clone(u"clone.pkg", PathResolver(source.temp.Path()));
    ASSERT_TRUE(clone) << clone.ErrorText();
    EXPECT_EQ(clone->GetPath(), source.temp / u"clone.pkg");
    EXPECT_EQ(File::ReadAllBytes(clone->GetPath()), File::ReadAllBytes(path));
    EXPECT_EQ(package->Clone(path).ErrorText(), CString(u"a package cannot be cloned onto itself"));
}

TEST(ZipContainerTest, OpenRefusesWhatIsNoPackage) {
    OvxTest::TempFolder temp;
    temp.WriteFile(u"folder/file", "");
    EXPECT_EQ(ZipContainer::Open(temp / u"missing.pkg", ZipFile::OpenMode::ReadOnly).ErrorText(),
              CString(u"the file does not exist"));
    EXPECT_EQ(ZipContainer::Open(temp / u"folder", ZipFile::OpenMode::ReadWrite).ErrorText(),
              CString(u"the path is a folder, not a file"));
    EXPECT_EQ(ZipContainer::Open(temp / u"folder", ZipFile::OpenMode::Create).ErrorText(),
              CString(u"a folder is in the way of the package file"));
    EXPECT_EQ(ZipContainer::Open(temp / u"nowhere/new.pkg", ZipFile::OpenMode::Create).ErrorText(),
              CString(u"the package's folder does not exist"));
    ContainerLimits small;
    small.maxPackageSize = 100;
    EXPECT_EQ(ZipContainer::Open(temp.WriteFile(u"big.pkg", std::string(101, 'x')), ZipFile::OpenMode::ReadOnly, small)
                  .ErrorText(),
              CString(u"the file is larger than the cap of 100 bytes"));
}

}  // namespace
