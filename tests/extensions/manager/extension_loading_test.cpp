// Loading unpacked extensions through their installers, the host's UI and resource
// callbacks, unloading, and the start-up pass.
#include "test_host.h"

#include "platform/system_io/folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using OvxTest::Info;
using OvxTest::PackageRecipe;
using OvxTest::TestGuid;
using OvxTest::TestHost;
using OvxTest::TestInstaller;
using testing::ElementsAre;
using testing::EndsWith;

const std::string kStartLine = "(Information): \"manager\" initial loading of unpacked extensions";
const std::string kFinishLine = "(Information): \"manager\" finished initial loading unpacked extensions";

using OvxTest::WithUi;

class ExtensionLoading : public testing::Test {
protected:
    // Packs, opens and unpacks one extension; returns its unpacked folder.
    CString Unpack(const PackageRecipe& recipe) {
        const CString path =
            OvxTest::PackExtension(host.temp / (u"source/" + recipe.id.ToString() + u".OrvexExtension"), recipe);
        auto opened = manager->OpenPackage(path);
        EXPECT_TRUE(opened) << opened.ErrorText();
        auto unpacked = manager->Unpack(*opened, manager->GetPlatformFolder());
        EXPECT_TRUE(unpacked) << unpacked.ErrorText();
        return unpacked ? unpacked->path.value_or(CString()) : CString();
    }
    std::shared_ptr<const IExtensionInstaller> Register() {
        return manager->RegisterInstaller({OvxTest::kTestExtensionType}, installer);
    }

    TestHost host;
    std::shared_ptr<ExtensionManagerImpl> manager = host.MakeManager();
    std::shared_ptr<TestInstaller> installer = std::make_shared<TestInstaller>();
};

TEST_F(ExtensionLoading, StartLoadingLoadsWhatIsUnpacked) {
    const CString folder = Unpack({TestGuid(1)});
    auto registration = Register();
    host.TakeLines();
    manager->StartLoading();

    EXPECT_THAT(installer->loadedPaths, ElementsAre(folder));
    ASSERT_TRUE(manager->FindExtension(TestGuid(1)));
    std::vector<std::string> expected = Info(TestGuid(1), {"loading this extension", "extension loaded",
                                                           "loaded before resource loader installed",
                                                           "loaded, no ui modifications applied"});
    for (const std::string& line : Info(folder, {"loaded!", "try load worked."})) expected.push_back(line);
    const std::vector<std::string> lines = host.TakeLines();
    const auto from = std::find(lines.begin(), lines.end(), expected.front());
    ASSERT_GE(lines.end() - from, 6);
    EXPECT_EQ(std::vector<std::string>(from, from + 6), expected);
    // The second round finds nothing left to load and ends the pass.
    EXPECT_EQ(lines.front(), kStartLine);
    EXPECT_EQ(lines.back(), kFinishLine);
}

TEST_F(ExtensionLoading, WithoutInstallerTheExtensionWaitsAndLoadsWhenOneRegisters) {
    Unpack({TestGuid(1)});
    manager->StartLoading();
    EXPECT_FALSE(manager->FindExtension(TestGuid(1)));
    EXPECT_THAT(host.TakeLines(), testing::Contains(EndsWith("unpacked before extension loader active")));

    auto registration = Register();  // the loader is active: registering scans at once
    EXPECT_TRUE(manager->FindExtension(TestGuid(1)));
    EXPECT_THAT(host.TakeLines(),
                testing::Contains("(Information): \"manager\" new installer means we are scanning for extensions to load"));
}

TEST_F(ExtensionLoading, EmptyPlatformFolderPassesOnce) {
    host.TakeLines();
    manager->StartLoading();
    EXPECT_THAT(host.TakeLines(), ElementsAre(kStartLine, kFinishLine));
}

