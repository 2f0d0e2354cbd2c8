// The verification record: a start in which nothing changed believes it; each input that
// could change a decision, changed alone, has the decision made afresh; and a damaged
// record costs time, nothing else. To see which, the record of an installed extension is
// forged to give it another type: a start that believes the record loads it through the
// installer of that type, one that decides afresh through the installer of its own.

#include "OvxComponent/version.h"
#include "extensions/manager/install_layout.h"
#include "extensions/manager/verification_record.h"
#include "extensions/trust/package_signing.h"
#include "platform/system_io/file.h"
#include "test_host.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

#ifdef __linux__
#include <sys/inotify.h>
#include <unistd.h>
#endif

namespace {

using namespace OvxComponent;
using OvxTest::TestGuid;
namespace File = OvxUtils::SystemIO::File;

const CString kForgedType = u"application/x-as-the-record-says";
constexpr const char* kVersion = OVX_COMPONENT_VERSION_STRING;

enum class Loaded { AsRecorded, AsInstalled, Not };

class VerificationRecordTest : public testing::Test {
public:  // for the rows' changes
    void SetUp() override { ASSERT_TRUE(Minisign::StartSodium()); }

    CString PlatformFolder() const { return InstallLayout::PlatformFolder(host->root); }
    CString RecordFile() const { return InstallLayout::VerificationRecordFile(PlatformFolder()); }
    CString InstalledCopy() const {
        return InstallLayout::InstalledCopy(InstallLayout::VersionFolder(PlatformFolder(), TestGuid(1), {1, 0}));
    }

    // Installs a package under trust (signed by key when asked), then forges the record that
    // the install left.
    void InstallAndForge(Trust::TrustStore trust, bool signedPackage = false) {
        const CString package = OvxTest::PackExtension(host->source + u"/p.OrvexExtension", {TestGuid(1)});
        if (signedPackage) OvxTest::SignInPlace(package, key);
        {
            auto manager = host->MakeManager(true, {u"Test"}, std::move(trust));
            manager->Rescan(host->source);
        }
        auto entries = ParseVerificationRecord(*File::ReadAllBytes(RecordFile()), kVersion);
        ASSERT_TRUE(entries && entries->size() == 1) << "no record after the install";
        for (auto& [path, entry] : *entries) {
            ASSERT_TRUE(entry.info);
            auto forged = entry.info->Modify();
            forged->SetSubformatAsString(kForgedType);
            entry.info = std::move(forged);
        }
        WriteRecord(*entries, kVersion);
    }

    void WriteRecord(const VerificationRecord::Entries& entries, std::string_view version) {
        ASSERT_TRUE(File::WriteAllBytes(RecordFile(), FormatVerificationRecord(entries, version)));
    }

    Loaded Start(Trust::TrustStore trust = {}) {
        auto manager = host->MakeManager(true, {u"Test"}, std::move(trust));
        const auto own = std::make_shared<OvxTest::TestInstaller>();
        const auto forged = std::make_shared<OvxTest::TestInstaller>();
        auto ownRegistration = manager->RegisterInstaller({OvxTest::kTestExtensionType}, own);
        auto forgedRegistration = manager->RegisterInstaller({kForgedType}, forged);
        manager->StartLoading();
        manager->FinishLoading();
        static_cast<void>(manager->UnloadAll());
        if (!forged->loadedPaths.empty()) return Loaded::AsRecorded;
        return own->loadedPaths.empty() ? Loaded::Not : Loaded::AsInstalled;
    }

