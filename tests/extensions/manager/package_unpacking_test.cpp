// Opening packages, deciding whether to unpack them, and unpacking them into the install
// layout, with the log lines of each path.
#include "test_host.h"

#include "extensions/manager/install_layout.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include <filesystem>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using OvxTest::Info;
using OvxTest::Line;
using OvxTest::PackageRecipe;
using OvxTest::TestGuid;
using OvxTest::TestHost;
using testing::ElementsAre;
namespace SystemIO = OvxUtils::SystemIO;

std::string U8(const CString& text) { return text.ToUtf8(); }

class PackageUnpacking : public testing::Test {
protected:
    CString Pack(const CString& name, const PackageRecipe& recipe) { return OvxTest::PackExtension(host.temp / (u"source/" + name), recipe); }
    OpenedPackage Open(const CString& path) {
        auto opened = manager->OpenPackage(path);
        EXPECT_TRUE(opened) << opened.ErrorText();
        return opened ? *opened : OpenedPackage{};
    }
    // The files below the platform folder but the log, relative, with '/' separators.
    std::vector<std::string> Installed() const {
        std::vector<std::string> files;
        for (std::string& path : OvxTest::TreeOf(manager->GetPlatformFolder())) {
            if (!path.ends_with('/') && path != "orvex_extensions.log") files.push_back(std::move(path));
        }
        return files;
    }

    TestHost host;
    std::shared_ptr<ExtensionManagerImpl> manager = host.MakeManager();
    const CString guidText = TestGuid(1).ToString();
};

TEST_F(PackageUnpacking, OpenRefusesOtherFilesUnfitPackagesAndDamage) {
    const CString zip = host.temp.WriteFile(u"source/a.zip", "not read");
    const CString unfit = Pack(u"unfit.OrvexExtension", {TestGuid(2), {1}, OvxTest::kTestExtensionType, {}, ExtensionAppSupport::Delta});
    const CString damaged = host.temp.WriteFile(u"source/damaged.OrvexExtension", "PK\x03\x04 truncated");

    EXPECT_EQ(manager->OpenPackage(zip).ErrorText(), u"Cannot open " + zip + u" as an extension");
    EXPECT_EQ(manager->OpenPackage(unfit).ErrorText(), unfit + u" does not work on this system");
    EXPECT_EQ(manager->OpenPackage(damaged).ErrorText(), u"Cannot open " + damaged + u" as an extension");
    std::vector<std::string> expected;
    for (const auto& [path, refusal] : {std::pair{zip, u"Cannot open " + zip + u" as an extension"},
                                        std::pair{unfit, unfit + u" does not work on this system"},
                                        std::pair{damaged, u"Cannot open " + damaged + u" as an extension"}}) {
        for (const std::string& line : Info(path, {"opening...", U8(refusal)})) expected.push_back(line);
    }
    expected.push_back(Line("Information", damaged, "reason: the file is not a ZIP archive, or it is truncated"));
    EXPECT_EQ(host.TakeLines(), expected);
    EXPECT_EQ(SystemIO::File::ReadAllBytes(zip), "not read");
}

// What is not a regular file is refused where the container opens it, with the reason, and
// without waiting: a pipe with no writer would block a plain open for ever. The reason is an
// error, so that the failure report shows what lies in a watched folder and is refused.
TEST_F(PackageUnpacking, SpecialFilesNamedLikePackagesAreRefusedWithoutBlocking) {
    std::vector<std::pair<CString, std::string>> cases = {
        {host.temp / u"source/folder.OrvexExtension", "the path is a folder, not a file"}};
    ASSERT_TRUE(SystemIO::Folder::EnsureExists(cases[0].first));
#ifndef _WIN32
    const CString fifo = host.temp / u"source/fifo.OrvexExtension";
    ASSERT_EQ(::mkfifo(U8(fifo).c_str(), 0600), 0);
    cases.emplace_back(fifo, "the path is not a regular file but a pipe, socket or device");
#endif
    for (const auto& [path, reason] : cases) {
        EXPECT_EQ(manager->OpenPackage(path).ErrorText(), u"Cannot open " + path + u" as an extension");
        EXPECT_THAT(host.TakeLines(), testing::Contains(Line("Error", path, "reason: " + reason)));
    }
}

