// Registering installers by MIME type: the registry on its own table and log, and what
// releasing a registration does in a manager.
#include "extensions/loading/installer_registry.h"
#include "test_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using OvxTest::TestHost;
using OvxTest::TestInstaller;
using testing::ElementsAre;

// A registry over a table and a log of its own, without a manager.
struct Registry {
    TestHost host;
    ExtensionLog log{{u"test", std::nullopt, host.stream}};
    InstallerTable table;
    std::vector<std::set<CString>> released;  // the MIME types of each release, in order

    std::shared_ptr<const IExtensionInstaller> Register(const std::set<CString>& types,
                                                        std::shared_ptr<const IExtensionInstaller> installer) {
        return InstallerRegistry(table, log).Register(types, std::move(installer),
                                                      [this](const std::set<CString>& mimeTypes, const auto& alive) {
                                                          EXPECT_TRUE(alive);
                                                          released.push_back(mimeTypes);
                                                      });
    }
};

TEST(InstallerRegistry, RefusalsAreLoggedAndRegisterNothing) {
    Registry registry;
    auto installer = std::make_shared<TestInstaller>();

    EXPECT_FALSE(registry.Register({}, nullptr));
    EXPECT_FALSE(registry.Register({u"a"}, nullptr));
    auto b = registry.Register({u"b"}, installer);
    EXPECT_EQ(b.get(), installer.get());  // the host uses it like its own installer
    EXPECT_FALSE(registry.Register({u"b", u"a"}, installer));
    EXPECT_FALSE(registry.table.contains(u"a"));  // all or nothing
    auto a = registry.Register({u"a"}, installer);
    EXPECT_TRUE(a);
    EXPECT_EQ(FindInstaller(registry.table, u"a").installer, installer);

    const std::string registering = "(Information): \"manager\" registering an extension installer";
    const std::string aRegistered = "(Information): \"a\" registered", bRegistered = "(Information): \"b\" registered";
    EXPECT_THAT(registry.host.TakeLines(),
                ElementsAre(registering, "(Error): \"manager\" no mime types for installer?",                  //
                            registering, aRegistered, "(Error): \"manager\" null installer?",                //
                            registering, bRegistered,                                                        //
                            registering, aRegistered, bRegistered, "(Error): \"b\" duplicate mime type handler!",  //
                            registering, aRegistered));
}

TEST(InstallerRegistry, ReleasingTheLastCopyReleasesOnceAndKeepsTheTypesTaken) {
    Registry registry;
    int destroyed = 0;
    auto registration = [&] {
        auto installer = std::make_shared<TestInstaller>();
        installer->destroyed = &destroyed;
        return registry.Register({u"x", u"y"}, installer);
    }();
    auto copy = registration;
    registration.reset();
    EXPECT_TRUE(registry.released.empty());
    copy.reset();
    EXPECT_EQ(registry.released, (std::vector<std::set<CString>>{{u"x", u"y"}}));
    EXPECT_EQ(destroyed, 1);

    const InstallerLookup lookup = FindInstaller(registry.table, u"x");
    EXPECT_TRUE(lookup.registered && !lookup.installer);
    EXPECT_FALSE(registry.Register({u"x"}, std::make_shared<TestInstaller>()));
}

// The manager says so in its log, and only while it lives.
TEST(InstallerRegistry, TheManagerLogsAReleaseWhileItLives) {
    TestHost host;
    int destroyed = 0;
    const auto registerOne = [&](ExtensionManagerImpl& manager) {
        auto installer = std::make_shared<TestInstaller>();
        installer->destroyed = &destroyed;
        return manager.RegisterInstaller({u"x"}, installer);
    };
    auto manager = host.MakeManager();
    registerOne(*manager).reset();
    EXPECT_THAT(host.TakeLines(), testing::Contains("(Information): \"manager\" installer being removed:"));

    std::shared_ptr<const IExtensionInstaller> outliving = registerOne(*host.MakeManager());
    host.TakeLines();
    outliving.reset();
    EXPECT_EQ(destroyed, 2);
    EXPECT_TRUE(host.TakeLines().empty());
}

}  // namespace
