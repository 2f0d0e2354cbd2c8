// The manager's construction, its log file and its failure reporting.
#include "test_host.h"

#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using OvxTest::TestHost;
using testing::ElementsAre;
namespace SystemIO = OvxUtils::SystemIO;

TEST(ExtensionManager, WorksInTheX64FolderAndStartsItsLogFileThere) {
    TestHost host;
    auto manager = host.MakeManager(false);
    const CString platform = SystemIO::Path::Combine(host.root, u"x64");
    EXPECT_EQ(manager->GetPlatformFolder(), platform);
    EXPECT_EQ(manager->GetSourceFolders(), (std::vector<ExtensionSourceFolder>{{u"test source", host.source}}));
    EXPECT_TRUE(manager->GetPendingItems().empty());

    const auto bytes = SystemIO::File::ReadAllBytes(SystemIO::Path::Combine(platform, u"orvex_extensions.log"));
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, "\xFF\xFE");
}

TEST(ExtensionManager, MissingDataFolderIsNotCreated) {
    TestHost host;
    const CString missing = host.temp / u"missing";
    const ExtensionSourceFolder sources[] = {{u"s", host.source}};
    auto manager = MakeExtensionManager(missing, sources, nullptr, nullptr, nullptr, {}, {u"log", std::nullopt, nullptr});
    ASSERT_TRUE(manager);
    manager->UnloadAll();
    EXPECT_FALSE(SystemIO::Folder::Exists(missing));
    EXPECT_TRUE(manager->GetPendingItems().empty());
}

TEST(ExtensionManager, ReportsAndNotifiesUnacknowledgedFailures) {
    TestHost host;
    auto manager = host.MakeManager();
    int notified = 0;
    const auto notifier = [&](std::shared_ptr<IExtensionManager> self) {
        EXPECT_EQ(self.get(), manager.get());
        ++notified;
    };
    manager->SetFailureNotifier(notifier);
    EXPECT_EQ(notified, 0);  // nothing has failed yet

    manager->RegisterInstaller({}, nullptr);  // "no mime types for installer?" is an error
    manager->SetFailureNotifier(notifier);
    EXPECT_EQ(notified, 1);

    std::vector<std::string> reported;
    CString logName;
    manager->ReportFailures([&](OvxUtils::array_view<const ExtensionLogEntry> entries, CString name) {
        for (const ExtensionLogEntry& entry : entries) reported.push_back(entry.message.ToUtf8());
        logName = name;
    });
    EXPECT_THAT(reported, ElementsAre("registering an extension installer", "no mime types for installer?"));
    EXPECT_EQ(logName, CString(u"test log"));

    manager->ClearFailures();
    std::size_t count = 99;
    manager->ReportFailures([&](OvxUtils::array_view<const ExtensionLogEntry> entries, CString) { count = entries.size(); });
    EXPECT_EQ(count, 0u);
    EXPECT_THROW(manager->ReportFailures(nullptr), std::bad_function_call);
}

}  // namespace
