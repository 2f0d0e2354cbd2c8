// The update channel delivers a repository's packages into a manager's source folder: it
// places, replaces and removes the host's packages, refuses a repository under attack
// without touching a package, asks for nothing when nothing changed, and a crash at any
// change of the disk leaves trusted metadata whole and no partial package under a name
// the manager reads.
#include "OvxComponent/extensions/channel/update_channel.h"
#include "OvxComponent/ovx_component.h"
#include "c_interface/manager_handle.h"
#include "extensions/channel/channel_refresh.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"
#include "support/child_process.h"
#include "support/fault_injection.h"
#include "support/http_test_server.h"
#include "support/wait_until.h"
#include "test_host.h"
#include "update/repository_builder.h"
#include "update/trusted_metadata.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <utility>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using namespace OvxComponent;
using OvxTest::TestGuid;
using OvxTest::TestHost;
namespace File = OvxUtils::SystemIO::File;
namespace Folder = OvxUtils::SystemIO::Folder;
namespace Path = OvxUtils::SystemIO::Path;
namespace Faults = OvxTest::Faults;

constexpr std::int64_t kDay = 86'400;
std::int64_t Now() { return static_cast<std::int64_t>(std::time(nullptr)); }

// Serves <folder>/metadata and <folder>/targets as http://repo.test/...; counts requests.
class FolderFetcher final : public OvxUpdate::IFetcher {
public:
    explicit FolderFetcher(CString folder) : m_folder(std::move(folder)) {}
    OvxUtils::Result<unsigned> Fetch(const std::string& url, const OvxUpdate::FetchLimits& limits,
                                     const OvxUpdate::BodySink& sink) override {
        ++requests;
        auto bytes = File::ReadAllBytes(
            Path::Combine(m_folder, CString::FromUtf8(url.substr(sizeof "http://repo.test/" - 1))));
        if (!bytes) return 404u;
        if (bytes->size() > limits.maxBytes) return OvxUtils::Error{u"response too long"};
        bytesRead += bytes->size();
        if (auto taken = sink(*bytes); !taken) return taken.TakeError();
        return 200u;
    }
    void Cancel() override {}
    int requests = 0;
    std::size_t bytesRead = 0;

private:
    CString m_folder;
};

// A repository of packages for the test host, written to <temp>/repo.
struct Repository {
    explicit Repository(TestHost& testHost) : host(testHost), builder(Now(), 30 * kDay) {}

    // Package number as a target; platform "x64" is this host's, others are not.
    void Add(int number, int version, const char* platform = "x64") {
        CString package =
            OvxTest::PackExtension(host.temp / u"made.OrvexExtension", {TestGuid(number), {version, 0}});
        nlohmann::json fields = {
            {"orvex", {{"document_id", TestGuid(number).ToString().ToUtf8()}, {"platforms", {platform}}}}};
        latest[number] = *File::ReadAllBytes(package);
        made.push_back(latest[number]);
        builder.AddTarget("ext/" + std::to_string(number) + ".OrvexExtension", latest[number], fields);
    }
    void Publish() {
        ASSERT_TRUE(builder.Publish());
        Write();
    }
    void Write() {
        timestamps.push_back(builder.MetadataFiles().at("timestamp.json"));
        for (const auto& [files, folder] :
             {std::pair{&builder.MetadataFiles(), "metadata/"}, {&builder.TargetFiles(), "targets/"}})
            for (const auto& [name, bytes] : *files) Overwrite((folder + name).c_str(), bytes);
    }
    void Overwrite(const char* file, const std::string& bytes) {
        CString path = Path::Combine(host.temp / u"repo", CString::FromUtf8(file));
        ASSERT_TRUE(Folder::EnsureExists(Path::GetParentFolder(path)) && File::WriteAllBytes(path, bytes));
    }

    // The channel's state as Start leaves it, then a refresh without a channel's thread.
    bool FirstRefresh();

    TestHost& host;
    OvxUpdate::RepositoryBuilder builder;
    std::map<int, std::string> latest;    // package bytes by number
    std::vector<std::string> made;        // every package's bytes
    std::vector<std::string> timestamps;  // as published, oldest first
};

UpdateChannelSettings SettingsFor(const CString& work, const std::string& root,
                                  std::shared_ptr<OvxUpdate::IFetcher> fetcher,
                                  const std::string& base = "http://repo.test/") {
    UpdateChannelSettings settings;
    settings.trustedRoot = root;
    settings.metadataUrl = base + "metadata/";
    settings.targetsUrl = base + "targets/";
    settings.stateFolder = Path::Combine(work, u"channel");
    settings.destination = Path::Combine(work, u"source");
    settings.fetcher = std::move(fetcher);
    return settings;
}

