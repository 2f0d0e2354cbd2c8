// PackFiles: where packed files go, and what it refuses.
#include "OvxComponent/extensions/format/extension_packing.h"

#include "OvxComponent/container/zip_container.h"
#include "extension_package_builder.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace OvxComponent;
using VdcContainer::ZipFile::OpenMode;

ExtensionContainerOpener CreateAt(const CString& path) {
    return [path] { return ExtensionContainer::Open(path, OpenMode::Create).Value(); };
}

std::vector<CString> ContentEntries(const CString& path) {
    std::vector<CString> names;
    auto container = VdcContainer::ZipContainer::Open(path, OpenMode::ReadOnly);
    if (!container) return names;
    for (const VdcContainer::ContainerEntry& entry : container->GetEntries()) {
        if (entry.name.Left(8) == u"content/") names.push_back(entry.name);
    }
    return names;
}

TEST(ExtensionPacking, FailingOpenerGivesAnEmptyHandle) {
    OvxTest::TempFolder temp;
    const CString file = temp.WriteFile(u"a.txt", "a");
    int calls = 0;
    const ExtensionContainer package = PackFile(
        [&calls] {
            ++calls;
            return ExtensionContainer();
        },
        OvxTest::SampleExtensionData(), file);
    EXPECT_FALSE(package);
    EXPECT_EQ(calls, 1);
}

// The names a reader lists: files go under "content", relative to the folder part of the
// folder argument (which ends in a separator when it names the folder itself); a file
// outside that folder makes no package.
TEST(ExtensionPacking, FilesGoUnderContentRelativeToTheFolderPart) {
    OvxTest::TempFolder temp;
    const std::vector<CString> files{temp.WriteFile(u"src/a.txt", "a"), temp.WriteFile(u"src/sub/b.txt", "b")};
    const CString path = temp / u"out.OrvexExtension";
    ASSERT_TRUE(PackFiles(CreateAt(path), OvxTest::SampleExtensionData(), temp / u"src/", files).Close());
    EXPECT_EQ(ContentEntries(path), (std::vector<CString>{u"content/a.txt", u"content/sub/b.txt"}));

    ASSERT_TRUE(PackFiles(CreateAt(path), OvxTest::SampleExtensionData(), temp / u"src", files).Close());
    EXPECT_EQ(ContentEntries(path), (std::vector<CString>{u"content/src/a.txt", u"content/src/sub/b.txt"}));

    // One file lands right under "content", whatever folder it comes from.
    ASSERT_TRUE(PackFile(CreateAt(path), OvxTest::SampleExtensionData(), files[1]).Close());
    EXPECT_EQ(ContentEntries(path), (std::vector<CString>{u"content/b.txt"}));

    // A file outside the folder gives an empty handle, and no package.
    const CString outside = temp / u"outside.OrvexExtension";
    const std::vector<CString> stray{files[0], temp.WriteFile(u"other/c.txt", "c")};
    EXPECT_FALSE(PackFiles(CreateAt(outside), OvxTest::SampleExtensionData(), temp / u"src/", stray));
    EXPECT_FALSE(VdcContainer::ZipContainer::Open(outside, OpenMode::ReadOnly));
}

TEST(ExtensionPacking, PackageOfAnotherMimeTypeHasNoExtensionRecord) {
    const OvxTest::ExtensionPackageBuilder builder;
    ASSERT_NE(builder.Read(), nullptr);
    ASSERT_TRUE(builder.SetMimeType(u"application/x-vnd.orvex.zcf.qpsaddon2+zip"));
    auto package = ExtensionContainer::Open(builder.Path(), OpenMode::ReadOnly);
    ASSERT_TRUE(package);
    EXPECT_EQ(package->GetInfo(), nullptr);
    EXPECT_FALSE(package->GetInfoError().IsEmpty());
}

}  // namespace