// A record read once serves later scans only while the file is the same: replaced by
// another with its old time, or rewritten in place, the file is read again.
TEST_F(PackageUnpacking, AScanReadsAChangedPackageAgain) {
    const CString path = Pack(u"ext.OrvexExtension", {TestGuid(1), {1}});
    const auto versionOf = [&] {
        auto opened = manager->OpenPackage(path, PackageUse::RecordOnly);
        return opened ? opened->container->GetInfo()->GetVersionAsString() : CString(u"none");
    };
    EXPECT_EQ(versionOf(), u"1");
    const std::uint64_t time = *SystemIO::File::GetLastWriteTime(path);

    const CString replacement = OvxTest::PackExtension(host.temp / u"elsewhere/ext.OrvexExtension", {TestGuid(1), {2}});
    ASSERT_TRUE(SystemIO::File::SetLastWriteTime(replacement, time));
    SystemIO::File::Delete(path);
    std::filesystem::rename(OvxTest::FsPath(replacement), OvxTest::FsPath(path));
    EXPECT_EQ(versionOf(), u"2");

    // Two packages of other versions with as many bytes (the sizes differ by a few bytes
    // only, so a few dozen make a pair): the first rewrites the file with a new time, the
    // second then rewrites it in place with that time set back, so that only the system's
    // own change time tells.
    std::map<std::size_t, std::pair<int, std::string>> bySize;
    std::pair<int, std::string> first, second;
    for (int version = 3; second.first == 0 && version < 200; ++version) {
        std::string bytes = *SystemIO::File::ReadAllBytes(
            OvxTest::PackExtension(host.temp / u"elsewhere/other.OrvexExtension", {TestGuid(1), {version}}));
        if (const auto [found, added] = bySize.try_emplace(bytes.size(), version, bytes); !added) {
            first = found->second;
            second = {version, std::move(bytes)};
        }
    }
    ASSERT_NE(second.first, 0) << "no two packages of the same size";
    ASSERT_TRUE(SystemIO::File::WriteAllBytes(path, first.second));
    EXPECT_EQ(versionOf(), OvxUtils::Version{first.first}.ToString());

    const std::uint64_t rewrittenAt = *SystemIO::File::GetLastWriteTime(path);
    OvxTest::WaitForTheChangeClockToMove(path);
    ASSERT_TRUE(SystemIO::File::WriteAllBytes(path, second.second));
    ASSERT_TRUE(SystemIO::File::SetLastWriteTime(path, rewrittenAt));
    EXPECT_EQ(versionOf(), OvxUtils::Version{second.first}.ToString());
    // What the decision then sees is the new version: an equal version whose file is not
    // newer than the installed copy stays installed.
    OpenedPackage package = Open(path);
    ASSERT_TRUE(manager->Unpack(package, manager->GetPlatformFolder()));
    EXPECT_EQ(manager->ShouldUnpack(Open(path), 0).ErrorText(), u"Already unpacked.");
}