std::optional<std::string> Placed(TestHost& host, int number) {
    auto bytes = File::ReadAllBytes(
        Path::Combine(host.source, CString::FromUtf8(std::to_string(number) + ".OrvexExtension")));
    return bytes ? std::optional(*bytes) : std::nullopt;
}

TEST(UpdateChannel, PlacesReplacesAndRemovesTheHostsPackagesAndTheManagerLoadsThem) {
    TestHost host;
    Repository repository(host);
    repository.Add(1, 1);
    repository.Add(2, 1, "arm64");
    repository.Publish();
    auto fetcher = std::make_shared<FolderFetcher>(host.temp / u"repo");
    auto manager = host.MakeManager();
    auto installer = std::make_shared<OvxTest::TestInstaller>();
    auto registration = manager->RegisterInstaller({OvxTest::kTestExtensionType}, installer);
    manager->StartLoading();
    manager->FinishLoading();
    auto channel = UpdateChannel::Start(
        *manager, SettingsFor(host.temp.Path(), repository.builder.FirstRoot(), fetcher));
    ASSERT_TRUE(channel) << channel.ErrorText().ToUtf8();
    // The first refresh is the one the channel runs as it starts; later ones are asked for.
    auto refresh = [&, first = true]() mutable {
        std::optional<ChannelRefresh> ended;
        if (std::exchange(first, false)) {
            EXPECT_TRUE(OvxTest::WaitUntil([&] { return (*channel)->LastRefresh().has_value(); }));
            ended = (*channel)->LastRefresh();
        } else {
            ended = (*channel)->RefreshAndWait(std::chrono::seconds(20));
        }
        EXPECT_TRUE(ended && ended->succeeded) << (ended ? ended->reason.ToUtf8() : "no refresh");
        manager->Rescan(host.source);
        while (host.RunMainThread() > 0) {
        }
        return ended.value_or(ChannelRefresh{});
    };

    EXPECT_EQ(refresh().placed, 1);
    EXPECT_TRUE(Placed(host, 1) == repository.latest[1]);
    EXPECT_FALSE(Placed(host, 2)) << "a package for another platform";
    EXPECT_TRUE(manager->FindExtension(TestGuid(1)));

    repository.Add(1, 2);
    repository.Publish();
    EXPECT_EQ(refresh().replaced, 1);
    EXPECT_TRUE(Placed(host, 1) == repository.latest[1]);

    repository.builder.RemoveTarget("ext/1.OrvexExtension");
    repository.Publish();
    EXPECT_EQ(refresh().removed, 1);
    EXPECT_FALSE(Placed(host, 1));
    EXPECT_FALSE(manager->FindExtension(TestGuid(1)));

    // Nothing changed: the next root and the timestamp are asked for, nothing else is read.
    fetcher->requests = 0;
    fetcher->bytesRead = 0;
    refresh();
    EXPECT_EQ(fetcher->requests, 2);
    EXPECT_EQ(fetcher->bytesRead, repository.builder.MetadataFiles().at("timestamp.json").size());
    EXPECT_THAT(
        OvxTest::Utf16ToUtf8(*File::ReadAllBytes(host.temp / u"channel/orvex_channel.log")),
        testing::HasSubstr(
            "Removed \"1.OrvexExtension\": the repository no longer lists target \"ext/1.OrvexExtension\"."));
}

