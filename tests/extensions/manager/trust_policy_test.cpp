// The host's trust policy at work: what each mode unpacks and loads, what it refuses
// before anything is written, and what reaches the failure report.
#include "test_host.h"

#include "extensions/manager/install_layout.h"
#include "platform/system_io/folder.h"

#include <zip.h>

#include <functional>

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
    // manager with the policy install and load it.
    Outcome Install(TrustMode mode, const std::function<void(const CString&)>& prepare) {
        OvxTest::TestHost host;
        const CString package = OvxTest::PackExtension(host.temp / u"source/p.OrvexExtension", {TestGuid(1)});
        prepare(package);
        auto manager = host.MakeManager(true, {u"Test"}, Trust::TrustStore({trustedKey}, mode));
        auto registration =
            manager->RegisterInstaller({OvxTest::kTestExtensionType}, std::make_shared<OvxTest::TestInstaller>());
        manager->StartLoading();
        manager->Rescan(host.source);

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
    const struct {
        const char* what;
        TrustMode mode;
        const std::function<void(const CString&)>& prepare;
        bool loaded;
        bool written;
        const char* failure;  // an Error entry of the report, or nothing
    } cases[] = {
        {"require, signed by a trusted key", TrustMode::Require, sign, true, true, nullptr},
        {"require, unsigned", TrustMode::Require, leaveUnsigned, false, false, "Error reason: the package is not signed"},
        {"require, signed by another key", TrustMode::Require, signByOther, false, false, "is not trusted"},
        {"require, changed after signing", TrustMode::Require, signAndTamper, false, true,
         "Error reason: the content of \"content/main.txt\" does not match its digest"},
        {"warn, unsigned", TrustMode::Warn, leaveUnsigned, true, true, "Error untrusted package"},
        {"warn, changed after signing", TrustMode::Warn, signAndTamper, true, true, "Error untrusted content"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const Outcome outcome = Install(row.mode, row.prepare);
        EXPECT_EQ(outcome.loaded, row.loaded);
        EXPECT_EQ(outcome.extensionFolder, row.written);
        if (row.failure) {
            EXPECT_THAT(outcome.failed, Contains(HasSubstr(row.failure)));
        } else {
            EXPECT_THAT(outcome.failed, testing::IsEmpty());
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

}  // namespace
