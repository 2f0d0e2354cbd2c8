// Tracking the source folders: the first scan, packages dropped in and taken away while
// the host runs, and restarting the tracking.
#include "test_host.h"

#include "extensions/manager/install_layout.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "support/wait_until.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace {

using namespace OvxComponent;
using OvxTest::PackageRecipe;
using OvxTest::TestGuid;
using OvxTest::TestHost;
using OvxTest::TestInstaller;
using testing::Contains;
namespace SystemIO = OvxUtils::SystemIO;

class ChangeTracking : public testing::Test {
protected:
    // Runs the main thread's queue until condition holds; false after the deadline.
    template <class Condition>
    bool PumpUntil(Condition condition) {
        return OvxTest::WaitUntil([&] {
            host.RunMainThread();
            return condition();
        });
    }
    CString InstalledFolder(int number) const {
        return InstallLayout::ExtensionFolder(manager->GetPlatformFolder(), TestGuid(number));
    }

    TestHost host;
    std::shared_ptr<ExtensionManagerImpl> manager = host.MakeManager();
    std::shared_ptr<TestInstaller> installer = std::make_shared<TestInstaller>();
    std::shared_ptr<const IExtensionInstaller> registration =
        manager->RegisterInstaller({OvxTest::kTestExtensionType}, installer);
};

TEST_F(ChangeTracking, ScansAtOnceThenLoadsDroppedPackagesAndRemovesTakenOnes) {
    const CString first = OvxTest::PackExtension(host.temp / u"source/first.OrvexExtension", {TestGuid(1)});
    manager->StartLoading();
    manager->FinishLoading();
    manager->TrackSourceFolders();
    EXPECT_EQ(host.RunMainThread(), 1);  // the first scan, before any change
    EXPECT_TRUE(manager->FindExtension(TestGuid(1)));
    EXPECT_THAT(host.TakeLines(), Contains("(Information): \"" + first.ToUtf8() + "\" auto loaded"));

    // A package written elsewhere and moved in, as a finished download arrives.
    const CString outside = OvxTest::PackExtension(host.temp / u"outside/second.OrvexExtension", {TestGuid(2)});
    const CString second = host.temp / u"source/sub/second.OrvexExtension";
    ASSERT_TRUE(SystemIO::Folder::EnsureExists(host.temp / u"source/sub"));
    ASSERT_TRUE(std::filesystem::copy_file(OvxTest::FsPath(outside), OvxTest::FsPath(second)));
    EXPECT_TRUE(PumpUntil([&] { return manager->FindExtension(TestGuid(2)).has_value(); }));

    ASSERT_TRUE(SystemIO::File::Delete(first));
    EXPECT_TRUE(PumpUntil([&] { return !SystemIO::Folder::Exists(InstalledFolder(1)); }));
    EXPECT_FALSE(manager->FindExtension(TestGuid(1)));
    EXPECT_EQ(installer->unloads, 1);
    EXPECT_TRUE(manager->FindExtension(TestGuid(2)));
}

// A burst of drops costs rescans that the burst coalesces, and every package still loads
// with the lines of its own drop.
TEST_F(ChangeTracking, ABurstOfDropsLoadsEveryPackage) {
    constexpr int kDrops = 100;
    const auto name = [](int i) { return CString::FromUtf8(std::to_string(i) + ".OrvexExtension"); };
    for (int i = 1; i <= kDrops; ++i) OvxTest::PackExtension(host.temp / (u"outside/" + name(i)), {TestGuid(i)});
    manager->StartLoading();
    manager->FinishLoading();
    manager->TrackSourceFolders();
    host.RunMainThread();
    for (int i = 1; i <= kDrops; ++i) {
        ASSERT_TRUE(std::filesystem::copy_file(OvxTest::FsPath(host.temp / (u"outside/" + name(i))),
                                               OvxTest::FsPath(host.temp / (u"source/" + name(i)))));
    }
    EXPECT_TRUE(PumpUntil([&] { return installer->loadedPaths.size() == kDrops; }));
    const auto lines = host.TakeLines();
    for (int i = 1; i <= kDrops; ++i) {
        EXPECT_THAT(lines, Contains(OvxTest::Line("Information", host.temp / (u"source/" + name(i)), "auto loaded")));
    }
    const auto rescans = std::count(lines.begin(), lines.end(), "(Information): \"manager\" changes detected, scanning for changes");
    EXPECT_LT(rescans, kDrops);
}

TEST_F(ChangeTracking, DelayedUnloadKeepsTheFolder) {
    const CString path = OvxTest::PackExtension(host.temp / u"source/ext.OrvexExtension", {TestGuid(1)});
    manager->StartLoading();
    manager->TrackSourceFolders();
    host.RunMainThread();
    ASSERT_TRUE(manager->FindExtension(TestGuid(1)));

    installer->unloadAnswer = UnloadResult::Delayed;
    ASSERT_TRUE(SystemIO::File::Delete(path));
    EXPECT_TRUE(PumpUntil([&] { return installer->unloads > 0; }));
    host.RunMainThread();
    EXPECT_TRUE(SystemIO::Folder::Exists(InstalledFolder(1)));
    EXPECT_THAT(host.TakeLines(), Contains("(Information): " + TestGuid(1).ToString().ToUtf8() + " unload delayed"));
}

TEST_F(ChangeTracking, AfterFinishLoadingWithoutLoaderAutoLoadIsDisabled) {
    auto idle = host.MakeManager();  // never started
    OvxTest::PackExtension(host.temp / u"source/ext.OrvexExtension", {TestGuid(1)});
    idle->FinishLoading();
    idle->TrackSourceFolders();
    idle->TrackSourceFolders();
    host.RunMainThread();
    const auto lines = host.TakeLines();
    EXPECT_THAT(lines, Contains("(Warning): \"manager\" No longer tracking old directories.  Unexpected."));
    EXPECT_THAT(lines, Contains(testing::EndsWith("auto load disabled")));
    EXPECT_TRUE(SystemIO::Folder::Exists(InstallLayout::ExtensionFolder(idle->GetPlatformFolder(), TestGuid(1))));
    EXPECT_FALSE(idle->FindExtension(TestGuid(1)));
}

}  // namespace