TEST(UpdateChannel, ARefusedRefreshNamesItsReasonAndTouchesNoPackage) {
    const struct {
        const char* name;
        std::function<void(Repository&)> attack;
        const char* reason;
    } cases[] = {
        {"expired timestamp",
         [](Repository& r) {
             r.builder.SetExpiry("timestamp", Now() - kDay);
             r.Publish();
         },
         "expired"},
        {"rolled back", [](Repository& r) { r.Overwrite("metadata/timestamp.json", r.timestamps.front()); },
         "rolled back: timestamp"},
        {"bad signature",
         [](Repository& r) {
             r.Publish();
             std::string forged = r.builder.MetadataFiles().at("timestamp.json");
             forged.replace(forged.find("\"version\": "), 12, "\"version\": 9");
             r.Overwrite("metadata/timestamp.json", forged);
         },
         "(1 bad signature of its keys)"},
        {"hash mismatch",
         [](Repository& r) {
             r.Add(1, 3);
             r.Publish();
             std::string package = r.latest[1];
             package.back() ^= 1;
             for (const auto& [name, bytes] : r.builder.TargetFiles())
                 if (bytes == r.latest[1]) r.Overwrite(("targets/" + name).c_str(), package);
         },
         "hash mismatch"},
        {"wrong version",
         [](Repository& r) {
             std::string older = r.builder.MetadataFiles().at("2.targets.json");
             r.Publish();
             r.Overwrite("metadata/3.targets.json", older);
         },
         "version mismatch"},
        {"unreachable",
         [](Repository& r) {
             r.Publish();
             File::Delete(r.host.temp / u"repo/metadata/timestamp.json");
         },
         "404"},
    };
    for (const auto& row : cases) {
        TestHost host;
        Repository repository(host);
        repository.Add(1, 1);
        repository.Publish();
        repository.Publish();
        auto manager = host.MakeManager();
        auto channel =
            UpdateChannel::Start(*manager, SettingsFor(host.temp.Path(), repository.builder.FirstRoot(),
                                                       std::make_shared<FolderFetcher>(host.temp / u"repo")));
        ASSERT_TRUE(channel && (*channel)->RefreshAndWait(std::chrono::seconds(20))->succeeded) << row.name;
        const auto before = Placed(host, 1);
        row.attack(repository);
        auto refused = (*channel)->RefreshAndWait(std::chrono::seconds(20));
        ASSERT_TRUE(refused) << row.name;
        EXPECT_FALSE(refused->succeeded) << row.name;
        EXPECT_THAT(refused->reason.ToUtf8(), testing::HasSubstr(row.reason)) << row.name;
        EXPECT_TRUE(Placed(host, 1) == before) << row.name;
    }
}
// One refresh over the folders below work, wanting every package; in a child, ended at
// its crashAt-th change of the disk.
ChannelRefresh RefreshIn(const CString& work, int crashAt = 0) {
    UpdateChannelSettings settings = SettingsFor(work, {}, nullptr);
    ExtensionLog log(
        OvxUtils::NamedOutStream{u"log", std::nullopt, std::make_shared<OvxUtils::MemoryStream>()});
    FolderFetcher fetcher(Path::Combine(work, u"repo"));
    ChannelRefresher refresher(settings, fetcher, log, [](const ChannelPackage&) { return true; });
    if (crashAt > 0) Faults::CrashAt(crashAt);
    ChannelRefresh refresh = refresher.Run();
    Faults::Disarm();
    return refresh;
}

bool Repository::FirstRefresh() {
    return Folder::EnsureExists(host.temp / u"channel/metadata") &&
           File::WriteAtomically(host.temp / u"channel/metadata/root.json", builder.FirstRoot()) &&
           RefreshIn(host.temp.Path()).succeeded;
}

#ifdef _WIN32
constexpr wchar_t kChildVariable[] = L"OVX_CHANNEL_CRASH_CHILD";  // "N|work folder"

bool RunAsChild() {
    const auto request = OvxTest::ChildRequest(kChildVariable);
    if (!request) return false;
    RefreshIn(OvxTest::WorkFolderOf(*request), std::stoi(*request));
    return true;
}

