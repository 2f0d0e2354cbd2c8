// The C interface: its refusals with the name of what is missing, and a host's whole flow
// through it, with the log handed over line by line and still written to its file.
#include "OvxComponent/ovx_component.h"
#include "platform/system_io/file.h"
#include "test_host.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace OvxTest;

struct CHost {
    std::vector<ovx_work*> work;
    std::vector<std::string> lines;
    std::vector<std::string> loadedIds;
    int unloads = 0;
    int destroyed = 0;
};

ovx_manager_config ConfigFor(CHost& host, const std::string& data, const ovx_source_folder& source) {
    ovx_manager_config config{};
    config.data_folder = data.c_str();
    config.source_folders = &source;
    config.source_folder_count = 1;
    config.context = &host;
    config.dispatch = [](void* context, ovx_work* work) { static_cast<CHost*>(context)->work.push_back(work); };
    config.app_supported = [](void*, int app) { return app == 0 ? 1 : 0; };
    config.log_line = [](void* context, const char* line) { static_cast<CHost*>(context)->lines.emplace_back(line); };
    return config;
}

TEST(CInterface, RefusesWhatIsMissingAndNamesIt) {
    CHost host;
    const ovx_source_folder source{"label", "/nowhere"};
    ovx_manager_config noDispatch = ConfigFor(host, "/nowhere", source);
    noDispatch.dispatch = nullptr;
    ovx_manager* manager = nullptr;
    ovx_installer* installer = nullptr;
    EXPECT_EQ(ovx_manager_create(&noDispatch, &manager), OVX_E_INVALID_ARGUMENT);
    EXPECT_NE(std::string(ovx_last_error()).find("config->dispatch"), std::string::npos) << ovx_last_error();
    EXPECT_EQ(manager, nullptr);
    EXPECT_EQ(ovx_manager_register_installer(nullptr, nullptr, 0, nullptr, &installer), OVX_E_INVALID_ARGUMENT);
    EXPECT_NE(std::string(ovx_last_error()).find("manager"), std::string::npos) << ovx_last_error();

    // A trust policy that cannot be used makes no manager, and says which item failed.
    const ovx_manager_config config = ConfigFor(host, "/nowhere", source);
    const char* notAKey[] = {"RWQ"};
    const ovx_trust_policy badKey{OVX_TRUST_WARN, notAKey, 1, nullptr, 0, nullptr, 0};
    EXPECT_EQ(ovx_manager_create_with_trust(&config, &badKey, &manager), OVX_E_FAILED);
    EXPECT_NE(std::string(ovx_last_error()).find("trusted key 1"), std::string::npos) << ovx_last_error();
    const ovx_trust_policy noKey{OVX_TRUST_REQUIRE, nullptr, 0, nullptr, 0, nullptr, 0};
    EXPECT_EQ(ovx_manager_create_with_trust(&config, &noKey, &manager), OVX_E_FAILED);
    EXPECT_NE(std::string(ovx_last_error()).find("trusts no key"), std::string::npos) << ovx_last_error();
    // A mode the interface does not define is refused, never taken for off.
    for (const int mode : {3, -1}) {
        const ovx_trust_policy undefined{static_cast<ovx_trust_mode>(mode), nullptr, 0, nullptr, 0, nullptr, 0};
        EXPECT_EQ(ovx_manager_create_with_trust(&config, &undefined, &manager), OVX_E_INVALID_ARGUMENT);
        EXPECT_NE(std::string(ovx_last_error()).find("policy->mode"), std::string::npos) << ovx_last_error();
    }
    EXPECT_EQ(manager, nullptr);
}