TEST_F(ExtensionLoading, HostCallbacksGetTheFilesOfLoadedExtensions) {
    Unpack(WithUi(1));
    Unpack(WithUi(2));
    auto registration = Register();
    manager->StartLoading();

    int modifierCalls = 0;
    std::size_t applicationFiles = 0;
    const UiModifier modifier = [&](const std::vector<UiModification>& application,
                                    const std::vector<UiModification>& user, bool flag) {
        ++modifierCalls;
        applicationFiles = application.size();
        EXPECT_TRUE(user.empty());
        EXPECT_TRUE(flag);
        return true;
    };
    manager->SetUiModificationFlag();
    manager->SetUiHandlers(modifier, nullptr);
    manager->SetUiHandlers(modifier, nullptr);  // replacing visits nothing
    EXPECT_EQ(modifierCalls, 1);
    EXPECT_EQ(applicationFiles, 2u);

    std::vector<CString> resources;
    manager->SetResourceLoader([&](const std::vector<CString>& files) {
        resources = files;
        return false;  // a failing loader changes nothing
    });
    EXPECT_EQ(resources.size(), 2u);
    EXPECT_TRUE(manager->FindExtension(TestGuid(1)));
}

// The installer's answer decides whether one extension's record stays; UnloadAll forgets
// every record, even one whose unload is delayed.
TEST_F(ExtensionLoading, UnloadAnswersDecideWhetherTheRecordStaysAndUnloadAllForgetsThem) {
    Unpack({TestGuid(1)});
    Unpack({TestGuid(2)});
    auto registration = Register();
    manager->StartLoading();
    auto state = manager->FindExtension(TestGuid(1));
    ASSERT_TRUE(state);

    installer->unloadAnswer = UnloadResult::Delayed;
    EXPECT_EQ(*manager->UnloadExtension(*state, false), UnloadResult::Delayed);
    EXPECT_TRUE(manager->FindExtension(TestGuid(1)));
    installer->unloadAnswer = std::nullopt;
    EXPECT_EQ(manager->UnloadExtension(*state, false).ErrorText(), u"unload failed");
    installer->unloadAnswer = UnloadResult::Unloaded;
    EXPECT_EQ(*manager->UnloadExtension(*state, false), UnloadResult::Unloaded);
    EXPECT_FALSE(manager->FindExtension(TestGuid(1)));
    EXPECT_TRUE((*state)->IsUnloaded());
    EXPECT_NE((*state)->IsLoaded(), (*state)->IsUnloaded());
    EXPECT_EQ(manager->UnloadExtension(nullptr, false).ErrorText(), u"null extension error");

    host.TakeLines();
    installer->unloadAnswer = UnloadResult::Delayed;
    EXPECT_EQ(manager->UnloadAll().size(), 1u);
    EXPECT_EQ(installer->unloads, 4);
    EXPECT_FALSE(manager->FindExtension(TestGuid(2)));
    EXPECT_EQ(host.TakeLines(), Info(u"manager", {"unloading everything", "finished unloading everything"}));
    EXPECT_TRUE(manager->UnloadAll().empty());
}

TEST_F(ExtensionLoading, ReleasingTheInstallerUnloadsItsExtensionsAndReloadsUiOnce) {
    Unpack(WithUi(1));
    Unpack(WithUi(2));
    auto registration = Register();
    int reloads = 0;
    manager->SetUiHandlers(nullptr, [&] { ++reloads; });
    manager->StartLoading();
    host.TakeLines();

    registration.reset();
    installer.reset();
    EXPECT_EQ(reloads, 1);
    const std::vector<std::string> lines = host.TakeLines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const std::string& l) { return l.ends_with("has UI to remove"); }), 2);
    EXPECT_THAT(lines, testing::Contains("(Information): \"manager\" reloading UI"));
    EXPECT_FALSE(manager->FindExtension(TestGuid(1)));
}

TEST_F(ExtensionLoading, FinishLoadingReportsWhatDidNotLoad) {
    Unpack({TestGuid(1)});
    manager->StartLoading();  // no installer: the extension waits
    manager->FinishLoading();
    EXPECT_THAT(manager->Log().FailedGuids(), ElementsAre(TestGuid(1)));
    EXPECT_THAT(host.TakeLines(), testing::Contains(OvxTest::Line("Error", TestGuid(1), "Extension failed to load.")));
}

}  // namespace