bool CrashedInChild(const CString& work, int crashAt) {
    const auto process =
        OvxTest::StartChild(kChildVariable, std::to_wstring(crashAt) + L"|" + work.Str(), work);
    if (!process.IsValid()) return false;
    DWORD code = 0;
    ::WaitForSingleObject(process.Get(), INFINITE);
    ::GetExitCodeProcess(process.Get(), &code);
    return code == Faults::kCrashExitCode;
}
#else
bool CrashedInChild(const CString& work, int crashAt) {
    const pid_t child = ::fork();
    if (child == 0) {
        RefreshIn(work, crashAt);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}
#endif

TEST(UpdateChannel, ACrashAtAnyChangeOfTheDiskLeavesWholeMetadataAndWholePackages) {
#ifdef _WIN32
    if (RunAsChild()) return;
#endif
    ASSERT_TRUE(Faults::Available());
    for (int crashAt = 1;; ++crashAt) {
        TestHost host;
        Repository repository(host);
        repository.Add(1, 1);
        repository.Add(2, 1);
        repository.Publish();
        ASSERT_TRUE(repository.FirstRefresh());
        repository.Add(1, 2);
        repository.builder.RemoveTarget("ext/2.OrvexExtension");
        repository.Add(3, 1);
        repository.Publish();
        if (!CrashedInChild(host.temp.Path(), crashAt)) {
            EXPECT_GT(crashAt, 10) << "the refresh changes the disk fewer times than expected";
            break;  // the refresh ran through: every point before was a crash point
        }
        for (const CString& path : Folder::GetFiles(host.temp / u"channel/metadata", false)) {
            if (OvxUtils::SystemIO::TemporaryName::IsTemporary(Path::GetFileName(path))) continue;
            auto document = OvxUpdate::ReadSignedDocument(*File::ReadAllBytes(path));
            EXPECT_TRUE(document) << path.ToUtf8() << " after a crash at change " << crashAt;
        }
        for (const CString& path : Folder::GetFiles(host.source, false)) {
            if (OvxUtils::SystemIO::TemporaryName::IsTemporary(Path::GetFileName(path))) continue;
            auto bytes = File::ReadAllBytes(path);
            EXPECT_TRUE(std::count(repository.made.begin(), repository.made.end(), *bytes) == 1)
                << path.ToUtf8() << " is not a whole package after a crash at change " << crashAt;
        }
        auto next = RefreshIn(host.temp.Path());
        EXPECT_TRUE(next.succeeded) << next.reason.ToUtf8() << " after a crash at change " << crashAt;
        EXPECT_TRUE(Placed(host, 1) == repository.latest[1] && !Placed(host, 2) &&
                    Placed(host, 3) == repository.latest[3])
            << "after a crash at change " << crashAt;
        EXPECT_EQ(Folder::GetFiles(host.source, false).size(), 2u)
            << "leftovers after a crash at change " << crashAt;
        if (HasFailure()) break;
    }
}

// A full disk while a package downloads fails the refresh with the system's reason and
// leaves nothing but the packages placed before.
TEST(UpdateChannel, AFullDiskFailsTheDownloadWithItsReasonAndLeavesNoPartialPackage) {
    ASSERT_TRUE(Faults::Available());
#ifdef _WIN32
    const int diskFull = ERROR_DISK_FULL;
#else
    const int diskFull = ENOSPC;
#endif
    TestHost host;
    Repository repository(host);
    repository.Add(1, 1);
    repository.Publish();
    ASSERT_TRUE(repository.FirstRefresh());
    repository.Add(1, 2);
    repository.Publish();
    const auto before = Placed(host, 1);
    Faults::Fail(diskFull, false);
    auto full = RefreshIn(host.temp.Path());
    Faults::Disarm();
    EXPECT_FALSE(full.succeeded);
    EXPECT_THAT(full.reason.ToUtf8(),
                testing::HasSubstr(OvxUtils::SystemErrorText(static_cast<std::uint32_t>(diskFull)).ToUtf8()));
    EXPECT_TRUE(Placed(host, 1) == before);
    EXPECT_EQ(Folder::GetFiles(host.source, false).size(), 1u);
    EXPECT_TRUE(RefreshIn(host.temp.Path()).succeeded);
    EXPECT_TRUE(Placed(host, 1) == repository.latest[1]);
}

// The C interface over the system's fetcher and a real server: a config the manager
// cannot take is refused with its reason; a good one places the package; a server that
// answers 503 fails the refresh, named in ovx_last_error().
TEST(UpdateChannel, TheCInterfaceDeliversThroughARealServer) {
    TestHost host;
    Repository repository(host);
    repository.Add(1, 1);
    repository.Publish();
    OvxTest::HttpTestServer server;
    for (const auto& [files, folder] : {std::pair{&repository.builder.MetadataFiles(), "/metadata/"},
                                        {&repository.builder.TargetFiles(), "/targets/"}})
        for (const auto& [name, bytes] : *files) server.Set(folder + name, {200, bytes});
    ovx_manager manager{host.MakeManager()};
    const std::string root = repository.builder.FirstRoot(), metadata = server.Url("/metadata/"),
                      targets = server.Url("/targets/"), state = (host.temp / u"channel").ToUtf8();
    std::string destination = (host.temp / u"elsewhere").ToUtf8();
    ovx_channel_config config{
        root.data(),         root.size(), metadata.c_str(), targets.c_str(), state.c_str(),
        destination.c_str(), 0,           nullptr,          nullptr};
    ovx_channel* channel = nullptr;
    ASSERT_EQ(ovx_channel_start(&manager, &config, &channel), OVX_E_FAILED);
    EXPECT_THAT(ovx_last_error(), testing::HasSubstr("is not one of the manager's source folders"));
    destination = host.source.ToUtf8();
    config.destination = destination.c_str();
    ASSERT_EQ(ovx_channel_start(&manager, &config, &channel), OVX_OK) << ovx_last_error();
    EXPECT_EQ(ovx_channel_refresh_and_wait(channel, 20'000), OVX_OK) << ovx_last_error();
    EXPECT_TRUE(Placed(host, 1) == repository.latest[1]);
    server.Set("/metadata/timestamp.json", {503, "busy"});
    EXPECT_EQ(ovx_channel_refresh_and_wait(channel, 20'000), OVX_E_FAILED);
    EXPECT_THAT(ovx_last_error(), testing::HasSubstr("503"));
    ovx_channel_release(channel);
}

}  // namespace
