// Quarantine: a host process that dies inside a call into an extension (a crash, an abort,
// an escaping exception, exit(), a stack overflow, or a kill while the call hangs) has that
// extension kept off at its next start, and only that one; releasing it or replacing its
// package lets it load again. The host sessions that die run in child processes.
#include "test_host.h"

#include "OvxComponent/extensions/manager/extension_timings.h"
#include "OvxComponent/extensions/manager/quarantine.h"
#include "extensions/manager/install_layout.h"
#include "platform/system_io/file.h"
#include "platform/system_io/path.h"
#include "support/wait_until.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>

#ifdef _WIN32
#include "support/child_process.h"
#else
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using namespace OvxComponent;
using OvxTest::TestGuid;
using OvxTest::TestHost;
using testing::HasSubstr;
namespace SystemIO = OvxUtils::SystemIO;

// The ways to die inside a call into an extension. Extension 1 takes the host down;
// extension 2 is well behaved.
enum class Death { Segfault, Abort, Terminate, Exit, StackOverflow, KillWhileHanging };
constexpr const char* kDeathNames[] = {"a segmentation fault", "abort()", "an escaping exception", "exit()",
                                       "a stack overflow", "a kill while it hangs"};

volatile int recursionLimit = 1 << 30;  // never reached: the stack ends first

int Deeper(int depth) {
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    if (depth >= recursionLimit) return frame[0];
    return Deeper(depth + 1) + frame[0];
}

void Throw() { throw std::runtime_error("escaped"); }
void (*volatile thrower)() = Throw;

// An exception that escapes through a function that promised not to throw.
void Escape() noexcept { thrower(); }

