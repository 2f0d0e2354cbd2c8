// Registering installers by MIME type, and what releasing a registration does.
#include "test_host.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using OvxTest::TestHost;
using OvxTest::TestInstaller;
using testing::ElementsAre;

TEST(InstallerRegistry, RefusalsAreLoggedAndRegisterNothing) {
    TestHost host;
    auto manager = host.MakeManager();
    auto installer = std::make_shared<TestInstaller>();

    EXPECT_FALSE(manager->RegisterInstaller({}, nullptr));
    EXPECT_FALSE(manager->RegisterInstaller({u"a"}, nullptr));
    auto b = manager->RegisterInstaller({u"b"}, installer);
    ASSERT_TRUE(b);
    EXPECT_EQ(b.get(), installer.get());  // the host uses it like its own installer
    EXPECT_FALSE(manager->RegisterInstaller({u"b", u"a"}, installer));
    auto a = manager->RegisterInstaller({u"a"}, installer);  // "a" was not taken by the refusal
    EXPECT_TRUE(a);

    EXPECT_THAT(host.TakeLines(),
                ElementsAre("(Information): \"manager\" registering an extension installer",
                            "(Error): \"manager\" no mime types for installer?",
                            "(Information): \"manager\" registering an extension installer",
                            "(Information): \"a\" registered",
                            "(Error): \"manager\" null installer?",
                            "(Information): \"manager\" registering an extension installer",
                            "(Information): \"b\" registered",
                            "(Information): \"manager\" registering an extension installer",
                            "(Information): \"a\" registered", "(Information): \"b\" registered",
                            "(Error): \"b\" duplicate mime type handler!",
                            "(Information): \"manager\" registering an extension installer",
                            "(Information): \"a\" registered"));
}

TEST(InstallerRegistry, ReleasingTheRegistrationRemovesOnceAndKeepsTheTypeTaken) {
    TestHost host;
    auto manager = host.MakeManager();
    int destroyed = 0;
    auto registration = [&] {
        auto installer = std::make_shared<TestInstaller>();
        installer->destroyed = &destroyed;
        return manager->RegisterInstaller({u"x"}, installer);
    }();
    auto copy = registration;
    registration.reset();
    host.TakeLines();
    EXPECT_EQ(destroyed, 0);
    copy.reset();
    EXPECT_EQ(destroyed, 1);
    EXPECT_THAT(host.TakeLines(), ElementsAre("(Information): \"manager\" installer being removed:"));

    EXPECT_FALSE(manager->RegisterInstaller({u"x"}, std::make_shared<TestInstaller>()));
    EXPECT_THAT(host.TakeLines(), testing::Contains("(Error): \"x\" duplicate mime type handler!"));
}

TEST(InstallerRegistry, ReleaseAfterTheManagerIsGoneOnlyDestroysTheInstaller) {
    TestHost host;
    int destroyed = 0;
    std::shared_ptr<const IExtensionInstaller> registration;
    {
        auto manager = host.MakeManager();
        auto installer = std::make_shared<TestInstaller>();
        installer->destroyed = &destroyed;
        registration = manager->RegisterInstaller({u"x"}, installer);
    }
    host.TakeLines();
    registration.reset();
    EXPECT_EQ(destroyed, 1);
    EXPECT_TRUE(host.TakeLines().empty());
}

}  // namespace
