// The host's trust policy at work: what each mode unpacks and loads, what it refuses
// before anything is written, and what reaches the failure report.
#include "test_host.h"

#include "extensions/manager/install_layout.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/file_system.h"
#include "platform/system_io/path.h"

#include <zip.h>

#include <functional>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using OvxTest::TestGuid;
using testing::Contains;
using testing::HasSubstr;

// Replaces one entry of the package at path, keeping the rest as stored.
void ReplaceEntry(const CString& path, const char* name, const std::string& bytes) {
    zip_t* archive = zip_open(path.ToUtf8().c_str(), 0, nullptr);
    ASSERT_NE(archive, nullptr);
    zip_file_add(archive, name, zip_source_buffer(archive, bytes.data(), bytes.size(), 0), ZIP_FL_OVERWRITE);
    ASSERT_EQ(zip_close(archive), 0);
}

struct Outcome {
    std::string package;              // its path, the temporary folder's path left out
    bool loaded = false;
    bool extensionFolder = false;     // anything was written for the extension
    std::vector<std::string> lines;   // the temporary folder's path left out
    std::vector<std::string> failed;  // the failure report: "<level> <text>"
};

class TrustPolicy : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(Minisign::StartSodium()); }

    // Drops a package into the source folder, lets prepare sign or change it, and has a
    // manager with the policy install and load it; a later mode restarts the host on the
    // same data folder under that mode, after the unpacked files were changed by alter.
    Outcome Install(TrustMode mode, const std::function<void(const CString&)>& prepare,
                    std::optional<TrustMode> restartMode = std::nullopt,
                    const std::function<void(const CString&)>& alter = nullptr) {
        OvxTest::TestHost host;
        const CString package = OvxTest::PackExtension(host.temp / u"source/p.OrvexExtension", {TestGuid(1)});
        prepare(package);
        Outcome outcome = Run(host, package, mode);
        if (!restartMode) return outcome;
        const CString versionFolder = InstallLayout::VersionFolder(InstallLayout::PlatformFolder(host.root), TestGuid(1), {1, 0});
        if (alter) alter(InstallLayout::UnpackedFolder(versionFolder));
        return Run(host, package, *restartMode);
    }

    Outcome Run(OvxTest::TestHost& host, const CString& package, TrustMode mode) {
        auto manager = host.MakeManager(true, {u"Test"}, Trust::TrustStore({trustedKey}, mode));
        auto registration =
            manager->RegisterInstaller({OvxTest::kTestExtensionType}, std::make_shared<OvxTest::TestInstaller>());
        manager->StartLoading();
        manager->Rescan(host.source);
        manager->FinishLoading();

        Outcome outcome;
        outcome.loaded = manager->FindExtension(TestGuid(1)).has_value();
        outcome.extensionFolder = OvxUtils::SystemIO::Folder::Exists(
            InstallLayout::ExtensionFolder(manager->GetPlatformFolder(), TestGuid(1)));
        const std::string temp = host.temp.Path().ToUtf8();
        outcome.package = package.ToUtf8().substr(temp.size());
        for (std::string line : host.TakeLines()) {
            for (std::size_t at; (at = line.find(temp)) != std::string::npos;) line.erase(at, temp.size());
            outcome.lines.push_back(std::move(line));
        }
        manager->ReportFailures([&](OvxUtils::array_view<const ExtensionLogEntry> entries, CString) {
            for (const ExtensionLogEntry& entry : entries) {
                outcome.failed.push_back(LevelText(entry.level).ToUtf8() + " " + entry.message.ToUtf8());
            }
        });
        static_cast<void>(manager->UnloadAll());
        return outcome;
    }

    Minisign::SecretKey key = Minisign::GenerateSecretKey();
    Minisign::PublicKey trustedKey = Minisign::PublicKeyOf(key);
    std::function<void(const CString&)> sign = [this](const CString& path) { OvxTest::SignInPlace(path, key); };
    std::function<void(const CString&)> signAndTamper = [this](const CString& path) {
        sign(path);
        ReplaceEntry(path, "content/main.txt", "changed after signing");
    };
};

TEST_F(TrustPolicy, OffLoadsASignedPackageExactlyAsAnUnsignedOne) {
    const Outcome unsigned_ = Install(TrustMode::Off, [](const CString&) {});
    const Outcome signed_ = Install(TrustMode::Off, sign);
    EXPECT_TRUE(signed_.loaded);
    EXPECT_EQ(signed_.lines, unsigned_.lines);
    EXPECT_TRUE(signed_.failed.empty());
}