TEST(CInterface, CarriesAHostThroughLoadingTrackingAndUnloading) {
    TestHost paths;
    PackExtension(paths.temp / u"source/tool.OrvexExtension", {TestGuid(1)});
    CHost host;
    const std::string data = paths.root.ToUtf8(), folder = paths.source.ToUtf8();
    const ovx_source_folder source{"source", folder.c_str()};
    const ovx_manager_config config = ConfigFor(host, data, source);
    ovx_manager* manager = nullptr;
    ASSERT_EQ(ovx_manager_create(&config, &manager), OVX_OK) << ovx_last_error();

    ovx_installer_callbacks callbacks{};
    callbacks.context = &host;
    callbacks.load = [](void* context, const ovx_extension_info* info) -> void* {
        static_cast<CHost*>(context)->loadedIds.emplace_back(info->document_id);
        return context;
    };
    callbacks.unload = [](void* context, void*) { return ++static_cast<CHost*>(context)->unloads, OVX_UNLOADED; };
    callbacks.destroy = [](void* context) { ++static_cast<CHost*>(context)->destroyed; };
    const std::string type = kTestExtensionType.ToUtf8();
    const char* types[] = {type.c_str()};
    ovx_installer* installer = nullptr;
    ASSERT_EQ(ovx_manager_register_installer(manager, types, 1, &callbacks, &installer), OVX_OK) << ovx_last_error();

    EXPECT_TRUE(ovx_manager_start_loading(manager) == OVX_OK && ovx_manager_finish_loading(manager) == OVX_OK &&
                ovx_manager_track_source_folders(manager) == OVX_OK);
    ASSERT_EQ(host.work.size(), 1u) << "the first scan of the source folder";
    ovx_work_run(host.work.front());
    host.work.clear();

    const std::string id = TestGuid(1).ToString().ToUtf8();
    EXPECT_EQ(host.loadedIds, std::vector<std::string>{id});
    int loaded = 0;
    EXPECT_TRUE(ovx_manager_is_loaded(manager, id.c_str(), &loaded) == OVX_OK && loaded == 1);
    int loads = 0;  // the calls of the one timing there is
    const auto timings = [](void* context, const ovx_extension_timing* timing, size_t count) {
        *static_cast<int*>(context) = count == 1 && std::string(timing->call) == "load" ? timing->calls : -1;
    };
    EXPECT_TRUE(ovx_manager_extension_timings(manager, timings, &loads) == OVX_OK && loads == 1);

    char buffer[4] = {};
    size_t length = 0;
    EXPECT_EQ(ovx_manager_platform_folder(manager, buffer, sizeof buffer, &length), OVX_E_FAILED);
    std::string platform(length + 1, '\0');
    EXPECT_EQ(ovx_manager_platform_folder(manager, platform.data(), platform.size(), &length), OVX_OK);
    platform.resize(length);

    size_t failures = 99;
    EXPECT_TRUE(ovx_manager_unload_all(manager, &failures) == OVX_OK && failures == 0 && host.unloads == 1);
    ovx_installer_release(installer);
    ovx_manager_release(manager);
    EXPECT_EQ(host.destroyed, 1);

    // The lines came in UTF-8 as the file has them in UTF-16.
    ASSERT_FALSE(host.lines.empty());
    EXPECT_TRUE(host.lines.back().ends_with("\"manager\" installer being removed:")) << host.lines.back();
    const auto file = OvxUtils::SystemIO::File::ReadAllBytes(CString::FromUtf8(platform + "/orvex_extensions.log"));
    ASSERT_TRUE(file) << file.ErrorText();
    EXPECT_EQ(Utf16ToUtf8(file->substr(2)).find(host.lines.front()), 0u);

    // A session that died in the extension's load left its marker: the next start keeps the
    // extension off until the host releases it.
    ASSERT_TRUE(OvxUtils::SystemIO::File::WriteAllBytes(
        CString::FromUtf8(platform + "/orvex_extensions.0DEAD000.session"),
        MarkerOfACrashIn(TestGuid(1), OvxComponent::ExtensionCall::Load)));
    host.loadedIds.clear();
    ASSERT_EQ(ovx_manager_create(&config, &manager), OVX_OK) << ovx_last_error();
    ASSERT_EQ(ovx_manager_register_installer(manager, types, 1, &callbacks, &installer), OVX_OK) << ovx_last_error();
    EXPECT_EQ(ovx_manager_start_loading(manager), OVX_OK);
    EXPECT_TRUE(host.loadedIds.empty());
    std::vector<std::string> quarantined;
    EXPECT_EQ(ovx_manager_quarantined(
                  manager,
                  [](void* context, const ovx_quarantined_extension* extensions, size_t count) {
                      for (size_t i = 0; i < count; ++i) {
                          static_cast<std::vector<std::string>*>(context)->push_back(std::string(extensions[i].document_id) +
                                                                                     " " + extensions[i].call);
                      }
                  },
                  &quarantined),
              OVX_OK);
    EXPECT_EQ(quarantined, std::vector<std::string>{id + " load"});
    EXPECT_EQ(ovx_manager_release_from_quarantine(manager, id.c_str()), OVX_OK) << ovx_last_error();
    EXPECT_EQ(ovx_manager_release_from_quarantine(manager, id.c_str()), OVX_E_FAILED);
    EXPECT_NE(std::string(ovx_last_error()).find("not in quarantine"), std::string::npos) << ovx_last_error();
    EXPECT_EQ(ovx_manager_set_quarantine_threshold(nullptr, 2), OVX_E_INVALID_ARGUMENT);
    const char* notAnId[] = {"nope"};
    EXPECT_EQ(ovx_manager_start_safely(manager, notAnId, 1), OVX_E_INVALID_ARGUMENT);
    EXPECT_EQ(ovx_manager_set_call_budget(nullptr, 5), OVX_E_INVALID_ARGUMENT);

    ovx_installer_release(installer);
    ovx_manager_release(manager);
}

}  // namespace