    std::optional<OvxTest::TestHost> host;  // a fresh one for each row
    Minisign::SecretKey key = Minisign::GenerateSecretKey();
    Minisign::PublicKey trustedKey = Minisign::PublicKeyOf(key);
};

TEST_F(VerificationRecordTest, EachKeyInputChangedAloneHasTheDecisionMadeAfresh) {
    const struct {
        const char* what;
        std::function<void(VerificationRecordTest&)> change;
        Loaded expected;
    } rows[] = {
        {"nothing changed", [](VerificationRecordTest&) {}, Loaded::AsRecorded},
        {"the installed copy was rewritten with the same bytes",
         [](VerificationRecordTest& test) {
             const std::string bytes = *File::ReadAllBytes(test.InstalledCopy());
             OvxTest::WaitForTheChangeClockToMove(test.InstalledCopy());
             ASSERT_TRUE(File::WriteAllBytes(test.InstalledCopy(), bytes));
         },
         Loaded::AsInstalled},
        {"another version of the library wrote the record",
         [](VerificationRecordTest& test) {
             auto entries = ParseVerificationRecord(*File::ReadAllBytes(test.RecordFile()), kVersion);
             ASSERT_TRUE(entries);
             test.WriteRecord(*entries, "17.9.0.0");
         },
         Loaded::AsInstalled},
        {"the host runs another application",
         [](VerificationRecordTest& test) {
             test.host->runsApp = [](ExtensionAppSupport app) { return app == ExtensionAppSupport::Beacon; };
         },
         Loaded::Not},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        host.emplace();
        InstallAndForge({});
        row.change(*this);
        EXPECT_EQ(Start(), row.expected);
    }
}

TEST_F(VerificationRecordTest, TheTrustInFilesVerifiedBeforeIsAskedOfTodaysPolicy) {
    const Minisign::PublicKey otherKey = Minisign::PublicKeyOf(Minisign::GenerateSecretKey());
    const auto policy = [&](std::vector<Minisign::PublicKey> keys, std::vector<std::string> revoked) {
        TrustPolicy made{TrustMode::Require, {}, {}, std::move(revoked)};
        for (const Minisign::PublicKey& trusted : keys) made.trustedKeys.push_back(Minisign::PublicKeyBase64(trusted));
        auto store = Trust::TrustStore::Make(made);
        EXPECT_TRUE(store) << store.ErrorText().ToUtf8();
        return store ? std::move(*store) : Trust::TrustStore();
    };
    const struct {
        const char* what;
        std::function<Trust::TrustStore()> policyAtStart;
        Loaded expected;
    } rows[] = {
        {"the same policy", [&] { return policy({trustedKey}, {}); }, Loaded::AsRecorded},
        {"the signer's key revoked", [&] { return policy({trustedKey, otherKey}, {Minisign::KeyIdText(trustedKey.id)}); },
         Loaded::Not},
        {"another key trusted instead", [&] { return policy({otherKey}, {}); }, Loaded::Not},
        {"the policy turned off", [] { return Trust::TrustStore(); }, Loaded::AsRecorded},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        host.emplace();
        InstallAndForge(policy({trustedKey}, {}), true);
        EXPECT_EQ(Start(row.policyAtStart()), row.expected);
    }
}

TEST_F(VerificationRecordTest, ADamagedRecordCostsTimeOnlyAndIsWrittenAgain) {
    const struct {
        const char* what;
        std::function<std::string(const std::string&)> damage;
    } rows[] = {
        {"cut in half", [](const std::string& bytes) { return bytes.substr(0, bytes.size() / 2); }},
        {"one byte changed",
         [](const std::string& bytes) {
             std::string changed = bytes;
             changed[changed.size() / 2] ^= 0x20;
             return changed;
         }},
        {"empty", [](const std::string&) { return std::string(); }},
        {"another file in its place", [](const std::string&) { return std::string("PK\3\4 not a record at all"); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        host.emplace();
        InstallAndForge({});
        ASSERT_TRUE(File::WriteAllBytes(RecordFile(), row.damage(*File::ReadAllBytes(RecordFile()))));
        EXPECT_EQ(Start(), Loaded::AsInstalled);
        EXPECT_TRUE(ParseVerificationRecord(*File::ReadAllBytes(RecordFile()), kVersion)) << "not written again";
    }
}

#ifdef __linux__
// Counts the opens of the files in the folders it watches, by name (inotify).
class OpenCounter {
public:
    OpenCounter() : m_fd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}
    ~OpenCounter() { ::close(m_fd); }
    OpenCounter(const OpenCounter&) = delete;
    OpenCounter& operator=(const OpenCounter&) = delete;
    void Watch(const CString& folder) { EXPECT_GE(::inotify_add_watch(m_fd, folder.ToUtf8().c_str(), IN_OPEN), 0); }
    // The opens of each file since the last call (a folder's own opens have no name).
    std::map<std::string, int> Take() {
        std::map<std::string, int> opens;
        alignas(inotify_event) char buffer[65536];
        for (ssize_t got; (got = ::read(m_fd, buffer, sizeof buffer)) > 0;) {
            for (ssize_t at = 0; at < got;) {
                const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
                if (event->len > 0) ++opens[event->name];
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            }
        }
        return opens;
    }

private:
    int m_fd;
};

TEST_F(VerificationRecordTest, EachPackageFileIsReadAtMostOncePerRescanAndPerStart) {
    host.emplace();
    OvxTest::PackExtension(host->source + u"/a.OrvexExtension", {TestGuid(1)});
    OvxTest::PackExtension(host->source + u"/b.OrvexExtension", {TestGuid(2)});
    OpenCounter counter;
    counter.Watch(host->source);
    const auto installer = std::make_shared<OvxTest::TestInstaller>();
    const std::map<std::string, int> eachOnce{{"a.OrvexExtension", 1}, {"b.OrvexExtension", 1}}, none;
    for (const bool firstSession : {true, false}) {
        auto manager = host->MakeManager();
        auto registration = manager->RegisterInstaller({OvxTest::kTestExtensionType}, installer);
        manager->StartLoading();
        manager->FinishLoading();
        // The next session's start reads nothing; each session's first rescan reads each package once.
        EXPECT_EQ(counter.Take(), none) << "a start in which nothing changed read a package";
        manager->Rescan(host->source);  // the first session installs and loads both
        EXPECT_TRUE(manager->FindExtension(TestGuid(1)) && manager->FindExtension(TestGuid(2)));
        EXPECT_EQ(counter.Take(), eachOnce);
        for (int number : {1, 2}) counter.Watch(InstallLayout::VersionFolder(PlatformFolder(), TestGuid(number), {1, 0}));
        manager->Rescan(host->source);  // nothing changed
        EXPECT_EQ(counter.Take(), none) << "an unchanged package was read again (first session: " << firstSession << ")";
        static_cast<void>(manager->UnloadAll());
    }
}
#endif

TEST(VerificationRecordBytes, AnEntryReadsBackAndNoCutOfTheFileReads) {
    ExtensionContainerInfo info;
    info.SetDocumentID(TestGuid(7));
    const VerificationRecord::FileIdentity identity{1, 2, 3, 4, 5};
    Minisign::PublicKey signer;
    signer.id.fill(1);
    signer.key.fill(2);
    const std::string bytes = FormatVerificationRecord({{"{GUID}/1.0/installed_copy.OrvexExtension", {identity, info.Modify(), signer}}}, kVersion);
    const auto read = ParseVerificationRecord(bytes, kVersion);
    ASSERT_TRUE(read && read->size() == 1);
    const VerificationRecord::Entry& back = read->begin()->second;
    EXPECT_TRUE(back.copy == identity && back.info && back.info->GetDocumentID() == TestGuid(7));
    ASSERT_TRUE(back.filesVerifiedBy);
    EXPECT_TRUE(back.filesVerifiedBy->id == signer.id && back.filesVerifiedBy->key == signer.key);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_FALSE(ParseVerificationRecord(bytes.substr(0, size), kVersion)) << "cut at " << size;
    }
}

}  // namespace
