// ExtractFolder on good packages: what lands where, and a target that is left as it was
// when an entry is in the way.
#include "OvxComponent/container/zip_container.h"
#include "container/extract_folder.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "support/temp_folder.h"
#include "zip_builder.h"

#include <gtest/gtest.h>

namespace {

using namespace VdcContainer;
namespace SystemIO = OvxUtils::SystemIO;

class ExtractFolderTest : public testing::Test {
protected:
    void SetUp() override {
        const std::string zip = OvxTest::ZipBuilder::Package()
                                    .Add("main.xml", "<m/>")
                                    .AddFolder("content/")
                                    .Add("content/a.txt", "alpha")
                                    .Add("content/sub/b.txt", "beta")
                                    .AddFolder("content/empty/")
                                    .Build();
        auto opened = ZipContainer::Open(temp.WriteFile(u"p.pkg", zip), ZipFile::OpenMode::ReadOnly);
        ASSERT_TRUE(opened) << opened.ErrorText();
        container = std::move(*opened);
    }

    OvxTest::TempFolder temp;
    ZipContainer container;
};

TEST_F(ExtractFolderTest, WholeContainerIntoNewNestedFolder) {
    ASSERT_TRUE(ExtractFolder(container, u"", temp / u"x/y/unpacked"));
    EXPECT_EQ(OvxTest::TreeOf(temp / u"x"),
              (std::vector<std::string>{"y/", "y/unpacked/", "y/unpacked/content/", "y/unpacked/content/a.txt",
                                        "y/unpacked/content/empty/", "y/unpacked/content/sub/",
                                        "y/unpacked/content/sub/b.txt", "y/unpacked/main.xml", "y/unpacked/mimetype"}));
    EXPECT_EQ(SystemIO::File::ReadAllBytes(temp / u"x/y/unpacked/content/sub/b.txt"), "beta");
    // Files keep the time of their entry (in file-time ticks since 1601).
    EXPECT_EQ(SystemIO::File::GetLastWriteTime(temp / u"x/y/unpacked/content/sub/b.txt"),
              static_cast<std::uint64_t>(OvxTest::ZipBuilder::kEntryTime + 11'644'473'600) * 10'000'000);
}

TEST_F(ExtractFolderTest, OneFolderMergesIntoExistingTarget) {
    temp.WriteFile(u"out/sub/old.txt", "old");
    ASSERT_TRUE(ExtractFolder(container, u"content", temp / u"out"));
    EXPECT_EQ(OvxTest::TreeOf(temp / u"out"),
              (std::vector<std::string>{"a.txt", "empty/", "sub/", "sub/b.txt", "sub/old.txt"}));
}

TEST_F(ExtractFolderTest, EntryInTheWayLeavesTargetAsItWas) {
    temp.WriteFile(u"out/keep.txt", "keep");
    temp.WriteFile(u"out/sub/b.txt", "mine");
    const auto result = ExtractFolder(container, u"content/", temp / u"out");
    EXPECT_EQ(result.ErrorText(), temp / u"out/sub/b.txt" + u" exists already");
    EXPECT_EQ(OvxTest::TreeOf(temp.Path()), (std::vector<std::string>{"out/", "out/keep.txt", "out/sub/", "out/sub/b.txt", "p.pkg"}));
    EXPECT_EQ(SystemIO::File::ReadAllBytes(temp / u"out/sub/b.txt"), "mine");
}

TEST_F(ExtractFolderTest, RefusesWhatItCannotExtract) {
    EXPECT_EQ(ExtractFolder(container, u"nope", temp / u"out").ErrorText(), CString(u"the package has no folder \"nope/\""));
    EXPECT_EQ(ExtractFolder(container, u"../content", temp / u"out").ErrorText(),
              CString(u"the folder name is not valid: entry \"../content/\" has a \"..\" segment"));
    const CString file = temp.WriteFile(u"file", "");
    EXPECT_EQ(ExtractFolder(container, u"", file).ErrorText(), u"the target " + file + u" exists and is not a folder");
    EXPECT_EQ(OvxTest::TreeOf(temp.Path()), (std::vector<std::string>{"file", "p.pkg"}));
}

}  // namespace