TEST_F(TrustPolicy, EachModeLoadsOrRefusesWithItsReasonInTheFailureReport) {
    const std::function<void(const CString&)> leaveUnsigned = [](const CString&) {};
    const std::function<void(const CString&)> signByOther = [](const CString& path) {
        OvxTest::SignInPlace(path, Minisign::GenerateSecretKey());
    };
    const std::function<void(const CString&)> addParentEntry = [](const CString& path) {
        ReplaceEntry(path, "../evil.txt", "outside");
    };
    const std::function<void(const CString&)> truncate = [](const CString& path) {
        const std::string bytes = *OvxUtils::SystemIO::File::ReadAllBytes(path);
        ASSERT_TRUE(OvxUtils::SystemIO::File::WriteAllBytes(path, bytes.substr(0, bytes.size() / 2)));
    };
    const std::function<void(const CString&)> changeUnpacked = [](const CString& unpacked) {
        ASSERT_TRUE(OvxUtils::SystemIO::File::WriteAllBytes(OvxUtils::SystemIO::Path::Combine(unpacked, u"content/main.txt"), "changed once installed"));
    };
    const std::function<void(const CString&)> addUnpacked = [](const CString& unpacked) {
        ASSERT_TRUE(OvxUtils::SystemIO::File::WriteAllBytes(OvxUtils::SystemIO::Path::Combine(unpacked, u"content/extra.so"), "not signed"));
    };
    const std::optional<TrustMode> same;
    const struct {
        const char* what;
        TrustMode mode;
        const std::function<void(const CString&)>& prepare;
        bool loaded;
        bool written;
        const char* failure;  // an Error entry of the report, or nothing when the report is empty
        std::optional<TrustMode> restart = std::nullopt;  // the mode of a second start
        std::function<void(const CString&)> alter = nullptr;  // what changes the unpacked files before it
    } cases[] = {
        {"require, signed by a trusted key", TrustMode::Require, sign, true, true, nullptr},
        {"require, unsigned", TrustMode::Require, leaveUnsigned, false, false, "Error reason: the package is not signed"},
        {"require, signed by another key", TrustMode::Require, signByOther, false, false, "is not trusted"},
        {"require, changed after signing", TrustMode::Require, signAndTamper, false, false,
         "Error reason: the content of \"content/main.txt\" does not match its digest"},
        {"require, the refused package at the next start", TrustMode::Require, signAndTamper, false, false,
         "Error not unpacked again: the trust policy refused this package before", TrustMode::Require},
        {"warn, unsigned", TrustMode::Warn, leaveUnsigned, true, true, "Error untrusted package"},
        {"warn, changed after signing", TrustMode::Warn, signAndTamper, true, true, "Error untrusted content"},
        // An install that the policy refuses at start is cleared, so that its package is unpacked afresh.
        {"off, then require: changed after signing", TrustMode::Off, signAndTamper, false, false,
         "Error reason: the unpacked file \"content/main.txt\" does not match its digest", TrustMode::Require},
        {"off, then warn: changed after signing", TrustMode::Off, signAndTamper, true, true,
         "Error untrusted install: its unpacked files differ", TrustMode::Warn},
        {"off, then require: signed, a file added once installed", TrustMode::Off, sign, false, false,
         "Error reason: the unpacked file \"content/extra.so\" is not listed", TrustMode::Require, addUnpacked},
        {"off, then require: signed and unchanged", TrustMode::Off, sign, true, true, nullptr, TrustMode::Require},
        {"require, then require: a file changed once installed is trusted by the record", TrustMode::Require, sign,
         true, true, nullptr, TrustMode::Require, changeUnpacked},
        {"off, an entry that leaves its folder", TrustMode::Off, addParentEntry, false, false,
         "Error reason: entry \"../evil.txt\""},
        {"off, a package still being copied in", TrustMode::Off, truncate, false, false, nullptr},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const Outcome outcome = Install(row.mode, row.prepare, row.restart, row.alter);
        EXPECT_EQ(outcome.loaded, row.loaded);
        EXPECT_EQ(outcome.extensionFolder, row.written);
        if (row.failure) {
            EXPECT_THAT(outcome.failed, Contains(HasSubstr(row.failure)));
        } else {
            EXPECT_THAT(outcome.failed, testing::IsEmpty());
        }
        if (row.loaded && row.mode == TrustMode::Require && !row.restart) {
            EXPECT_THAT(outcome.lines, Contains(HasSubstr("signature holds: signed by key " + Minisign::KeyIdText(key.id))));
        }
    }
}

TEST_F(TrustPolicy, RequireRefusesWithTheUsualLineThenTheReasonAsAnError) {
    const Outcome outcome = Install(TrustMode::Require, [](const CString&) {});
    const std::string& package = outcome.package;
    const auto at = std::find(outcome.lines.begin(), outcome.lines.end(),
                              OvxTest::Line("Information", CString::FromUtf8(package),
                                            "Cannot open " + package + " as an extension"));
    ASSERT_NE(at, outcome.lines.end());
    EXPECT_EQ(at[1], OvxTest::Line("Error", CString::FromUtf8(package), "reason: the package is not signed"));
}

// A file put in the package's place between its check and its install is checked as what
// it is: under require nothing of it lands below the platform folder.
TEST_F(TrustPolicy, RequireInstallsOnlyTheBytesItChecked) {
    OvxTest::TestHost host;
    const CString package = OvxTest::PackExtension(host.temp / u"source/p.OrvexExtension", {TestGuid(1)});
    sign(package);
    const CString swapped = OvxTest::PackExtension(host.temp / u"other/p.OrvexExtension", {TestGuid(1)});
    auto manager = host.MakeManager(true, {u"Test"}, Trust::TrustStore({trustedKey}, TrustMode::Require));
    auto opened = manager->OpenPackage(package);
    ASSERT_TRUE(opened);
    ASSERT_TRUE(OvxUtils::SystemIO::Detail::MoveEntry(swapped, package));
    EXPECT_FALSE(manager->Unpack(*opened, manager->GetPlatformFolder()));
    std::vector<CString> left;
    OvxUtils::SystemIO::Folder::Visit(manager->GetPlatformFolder(), true, [&](const CString& path, bool) {
        // The manager's own files (its log, its note of the refusal) are no files of the package.
        if (!OvxUtils::SystemIO::Path::GetFileName(path).StartsWith(CString(u"orvex_extensions."))) left.push_back(path);
        return true;
    });
    EXPECT_THAT(left, testing::IsEmpty());
    EXPECT_THAT(host.TakeLines(), Contains(HasSubstr("reason: the package is not signed")));
}

}  // namespace