TEST_F(PackageUnpacking, UnpacksIntoTheVersionedLayoutAndReplacesOlderVersions) {
    const CString v1 = Pack(u"ext.OrvexExtension", {TestGuid(1), {1, 0}});
    OpenedPackage package = Open(v1);
    host.TakeLines();
    ASSERT_TRUE(manager->ShouldUnpack(package, 1));
    EXPECT_EQ(host.TakeLines(), Info(v1, {"should I unpack?"}));

    auto unpacked = manager->Unpack(package, manager->GetPlatformFolder());
    ASSERT_TRUE(unpacked) << unpacked.ErrorText();
    const CString versionFolder = SystemIO::Path::Combine(manager->GetPlatformFolder(), guidText, u"1.0");
    const CString unpackedFolder = SystemIO::Path::Combine(versionFolder, u"unpacked");
    EXPECT_EQ(unpacked->path, unpackedFolder);
    const CString installed = SystemIO::Path::Combine(versionFolder, u"installed_copy.OrvexExtension");
    const auto id = TestGuid(1);
    const auto info = [](const auto& subject, const std::string& text) { return Line("Information", subject, text); };
    const CString with = u" is associated with ";
    EXPECT_EQ(host.TakeLines(),
              (std::vector{info(v1, "unpack work:"), info(id, "opening..."), info(id, U8(guidText + with + v1)),
                           info(v1, U8(v1 + with + guidText)), info(id, "cloned"), info(installed, "opening..."),
                           info(id, "opening..."), info(id, U8(guidText + with + unpackedFolder)),
                           info(unpackedFolder, U8(unpackedFolder + with + guidText)),
                           info(unpackedFolder, "unpacked successfully")}));
    const std::string folder = U8(guidText) + "/1.0/";
    EXPECT_THAT(Installed(), ElementsAre(folder + "installed_copy.OrvexExtension", folder + "unpacked/META-INF/manifest.xml",
                                         folder + "unpacked/META-INF/metadata.xml", folder + "unpacked/content/main.txt",
                                         folder + "unpacked/extension.xml", folder + "unpacked/mimetype",
                                         folder + "unpacked/requirements.xml"));

    const CString v2 = Pack(u"ext.OrvexExtension", {TestGuid(1), {2}, OvxTest::kTestExtensionType, {{u"two.txt", "2"}}});
    OpenedPackage second = Open(v2);
    host.TakeLines();
    ASSERT_TRUE(manager->ShouldUnpack(second, 1));
    EXPECT_EQ(host.TakeLines(), Info(v2, {"should I unpack?", "older version already unpacked", "I should unpack!"}));
    ASSERT_TRUE(manager->Unpack(second, manager->GetPlatformFolder()));
    EXPECT_THAT(Installed(), testing::AllOf(testing::Contains(U8(guidText) + "/2/unpacked/content/two.txt"),
                                            testing::Each(testing::StartsWith(U8(guidText) + "/2/"))));
}

TEST_F(PackageUnpacking, DecisionComparesVersionsThenFileTimes) {
    const CString path = Pack(u"ext.OrvexExtension", {TestGuid(1), {1, 2}});
    OpenedPackage package = Open(path);
    ASSERT_TRUE(manager->Unpack(package, manager->GetPlatformFolder()));
    const auto installedTime =
        SystemIO::File::GetLastWriteTime(InstallLayout::InstalledCopy(
            InstallLayout::VersionFolder(manager->GetPlatformFolder(), TestGuid(1), {1, 2})));
    ASSERT_TRUE(installedTime);

    // 1.2.0 equals 1.2: a package no newer than the installed copy is not unpacked again.
    const CString same = Pack(u"same.OrvexExtension", {TestGuid(1), {1, 2, 0}});
    OpenedPackage samePackage = Open(same);
    host.TakeLines();
    EXPECT_EQ(manager->ShouldUnpack(samePackage, *installedTime).ErrorText(), u"Already unpacked.");
    EXPECT_EQ(host.TakeLines(),
              Info(same, {"should I unpack?", "same version with not older timestamp there", "Already unpacked."}));
    EXPECT_TRUE(manager->ShouldUnpack(samePackage, *installedTime + 1));

    const CString older = Pack(u"older.OrvexExtension", {TestGuid(1), {1, 1, 9}});
    OpenedPackage olderPackage = Open(older);
    host.TakeLines();
    EXPECT_EQ(manager->ShouldUnpack(olderPackage, *installedTime + 1).ErrorText(), u"Already unpacked.");
    EXPECT_EQ(host.TakeLines(), Info(older, {"should I unpack?", "newer version already unpacked", "Already unpacked."}));
}

