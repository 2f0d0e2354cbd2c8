// The install state survives a crash at any point: an install, an update and a removal
// run in a child process that ends itself at its Nth change of the disk, for every N; a new
// manager then starts over what the child left, and every package of the source folder
// must be loaded with all its files, with nothing else left below the platform folder.
#include "test_host.h"

#include "OvxComponent/extensions/manager/quarantine.h"
#include "extensions/manager/install_layout.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/held_file.h"
#include "platform/system_io/path.h"
#include "support/child_process.h"
#include "support/fault_injection.h"
#include "support/wait_until.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <functional>
#include <map>
#include <string>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using namespace OvxComponent;
using OvxTest::PackageRecipe;
using OvxTest::TestGuid;
using OvxTest::TestHost;
namespace Faults = OvxTest::Faults;
namespace SystemIO = OvxUtils::SystemIO;

const std::vector<std::pair<CString, std::string>> kFiles = {
    {u"main.txt", "hello"}, {u"ui/appui.xslt", std::string(70'000, 'u')}, {u"data/config.xml", "<config/>"}};

// The host's start: installer, loading, then the scan that tracking would run.
struct Session {
    explicit Session(TestHost& testHost, bool hostStream = true)
        : manager(testHost.MakeManager(hostStream)), host(testHost) {
        registration = manager->RegisterInstaller({OvxTest::kTestExtensionType}, installer);
        manager->StartLoading();
        manager->FinishLoading();
        Rescan();
    }
    void Rescan() {
        manager->Rescan(host.source);
        while (host.RunMainThread() > 0) {
        }
    }
    std::shared_ptr<ExtensionManagerImpl> manager;
    TestHost& host;
    std::shared_ptr<OvxTest::TestInstaller> installer = std::make_shared<OvxTest::TestInstaller>();
    std::shared_ptr<const IExtensionInstaller> registration;
};

// The install, the update and the removal over the packages in work, in the child
// process; the disk changes of the test's own steps are not counted.
void RunLifecycle(TestHost& host, const CString& work, int crashAt) {
    const auto armed = [crashAt](const auto& step) {
        if (crashAt > 0) Faults::CrashAt(crashAt);
        step();
        Faults::Disarm();
    };
    std::optional<Session> session;
    armed([&] { session.emplace(host); });
    ASSERT_TRUE(SystemIO::File::CopyAtomically(SystemIO::Path::Combine(work, u"v2.OrvexExtension"),
                                               SystemIO::Path::Combine(work, u"source/a.OrvexExtension")));
    armed([&] { session->Rescan(); });
    SystemIO::File::Delete(SystemIO::Path::Combine(work, u"source/b.OrvexExtension"));
    armed([&] { session->Rescan(); });
}

#ifdef _WIN32
constexpr wchar_t kChildVariable[] = L"OVX_CRASH_RECOVERY_CHILD";  // "N|work folder"

// In the child: runs the lifecycle and says so; in the parent: false.
bool RunAsChild() {
    const auto request = OvxTest::ChildRequest(kChildVariable);
    if (!request) return false;
    const CString work = OvxTest::WorkFolderOf(*request);
    TestHost host(work);
    RunLifecycle(host, work, std::stoi(*request));
    return true;
}

// Runs the lifecycle in a child that ends itself at its crashAt-th change of the disk:
// true when it did, false when it ran through (and failed the test if it failed).
bool CrashedInChild(TestHost& host, int crashAt) {
    const auto process =
        OvxTest::StartChild(kChildVariable, std::to_wstring(crashAt) + L"|" + host.temp.Path().Str(), host.temp.Path());
    if (!process.IsValid()) return false;
    DWORD code = 0;
    ::WaitForSingleObject(process.Get(), INFINITE);
    ::GetExitCodeProcess(process.Get(), &code);
    if (code == Faults::kCrashExitCode) return true;
    EXPECT_EQ(code, 0u) << "the lifecycle failed in the child, crash point " << crashAt << " (exit code 0x"
                        << std::hex << code << std::dec << ")";
    return false;
}
#else
bool CrashedInChild(TestHost& host, int crashAt) {
    const pid_t child = ::fork();
    EXPECT_NE(child, -1);
    if (child == 0) {
        RunLifecycle(host, host.temp.Path(), crashAt);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) return true;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the lifecycle failed in the child, crash point "
                                                                << crashAt;
    return false;
}
#endif

// What a restarted host must find: each package of the source folder loaded, with all its
// files, and nothing else below the platform folder but the marker of the running session
// (and the install lock and the verification record, the manager's own files).
void ExpectRepaired(TestHost& host, int crashAt) {
    std::map<OvxUtils::Guid, std::string> expected;  // document ID -> version
    for (const CString& package : SystemIO::Folder::GetFiles(host.source, false)) {
        expected[package.EndsWith(u"a.OrvexExtension") ? TestGuid(1) : TestGuid(2)] =
            SystemIO::File::GetSize(package) == SystemIO::File::GetSize(host.temp / u"v2.OrvexExtension") ? "2" : "1";
    }
    Session session(host);
    std::vector<std::string> present;
    for (std::string& path : OvxTest::TreeOf(session.manager->GetPlatformFolder())) {
        // The install lock stays once made, whoever held it.
        if (!path.ends_with('/') && !path.ends_with(".lock") && path != "orvex_extensions.verified") {
            present.push_back(std::move(path));
        }
    }
    // (GoogleTest's regular expressions on Windows know no character classes.)
    std::vector<testing::Matcher<std::string>> wanted{
        testing::AllOf(testing::StartsWith("orvex_extensions."), testing::EndsWith(".session"))};
    for (const auto& [id, version] : expected) {
        EXPECT_TRUE(session.manager->FindExtension(id)) << "after a crash at change " << crashAt;
        const std::string folder = id.ToString().ToUtf8() + "/" + version + "/";
        wanted.push_back(testing::Eq(folder + "installed_copy.OrvexExtension"));
        for (const char* entry : {"META-INF/manifest.xml", "META-INF/metadata.xml", "mimetype", "extension.xml",
                                  "requirements.xml", "content/main.txt", "content/ui/appui.xslt", "content/data/config.xml"}) {
            wanted.push_back(testing::Eq(folder + "unpacked/" + entry));
        }
        if (version == "2") wanted.push_back(testing::Eq(folder + "unpacked/content/added-in-2.txt"));
    }
    EXPECT_THAT(present, testing::UnorderedElementsAreArray(wanted)) << "after a crash at change " << crashAt;
    // A crash outside any call into an extension keeps no extension off.
    EXPECT_TRUE(QuarantinedExtensions(*session.manager).empty()) << "after a crash at change " << crashAt;
}

TEST(CrashRecovery, EveryCrashPointOfAnInstallAnUpdateAndARemovalIsRepairedAtTheNextStart) {
#ifdef _WIN32
    if (RunAsChild()) return;
#endif
    for (int crashAt = 1;; ++crashAt) {
        TestHost host;
        OvxTest::PackExtension(host.temp / u"source/a.OrvexExtension", {TestGuid(1), {1}, OvxTest::kTestExtensionType, kFiles});
        OvxTest::PackExtension(host.temp / u"source/b.OrvexExtension", {TestGuid(2), {1}, OvxTest::kTestExtensionType, kFiles});
        PackageRecipe update{TestGuid(1), {2}, OvxTest::kTestExtensionType, kFiles};
        update.files.emplace_back(u"added-in-2.txt", "new");
        OvxTest::PackExtension(host.temp / u"v2.OrvexExtension", update);
        if (!CrashedInChild(host, crashAt)) {
            EXPECT_GT(crashAt, 20) << "the lifecycle changes the disk fewer times than expected";
            break;  // the lifecycle ran through: every point before was a crash point
        }
        ExpectRepaired(host, crashAt);
        if (HasFailure()) break;
    }
}

// A full disk, a folder the host may not write, or a read-only medium fails the unpack
// with the system's reason in the log; the next start, with room again, installs the
// package.
TEST(CrashRecovery, DiskFailuresAreLoggedWithTheirReasonAndRepairedAtTheNextStart) {
    const std::string guid = TestGuid(1).ToString().ToUtf8();
#ifdef _WIN32
    const int diskFull = ERROR_DISK_FULL, notWritable = ERROR_ACCESS_DENIED, readOnly = ERROR_WRITE_PROTECT;
#else
    const int diskFull = ENOSPC, notWritable = EACCES, readOnly = EROFS;
#endif
    const auto words = [](int error) { return OvxUtils::SystemErrorText(static_cast<std::uint32_t>(error)).ToUtf8(); };
    const struct {
        int error;
        bool allChanges;
        std::string line, words;  // what the reason line begins and ends with
    } cases[] = {
        {diskFull, false, "(Error): " + guid + " reason: cannot write", words(diskFull)},
        {notWritable, true, "(Warning): " + guid + " reason: cannot create", words(notWritable)},
        {readOnly, true, "(Warning): " + guid + " reason: cannot create", words(readOnly)},
    };
    for (const auto& failure : cases) {
        TestHost host;
        OvxTest::PackExtension(host.temp / u"source/a.OrvexExtension", {TestGuid(1), {1}, OvxTest::kTestExtensionType, kFiles});
        Faults::Fail(failure.error, failure.allChanges);
        { Session failing(host); }
        Faults::Disarm();
        EXPECT_THAT(host.TakeLines(), testing::Contains(testing::AllOf(testing::StartsWith(failure.line),
                                                                        testing::EndsWith(failure.words))));
        ExpectRepaired(host, 0);
    }
}

// A file of version 1 held open, as a loaded DLL or a virus scanner holds it (on Windows
// without sharing deletion), while the package is removed, or while a start takes the
// update to version 2 (the order of calls that unpacks before loading). Windows keeps the
// file: the removal or the update says what it could not delete and why, and goes on;
// the first start after the file is let go deletes what is left and says so. Linux
// deletes an open file, and the same steps simply succeed.
TEST(CrashRecovery, AFileHeldOpenIsDeletedAtAStartAfterItIsLetGo) {
#ifdef _WIN32
    constexpr bool keepsHeldFiles = true;
#else
    constexpr bool keepsHeldFiles = false;
#endif
    const auto removeThePackage = [](TestHost& host, Session& session) {
        ASSERT_TRUE(SystemIO::File::Delete(host.temp / u"source/a.OrvexExtension"));
        session.Rescan();
    };
    const auto startWithTheUpdate = [](TestHost& host, Session& session) {
        session.registration.reset();
        session.manager.reset();
        ASSERT_TRUE(SystemIO::File::CopyAtomically(host.temp / u"v2.OrvexExtension", host.temp / u"source/a.OrvexExtension"));
        const auto manager = host.MakeManager();
        const auto registration = manager->RegisterInstaller({OvxTest::kTestExtensionType}, session.installer);
        manager->Rescan(host.source);
        while (host.RunMainThread() > 0) {
        }
        manager->StartLoading();
        manager->FinishLoading();
        EXPECT_TRUE(manager->FindExtension(TestGuid(1)));
    };
    const struct {
        const char* name;
        std::function<void(TestHost&, Session&)> change;
    } cases[] = {{"removal", removeThePackage}, {"update at start", startWithTheUpdate}};
    for (const auto& change : cases) {
        SCOPED_TRACE(change.name);
        TestHost host;
        OvxTest::PackExtension(host.temp / u"source/a.OrvexExtension", {TestGuid(1), {1}, OvxTest::kTestExtensionType, kFiles});
        PackageRecipe update{TestGuid(1), {2}, OvxTest::kTestExtensionType, kFiles};
        update.files.emplace_back(u"added-in-2.txt", "new");
        OvxTest::PackExtension(host.temp / u"v2.OrvexExtension", update);
        {
            Session session(host);
            const CString held = InstallLayout::VersionFolder(session.manager->GetPlatformFolder(), TestGuid(1), {1}) +
                                 u"/unpacked/content/main.txt";
            const OvxTest::HeldOpen hold(held);
            ASSERT_TRUE(hold.IsHeld());
            host.TakeLines();
            change.change(host, session);
            const testing::Matcher<std::vector<std::string>> cannotDelete =
                testing::Contains(testing::HasSubstr("Cannot delete extension data"));
            EXPECT_THAT(host.TakeLines(), keepsHeldFiles ? cannotDelete : testing::Not(cannotDelete));
        }
        ExpectRepaired(host, 0);
        if (keepsHeldFiles) {
            EXPECT_THAT(host.TakeLines(), testing::Contains(testing::HasSubstr(
                                              "repair: deleted what an interrupted install or removal left behind")));
        }
    }
}

// Two sessions in one platform folder (two hosts sharing their extensions): neither takes
// the other for a crash or sweeps its work in progress; the trace of a session that did not
// end cleanly waits for a start that finds no other session at work.
TEST(CrashRecovery, ASessionAtWorkIsNotTakenForACrash) {
    TestHost host;
    const CString platform = host.root + u"/x64";
    ASSERT_TRUE(SystemIO::Folder::EnsureExists(platform));
    const CString trace = host.temp.WriteFile(u"data/x64/orvex_extensions.0000DEAD.session", "");
    const CString debris = host.temp.WriteFile(u"data/x64/.installed_copy.OrvexExtension.writing-1234ABCD", "x");
    auto other = SystemIO::HeldFile::Create(platform + u"/orvex_extensions.00000001.session");
    ASSERT_TRUE(other) << other.ErrorText();
    const auto markers = [&] {
        const auto files = SystemIO::Folder::GetFiles(platform, false);
        return std::count_if(files.begin(), files.end(), [](const CString& file) { return file.EndsWith(u".session"); });
    };

    std::optional<Session> second(host);
    EXPECT_THAT(host.TakeLines(), testing::AllOf(testing::Contains(testing::HasSubstr("another session is at work")),
                                                 testing::Not(testing::Contains(testing::HasSubstr("did not end cleanly")))));
    EXPECT_TRUE(SystemIO::File::Exists(debris) && SystemIO::File::Exists(trace));
    EXPECT_EQ(markers(), 3);

    EXPECT_TRUE(SystemIO::File::Delete(other->Path())) << "a user may still delete a held marker";
    *other = {};
    second.reset();
    EXPECT_EQ(markers(), 1) << "a session that ends cleanly takes its marker with it";
    Session alone(host);
    EXPECT_THAT(host.TakeLines(), testing::Contains(testing::HasSubstr("did not end cleanly")));
    EXPECT_FALSE(SystemIO::File::Exists(debris) || SystemIO::File::Exists(trace));
    EXPECT_EQ(markers(), 1);
}

// Another session installing (holding the install lock) makes a session that meets the same
// new package wait before it decides; it then finds the package installed, leaves the
// other's install as it is, and loads it from there.
TEST(CrashRecovery, ASessionWaitsWhileAnotherInstalls) {
    TestHost host;
    Session session(host, false);  // the log goes to its file, which is read while the manager works
    const CString platform = session.manager->GetPlatformFolder();
    auto other = SystemIO::HeldFile::Hold(InstallLayout::InstallLock(platform), std::chrono::milliseconds(0));
    ASSERT_TRUE(other) << other.ErrorText();
    EXPECT_FALSE(SystemIO::HeldFile::Hold(other->Path(), std::chrono::milliseconds(0))) << "held twice";
    const CString package = host.temp / u"source/a.OrvexExtension";
    OvxTest::PackExtension(package, {TestGuid(1), {1}, OvxTest::kTestExtensionType, kFiles});

    auto rescan = std::async(std::launch::async, [&] { session.manager->Rescan(host.source); });
    const auto timesLogged = [&](std::u16string_view text) {
        const auto read = SystemIO::File::ReadAllBytes(InstallLayout::LogFile(platform));
        const std::string log = read ? *read : std::string();
        const std::string bytes(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
        int count = 0;
        for (auto at = log.find(bytes); at != std::string::npos; at = log.find(bytes, at + 1)) ++count;
        return count;
    };
    // Opened twice (the decision, then the install), each time by path and by document ID.
    EXPECT_TRUE(OvxTest::WaitUntil([&] { return timesLogged(u"opening...") >= 4; }));
    const CString version = InstallLayout::VersionFolder(platform, TestGuid(1), {1});
    EXPECT_FALSE(OvxTest::WaitUntil([&] { return SystemIO::Folder::Exists(version); }, std::chrono::seconds(1)))
        << "installed while another session held the install lock";

    const CString theirs = host.temp.WriteFile(
        InstallLayout::UnpackedFolder(version).Mid(host.temp.Path().GetLength() + 1) + u"/content/main.txt", "theirs");
    EXPECT_TRUE(SystemIO::File::CopyAtomically(package, InstallLayout::InstalledCopy(version)));
    *other = {};
    rescan.get();
    EXPECT_EQ(timesLogged(u"Already unpacked."), 2);  // the decision's line, and the refusal's warning
    EXPECT_EQ(SystemIO::File::ReadAllBytes(theirs), "theirs");
    EXPECT_EQ(session.installer->loadedPaths, std::vector<CString>{InstallLayout::UnpackedFolder(version)});
}

// A version that another session is installing (it holds the install lock, and has not yet
// written the installed copy) is not cleared as unusable: FinishLoading waits for the
// other's turn and then finds the copy there.
TEST(CrashRecovery, FinishLoadingLeavesAnInstallInProgressAlone) {
    TestHost host;
    const CString package = host.temp / u"a.OrvexExtension";
    OvxTest::PackExtension(package, {TestGuid(1), {1}, OvxTest::kTestExtensionType, kFiles});
    const auto manager = host.MakeManager();
    const CString platform = manager->GetPlatformFolder();
    const CString version = InstallLayout::VersionFolder(platform, TestGuid(1), {1});
    ASSERT_TRUE(SystemIO::Folder::EnsureExists(InstallLayout::UnpackedFolder(version)));
    auto other = SystemIO::HeldFile::Hold(InstallLayout::InstallLock(platform), std::chrono::milliseconds(0));
    ASSERT_TRUE(other) << other.ErrorText();
    manager->StartLoading();

    auto finishing = std::async(std::launch::async, [&] { manager->FinishLoading(); });
    EXPECT_FALSE(OvxTest::WaitUntil([&] { return !SystemIO::Folder::Exists(version); }, std::chrono::seconds(1)))
        << "cleared while another session held the install lock";
    EXPECT_TRUE(SystemIO::File::CopyAtomically(package, InstallLayout::InstalledCopy(version)));
    *other = {};
    finishing.get();
    EXPECT_TRUE(SystemIO::File::Exists(InstallLayout::InstalledCopy(version)));
}

}  // namespace