// Ends the process as death says; a hang first says so in the file hanging.
[[noreturn]] void Die(Death death, const CString& hanging) {
    switch (death) {
        case Death::Segfault: *static_cast<volatile int*>(nullptr) = 1; break;
        case Death::Abort: std::abort();
        case Death::Terminate: Escape(); break;
        case Death::Exit: std::exit(3);
        case Death::StackOverflow: static_cast<void>(Deeper(0)); break;
        case Death::KillWhileHanging:
            static_cast<void>(SystemIO::File::WriteAllBytes(hanging, "hanging"));
            for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    std::abort();
}

// The file that a hanging call writes, in the parent's work folder.
CString HangingFile(const CString& work) { return SystemIO::Path::Combine(work, u"hanging"); }

// A start of the host, with its options, and what it logged under an extension.
struct Start {
    explicit Start(TestHost& host, const std::function<void(Start&)>& options = nullptr)
        : manager(host.MakeManager()) {
        if (options) options(*this);
        registration = manager->RegisterInstaller({OvxTest::kTestExtensionType}, installer);
        manager->StartLoading();
        manager->FinishLoading();
        manager->Rescan(host.source);
    }
    ~Start() { static_cast<void>(manager->UnloadAll()); }
    std::vector<std::string> LinesOf(int number) const {
        std::vector<std::string> lines;
        for (const ExtensionLogEntry& entry : manager->Log().EntriesFor(TestGuid(number))) {
            lines.push_back(LevelText(entry.level).ToUtf8() + " " + entry.message.ToUtf8());
        }
        return lines;
    }
    std::shared_ptr<ExtensionManagerImpl> manager;
    std::shared_ptr<OvxTest::TestInstaller> installer = std::make_shared<OvxTest::TestInstaller>();
    std::shared_ptr<const IExtensionInstaller> registration;
};

// A host session over the folders of host, whose work folder is work, that dies in the call
// of extension 1.
void DoomedSession(TestHost& host, const CString& work, ExtensionCall call, Death death) {
    const CString hanging = HangingFile(work);
    const CString doomedFolder = TestGuid(1).ToString();
    const auto doomed = [&](const auto& files, ExtensionCall during) {
        if (call != during) return;
        for (const auto& file : files) {
            if (CString(file).Find(doomedFolder) >= 0) Die(death, hanging);
        }
    };
    Start session(host, [&](Start& start) {
        start.manager->SetUiHandlers(
            [&](const std::vector<UiModification>& application, const std::vector<UiModification>&, bool) {
                std::vector<CString> paths;
                for (const UiModification& modification : application) paths.push_back(modification.path);
                doomed(paths, ExtensionCall::UiVisit);
                return true;
            },
            nullptr);
        start.manager->SetResourceLoader([&](const std::vector<CString>& files) {
            doomed(files, ExtensionCall::ResourceVisit);
            return true;
        });
        start.installer->beforeCall = [&](const OvxUtils::Guid& documentId, ExtensionCall during) {
            if (documentId == TestGuid(1) && during == call) Die(death, hanging);
        };
    });
}

#ifdef _WIN32
constexpr wchar_t kChildVariable[] = L"OVX_QUARANTINE_CHILD";  // "call|death|work folder"

bool RunAsChild() {
    const auto request = OvxTest::ChildRequest(kChildVariable);
    if (!request) return false;
    const CString work = OvxTest::WorkFolderOf(*request);
    TestHost host(work);
    const std::size_t bar = request->find(L'|');
    DoomedSession(host, work, static_cast<ExtensionCall>(std::stoi(*request)),
                  static_cast<Death>(std::stoi(request->substr(bar + 1))));
    return true;
}

// Runs the doomed session in a child: this program again, running this test.
void RunDoomed(TestHost& host, ExtensionCall call, Death death) {
    const auto process = OvxTest::StartChild(kChildVariable,
                                             std::to_wstring(static_cast<int>(call)) + L"|" +
                                                 std::to_wstring(static_cast<int>(death)) + L"|" + host.temp.Path().Str(),
                                             host.temp.Path());
    ASSERT_TRUE(process.IsValid());
    if (death == Death::KillWhileHanging) {
        EXPECT_TRUE(OvxTest::WaitUntil([&] { return SystemIO::File::Exists(HangingFile(host.temp.Path())); }));
        ::TerminateProcess(process.Get(), 1);
    }
    ::WaitForSingleObject(process.Get(), INFINITE);
}
#else
bool RunAsChild() { return false; }

void RunDoomed(TestHost& host, ExtensionCall call, Death death) {
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        DoomedSession(host, host.temp.Path(), call, death);
        ::_exit(0);
    }
    if (death == Death::KillWhileHanging) {
        EXPECT_TRUE(OvxTest::WaitUntil([&] { return SystemIO::File::Exists(HangingFile(host.temp.Path())); }));
        ::kill(child, SIGKILL);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
}
#endif


TEST(Quarantine, TheExtensionAHostDiedInIsKeptOffUntilReleasedOrReplaced) {
    if (RunAsChild()) return;
    for (const ExtensionCall call :
         {ExtensionCall::Load, ExtensionCall::Unload, ExtensionCall::UiVisit, ExtensionCall::ResourceVisit}) {
        for (int number = 0; number < static_cast<int>(std::size(kDeathNames)); ++number) {
            const auto death = static_cast<Death>(number);
            SCOPED_TRACE(std::string(kDeathNames[number]) + " in the " + CallText(call).ToUtf8() + " call");
            TestHost host;
            const CString doomedPackage = OvxTest::PackExtension(host.source + u"/doomed.OrvexExtension", OvxTest::WithUi(1));
            OvxTest::PackExtension(host.source + u"/sound.OrvexExtension", OvxTest::WithUi(2));
            RunDoomed(host, call, death);
            {
                Start next(host);
                EXPECT_FALSE(next.manager->FindExtension(TestGuid(1)));
                EXPECT_TRUE(next.manager->FindExtension(TestGuid(2)));
                const auto quarantined = QuarantinedExtensions(*next.manager);
                ASSERT_EQ(quarantined.size(), 1u);
                EXPECT_EQ(quarantined[0].documentId, TestGuid(1));
                EXPECT_EQ(quarantined[0].call, CallText(call));
                // An Error under the extension: the failure report shows it.
                EXPECT_THAT(next.LinesOf(1), testing::Contains(HasSubstr("Error in quarantine: the host ended during its " +
                                                                         CallText(call).ToUtf8() + " call")));
                if (call == ExtensionCall::Load) {
                    // Released, it loads at the next start.
                    EXPECT_TRUE(ReleaseFromQuarantine(*next.manager, TestGuid(1)));
                    EXPECT_FALSE(ReleaseFromQuarantine(*next.manager, TestGuid(1)));
                }
            }
            if (call != ExtensionCall::Load) {
                // A new package of it is let in.
                const std::string bytes = *SystemIO::File::ReadAllBytes(doomedPackage);
                OvxTest::WaitForTheChangeClockToMove(doomedPackage);
                ASSERT_TRUE(SystemIO::File::WriteAllBytes(doomedPackage, bytes));
                ASSERT_TRUE(SystemIO::File::SetLastWriteTime(
                    doomedPackage, *SystemIO::File::GetLastWriteTime(doomedPackage) + 10'000'000));
            }
            Start after(host);
            EXPECT_TRUE(after.manager->FindExtension(TestGuid(1)));
            EXPECT_TRUE(QuarantinedExtensions(*after.manager).empty());
        }
    }
}

TEST(Quarantine, ASafeStartKeepsAllButThePinnedOffForOneSession) {
    TestHost host;
    for (int number : {1, 2}) OvxTest::PackExtension(host.source + u"/" + TestGuid(number).ToString() + u".OrvexExtension", OvxTest::WithUi(number));
    { Start install(host); }
    const struct {
        const char* what;
        std::vector<OvxUtils::Guid> pinned;
        bool loaded1, loaded2;
    } rows[] = {{"all off", {}, false, false}, {"all but 2 off", {TestGuid(2)}, false, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Start safe(host, [&](Start& start) { StartSafely(*start.manager, row.pinned); });
        EXPECT_EQ(safe.manager->FindExtension(TestGuid(1)).has_value(), row.loaded1);
        EXPECT_EQ(safe.manager->FindExtension(TestGuid(2)).has_value(), row.loaded2);
        EXPECT_THAT(safe.LinesOf(1), testing::Contains(HasSubstr("Warning kept off: the host started with its extensions off")));
    }
    Start next(host);
    EXPECT_TRUE(next.manager->FindExtension(TestGuid(1)) && next.manager->FindExtension(TestGuid(2)));
}

TEST(ExtensionTimings, EachCallIsTimedSlowestFirstAndOneOverTheBudgetWarns) {
    TestHost host;
    for (int number : {1, 2}) OvxTest::PackExtension(host.source + u"/" + TestGuid(number).ToString() + u".OrvexExtension", OvxTest::WithUi(number));
    Start started(host, [](Start& start) {
        SetCallBudget(*start.manager, std::chrono::milliseconds(10));
        start.manager->SetUiHandlers(
            [](const std::vector<UiModification>&, const std::vector<UiModification>&, bool) { return true; }, nullptr);
        start.manager->SetResourceLoader([](const std::vector<CString>&) { return true; });
        start.installer->beforeCall = [](const OvxUtils::Guid& documentId, ExtensionCall call) {
            // Extension 1's load takes at least 20 ms.
            const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
            while (documentId == TestGuid(1) && call == ExtensionCall::Load && std::chrono::steady_clock::now() < until) {
            }
        };
    });
    const auto& manager = started.manager;
    static_cast<void>(manager->UnloadAll());

    const std::vector<ExtensionTiming> timings = ExtensionTimings(*manager);
    ASSERT_FALSE(timings.empty());
    EXPECT_EQ(timings[0].documentId, TestGuid(1));
    EXPECT_EQ(timings[0].call, u"load");
    EXPECT_EQ(timings[0].calls, 1);
    EXPECT_GE(timings[0].longest, std::chrono::milliseconds(20));
    for (const char* call : {"load", "unload", "UI visit", "resource visit"}) {
        EXPECT_TRUE(std::any_of(timings.begin(), timings.end(), [&](const ExtensionTiming& timing) {
            return timing.documentId == TestGuid(2) && timing.call == CString::FromUtf8(call) && timing.calls == 1;
        })) << call;
    }
    std::vector<std::string> warnings;
    for (const ExtensionLogEntry& entry : manager->Log().EntriesFor(TestGuid(1))) {
        if (entry.level == ExtensionLogLevel::Warning) warnings.push_back(entry.message.ToUtf8());
    }
    // (GoogleTest's regular expressions on Windows know no character classes.)
    EXPECT_THAT(warnings, testing::ElementsAre(testing::AllOf(testing::StartsWith("the load call took "),
                                                              testing::EndsWith(" ms, over the host's budget of 10 ms"))));
}

TEST(Quarantine, AThresholdCountsTheCrashesOfOnePackage) {
    TestHost host;
    OvxTest::PackExtension(host.source + u"/a.OrvexExtension", OvxTest::WithUi(1));
    { Start install(host); }
    const CString platform = InstallLayout::PlatformFolder(host.root);
    const auto crash = [&](const char* tag) {
        ASSERT_TRUE(SystemIO::File::WriteAllBytes(platform + u"/orvex_extensions." + CString::FromUtf8(tag) + u".session",
                                                  OvxTest::MarkerOfACrashIn(TestGuid(1), ExtensionCall::Load)));
    };
    const auto startWithThreshold = [&] {
        return std::make_unique<Start>(host, [](Start& start) { SetQuarantineThreshold(*start.manager, 2); });
    };
    crash("0000000A");
    {
        const auto first = startWithThreshold();
        EXPECT_TRUE(first->manager->FindExtension(TestGuid(1))) << "one crash of two";
        EXPECT_TRUE(QuarantinedExtensions(*first->manager).empty());
    }
    crash("0000000B");
    const auto second = startWithThreshold();
    EXPECT_FALSE(second->manager->FindExtension(TestGuid(1)));
    const auto quarantined = QuarantinedExtensions(*second->manager);
    ASSERT_EQ(quarantined.size(), 1u);
    EXPECT_EQ(quarantined[0].crashes, 2);
}

TEST(Quarantine, CleanStartsAndStopsQuarantineNothing) {
    TestHost host;
    OvxTest::PackExtension(host.source + u"/a.OrvexExtension", OvxTest::WithUi(1));
    for (int start = 0; start < 200; ++start) {
        Start session(host);
        ASSERT_TRUE(session.manager->FindExtension(TestGuid(1))) << "start " << start;
    }
    Start last(host);
    EXPECT_TRUE(QuarantinedExtensions(*last.manager).empty());
    EXPECT_FALSE(SystemIO::File::Exists(
        SystemIO::Path::Combine(last.manager->GetPlatformFolder(), u"orvex_extensions.quarantine")));
}

}  // namespace