TEST_F(PackageUnpacking, NewerCopyAnywhereInTheListBlocks) {
    // Two version folders side by side, as an interrupted update leaves them.
    const CString extensionFolder = InstallLayout::ExtensionFolder(manager->GetPlatformFolder(), TestGuid(1));
    for (const char16_t* version : {u"1", u"3"}) ASSERT_TRUE(SystemIO::Folder::EnsureExists(SystemIO::Path::Combine(extensionFolder, version)));
    OpenedPackage package = Open(Pack(u"ext.OrvexExtension", {TestGuid(1), {2}}));
    host.TakeLines();
    EXPECT_EQ(manager->ShouldUnpack(package, 1).ErrorText(), u"Already unpacked.");
    EXPECT_THAT(host.TakeLines(), testing::ElementsAre(testing::EndsWith("should I unpack?"),
                                                       testing::EndsWith("older version already unpacked"),
                                                       testing::EndsWith("newer version already unpacked"),
                                                       testing::EndsWith("Already unpacked.")));
}

TEST_F(PackageUnpacking, UnpackRefusesAForeignInstallFolder) {
    OpenedPackage package = Open(Pack(u"ext.OrvexExtension", {TestGuid(1), {1}}));
    const CString platform = manager->GetPlatformFolder();
    CString otherCase = platform.Left(platform.GetLength() - 3) + u"X64";
    EXPECT_EQ(manager->Unpack(package, otherCase).ErrorText(), u"Bad install directory");
    EXPECT_THAT(host.TakeLines(), testing::Contains(Line("Warning", TestGuid(1), "Bad install directory")));
    EXPECT_THAT(Installed(), testing::IsEmpty());
}

TEST_F(PackageUnpacking, PackageWithoutMetadataIsAFormatError) {
    OpenedPackage bare{nullptr, CString(u"bare.OrvexExtension"), 0, nullptr};
    EXPECT_EQ(manager->ShouldUnpack(bare, 1).ErrorText(), u"File format error.");
    EXPECT_EQ(manager->Unpack(bare, manager->GetPlatformFolder()).ErrorText(), u"no valid extension info?");
    EXPECT_THAT(Installed(), testing::IsEmpty());
}

// A file that its program holds open can keep an earlier install from going on Windows:
// the same version unpacked again then either starts from an empty folder (the old tree
// was renamed away) or stops ("could not be cleared away"), and never mixes the files it
// left with its own. Linux deletes an open file, and the unpack simply succeeds.
TEST_F(PackageUnpacking, AnEarlierInstallThatStaysIsNeverMergedWithTheNext) {
    PackageRecipe first{TestGuid(1)};
    first.files = {{u"main.txt", "one"}, {u"gone-in-the-next.dll", "held"}};
    ASSERT_TRUE(manager->Unpack(Open(Pack(u"p.OrvexExtension", first)), manager->GetPlatformFolder()));
    const CString unpacked = InstallLayout::UnpackedFolder(InstallLayout::VersionFolder(manager->GetPlatformFolder(), TestGuid(1), {1, 0}));
    const CString held = SystemIO::Path::Combine(unpacked, u"content/gone-in-the-next.dll");
    const OvxTest::HeldOpen hold(held);
    ASSERT_TRUE(hold.IsHeld());
    if (manager->Unpack(Open(Pack(u"q.OrvexExtension", {TestGuid(1)})), manager->GetPlatformFolder())) {
        EXPECT_FALSE(SystemIO::File::Exists(held));
        EXPECT_TRUE(SystemIO::File::Exists(SystemIO::Path::Combine(unpacked, u"content/main.txt")));
    } else {
        EXPECT_THAT(host.TakeLines(), testing::Contains(testing::HasSubstr("could not be cleared away")));
    }
}

}  // namespace

