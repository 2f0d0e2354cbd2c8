// The installer made of host functions: what it passes to them and when it refuses.
#include "OvxComponent/extensions/loading/simple_file_extension_installer.h"

#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "support/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using OvxUtils::Guid;

const Guid kId(1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11});

struct Calls {
    std::vector<CString> loaded;
    std::vector<CString> unloaded;
    std::vector<CString> requests;
};

std::shared_ptr<const IExtensionInstaller> Make(Calls& calls, OvxUtils::optional<UnloadResult> answer,
                                                std::vector<CString> types = {u"a", u"a"}, bool withInvoke = true) {
    return MakeSimpleFileExtensionInstaller(
        std::move(types),
        [&calls](CString folder) -> std::shared_ptr<void> {
            calls.loaded.push_back(folder);
            return folder.EndsWith(u"refuse" + CString(1, OvxUtils::SystemIO::Path::Separator()) + u"content")
                       ? nullptr
                       : std::make_shared<int>(7);
        },
        [&calls, answer](CString folder, std::shared_ptr<void>& handle) {
            calls.unloaded.push_back(folder);
            handle.reset();
            return answer;
        },
        withInvoke ? SimpleInvoke([&calls](std::shared_ptr<void> handle, CString request) {
            calls.requests.push_back(request);
            return handle != nullptr;
        })
                   : SimpleInvoke());
}

TEST(SimpleFileExtensionInstaller, LoadsThroughTheContentFolderAndForwardsRequests) {
    Calls calls;
    auto installer = Make(calls, UnloadResult::Unloaded);
    ASSERT_TRUE(installer);
    const CString folder = OvxUtils::SystemIO::Path::Combine(u"ext", u"1.0");
    auto state = installer->Load(kId, {1, 0}, u"a", folder);
    ASSERT_TRUE(state);
    EXPECT_THAT(calls.loaded, testing::ElementsAre(OvxUtils::SystemIO::Path::Combine(folder, u"content")));
    EXPECT_EQ(state->Data().DocumentID, kId);
    EXPECT_TRUE(state->Invoke(u"refresh"));
    EXPECT_THAT(calls.requests, testing::ElementsAre(CString(u"refresh")));
}

TEST(SimpleFileExtensionInstaller, RefusesWithoutCallingTheHost) {
    Calls calls;
    EXPECT_FALSE(MakeSimpleFileExtensionInstaller({}, nullptr, nullptr, nullptr));
    auto installer = Make(calls, UnloadResult::Unloaded);
    EXPECT_FALSE(installer->Load(kId, {1}, u"b", u"ext"));
    EXPECT_FALSE(installer->Load(Guid(), {1}, u"a", u"ext"));
    EXPECT_TRUE(calls.loaded.empty());
    EXPECT_FALSE(installer->Load(kId, {1}, u"a", u"refuse"));  // the host's load answered null
    EXPECT_EQ(calls.loaded.size(), 1u);

    std::shared_ptr<IExtensionState> none;
    EXPECT_FALSE(installer->Unload(none));
    EXPECT_TRUE(calls.unloaded.empty());
}

TEST(SimpleFileExtensionInstaller, AnyUnloadAnswerMarksTheStateUnloaded) {
    for (const auto answer : {UnloadResult::Unloaded, UnloadResult::Delayed}) {
        Calls calls;
        auto installer = Make(calls, answer, {u"a"}, false);
        auto state = installer->Load(kId, {1}, u"a", u"ext");
        ASSERT_TRUE(state);
        EXPECT_FALSE(state->Invoke(u"ignored"));  // no invoke function
        EXPECT_EQ(installer->Unload(state), answer);
        EXPECT_TRUE(state->IsUnloaded());
        EXPECT_FALSE(state->IsLoaded());
    }
    Calls calls;
    auto failing = Make(calls, std::nullopt);
    auto state = failing->Load(kId, {1}, u"a", u"ext");
    EXPECT_FALSE(failing->Unload(state));
    EXPECT_TRUE(state->IsLoaded());
}

TEST(SimpleFileExtensionInstaller, RemoveDataDeletesTheFolder) {
    OvxTest::TempFolder temp;
    temp.WriteFile(u"ext/content/a.txt", "a");
    Calls calls;
    EXPECT_TRUE(Make(calls, UnloadResult::Unloaded)->RemoveData(temp / u"ext"));
    EXPECT_FALSE(OvxUtils::SystemIO::Folder::Exists(temp / u"ext"));
}

}  // namespace
