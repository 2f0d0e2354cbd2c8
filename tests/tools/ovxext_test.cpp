// ovxext: the commands run through RunCommand on real temporary folders and packages.

#include "json_output.h"
#include "run_ovxext.h"
#include "terminal.h"

#include "OvxComponent/container/zip_container.h"
#include "OvxComponent/extensions/format/extension_packing.h"
#include "extensions/trust/minisign.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>

#include <aclapi.h>

#include "platform/system_io/win32_io.h"
#else
#include <dlfcn.h>
#include <sys/stat.h>
#endif

namespace {

using OvxTest::RunOvxext;
using OvxTest::RunResult;

std::string Utf8(const CString& text) { return text.ToUtf8(); }

constexpr const char* kId = "{6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F}";

class OvxextTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_temp.WriteFile(u"source/readme.txt", "hello");
        m_temp.WriteFile(u"source/bin/tool.dll", std::string(3000, 'x'));
    }

    std::string Path(const char16_t* relative) const { return Utf8(m_temp / relative); }

    // Packs the source folder into name.OrvexExtension with the given extra options.
    std::string Pack(const char16_t* name, std::vector<std::string> extra = {}) {
        std::vector<std::string> args{"pack", Path(u"source"), "-o", Path(name), "--type", "application/x-test",
                                      "--id", kId};
        args.insert(args.end(), extra.begin(), extra.end());
        const RunResult result = RunOvxext(args);
        EXPECT_EQ(result.code, 0) << result.err;
        return Path(name) + ".OrvexExtension";
    }

    OvxTest::TempFolder m_temp;
};

// The metadata file and the options fill one record, an option winning over the file; info
// shows every field.
TEST_F(OvxextTest, PackReadsTheMetadataFileAndOptionsWinAndInfoShowsEveryField) {
    m_temp.WriteFile(u"meta.xml",
                     "<ovxext-metadata>\n"
                     "  <id>{11111111-2222-3333-4444-555555555555}</id>\n"
                     "  <version>4.5</version>\n"
                     "  <type>application/x-from-file</type>\n"
                     "  <title>File title</title>\n"
                     "  <title lang=\"de\">Dateititel</title>\n"
                     "  <app>Beacon</app>\n"
                     "  <suite min=\"17\" max=\"*\"/>\n"
                     "  <entry-point type=\"tool\" value=\"Shapes.Tool\" guid=\"{AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE}\">\n"
                     "    <name>Shapes</name>\n"
                     "    <short-description>Draws shapes</short-description>\n"
                     "  </entry-point>\n"
                     "</ovxext-metadata>\n");
    const RunResult pack = RunOvxext({"pack", Path(u"source"), "-o", Path(u"meta"), "--metadata", Path(u"meta.xml"),
                                      "--title", "Option title", "--description", "Draws", "--platform", "x64",
                                      "--windows-min", "6.1", "--keyword", "a", "--keyword", "b", "--creator-tool", "maker 1"});
    ASSERT_EQ(pack.code, 0) << pack.err;
    const RunResult info = RunOvxext({"info", Path(u"meta") + ".OrvexExtension"});
    ASSERT_EQ(info.code, 0) << info.err;
    for (const char* line : {"Title: Option title|de=Dateititel\n", "Description: Draws\n",
                             "Document ID: {11111111-2222-3333-4444-555555555555}\n", "Version: 4.5\n",
                             "Extension type: application/x-from-file\n", "Keywords: a,b\n", "Creator tool: maker 1\n",
                             "Applications: Beacon\n", "Platforms: x64\n", "Suite version: 17 to *\n",
                             "Windows version: 6.1 to *\n", "Features: \n", "Entry points: 1\n",
                             "Entry point: tool Shapes = Shapes.Tool {AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE} (Draws shapes)\n"}) {
        EXPECT_NE(info.out.find(line), std::string::npos) << line << " in\n" << info.out;
    }
}

// The names of the entries under content/ of a package.
std::vector<std::string> ContentOf(const std::string& package) {
    std::vector<std::string> names;
    auto container = VdcContainer::ZipContainer::Open(CString::FromUtf8(package), VdcContainer::ZipFile::OpenMode::ReadOnly);
    for (const auto& entry : container ? container->GetEntries() : std::vector<VdcContainer::ContainerEntry>()) {
        if (entry.name.StartsWith(u"content/")) names.push_back(Utf8(entry.name.Mid(8)));
    }
    return names;
}

// Author mistakes: each is refused before anything is written, with the rule and what broke it.
TEST_F(OvxextTest, PackRefusesAuthorMistakes) {
    struct Case {
        const char* what;
        std::function<void(OvxTest::TempFolder&)> setup;
        std::vector<std::string> args;
        int code;
        std::string reason;
    };
    const std::vector<std::string> base{"--type", "t", "--app", "Atlas"};
    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.end(), base.begin(), base.end());
        return more;
    };
    std::vector<Case> cases{
        {"no ID", nullptr, base, 2, "no document ID: give --id GUID, or run 'ovxext init FOLDER'"},
        {"equal suite bounds", nullptr, with({"--id", kId, "--suite-min", "19", "--suite-max", "19.0"}), 2,
         "suite version: the minimum 19 is not below the maximum 19.0"},
        {"control character", nullptr, with({"--id", kId, "--title", "a\x01" "b"}), 2,
         "title: holds U+0001, a character that XML, and so a package, cannot hold"},
        {"broken metadata file", [](OvxTest::TempFolder& t) { t.WriteFile(u"source/ovxext.xml", "<ovxext-metadata>"); },
         with({"--id", kId}), 3, "ovxext.xml: "},
        {"existing output", [](OvxTest::TempFolder& t) { t.WriteFile(u"out.OrvexExtension", "mine"); },
         with({"--id", kId}), 3, "exists already (--force replaces it)"},
        {"nothing left to pack",
         [](OvxTest::TempFolder& t) {
             OvxUtils::SystemIO::Folder::DeleteRecursive(t / u"source", false);
             t.WriteFile(u"source/.DS_Store", "x");
         },
         with({"--id", kId}), 3, "there is nothing to pack"},
    };
#if !defined(_WIN32)
    cases.push_back({"link out", [](OvxTest::TempFolder& t) { std::filesystem::create_symlink("/etc/passwd", (t / u"source/passwd").ToUtf8()); },
                     with({"--id", kId}), 3, "passwd is a symbolic link: a package holds no links"});
    cases.push_back({"followed link out", [](OvxTest::TempFolder& t) { std::filesystem::create_symlink("/etc/passwd", (t / u"source/passwd").ToUtf8()); },
                     with({"--id", kId, "--follow-links"}), 3, "passwd is a symbolic link to something outside the folder"});
#endif
    for (const Case& c : cases) {
        OvxTest::TempFolder temp;
        temp.WriteFile(u"source/readme.txt", "hello");
        if (c.setup) c.setup(temp);
        std::vector<std::string> args{"pack", Utf8(temp / u"source"), "-o", Utf8(temp / u"out")};
        args.insert(args.end(), c.args.begin(), c.args.end());
        const RunResult pack = RunOvxext(args);
        EXPECT_EQ(pack.code, c.code) << c.what << ": " << pack.err;
        EXPECT_NE(pack.err.find(c.reason), std::string::npos) << c.what << ": " << pack.err;
        const auto left = OvxUtils::SystemIO::Folder::GetFiles(temp.Path(), false);
        EXPECT_EQ(left.size(), c.what == std::string("existing output") ? 1u : 0u) << c.what << ": something was written";
    }
}

// What goes in: debris and version control are left out, the package never holds itself,
// a link inside the folder is packed as its file when asked, and init keeps the ID.
TEST_F(OvxextTest, PackTakesExactlyTheAuthorsFilesAndKeepsTheProjectID) {
    for (const char16_t* debris : {u"source/.git/config", u"source/.DS_Store", u"source/readme.txt~", u"source/.x.swp",
                                   u"source/a.log", u"source/build/x.o", u"source/bin/build/y.o"}) {
        m_temp.WriteFile(debris, "debris");
    }
    m_temp.WriteFile(u"source/keep.log", "kept");
    m_temp.WriteFile(u"source/.ovxextignore", "# the author's own rules\n*.log\n!keep.log\nbuild/\n");
#if !defined(_WIN32)
    std::filesystem::create_symlink("readme.txt", Utf8(m_temp / u"source/alias.txt"));
#endif
    const RunResult init = RunOvxext({"init", Path(u"source"), "--type", "application/x-test", "--app", "Atlas,Delta"});
    ASSERT_EQ(init.code, 0) << init.err;
    const std::string id = init.out.substr(13, 38);
    EXPECT_EQ(RunOvxext({"init", Path(u"source")}).code, 3);  // the ID is kept

    const std::string inside = Path(u"source/self");
    for (int round = 0; round < 2; ++round) {
        std::vector<std::string> args{"pack", Path(u"source"), "-o", inside, "--force"};
#if !defined(_WIN32)
        args.push_back("--follow-links");
#endif
        const RunResult pack = RunOvxext(args);
        ASSERT_EQ(pack.code, 0) << pack.err;
        EXPECT_NE(RunOvxext({"info", inside + ".OrvexExtension"}).out.find("Document ID: " + id), std::string::npos);
    }
    std::vector<std::string> expected{"bin/tool.dll", "keep.log", "readme.txt"};
#if !defined(_WIN32)
    expected.insert(expected.begin(), "alias.txt");
#endif
    EXPECT_EQ(ContentOf(inside + ".OrvexExtension"), expected);

    // The dry run lists exactly that, and ls shows what a reader lists.
    const RunResult dryRun = RunOvxext({"pack", Path(u"source"), "-o", inside, "--follow-links", "--dry-run"});
    std::string listed;
    for (const std::string& name : expected) listed += "content/" + name + "\n";
    EXPECT_EQ(dryRun.out, listed + std::to_string(expected.size()) + " files would be packed into " + inside +
                              ".OrvexExtension\n");
    const RunResult ls = RunOvxext({"ls", inside + ".OrvexExtension", "--json"});
    EXPECT_NE(ls.out.find("\"name\": \"content/keep.log\""), std::string::npos) << ls.out;
}

TEST_F(OvxextTest, CheckPassesAndExplainsFailures) {
    const std::string ok = Pack(u"ok", {"--app", "Cinder", "--suite-min", "18.0"});
    const RunResult passes = RunOvxext({"check", ok, "--app", "Cinder"});
    EXPECT_EQ(passes.code, 0) << passes.err;
    EXPECT_EQ(passes.out, ok + ": would load on Cinder\nsignature: unsigned\n");
    const RunResult both = RunOvxext({"check", ok, "--app", "Cinder,Delta"});
    EXPECT_EQ(both.code, 1);
    EXPECT_EQ(both.out, ok + ": would load on Cinder\n" + ok +
                            ": would not load on Delta\napplication: requires one of Cinder, this host is Delta\n"
                            "signature: unsigned\n");
    const RunResult json = RunOvxext({"check", ok, "--app", "Delta", "--json"});
    EXPECT_EQ(json.code, 1);
    EXPECT_NE(json.out.find("\"required\": \"requires one of Cinder\""), std::string::npos) << json.out;
    EXPECT_TRUE(RunOvxext({"check", ok, "--app", "Delta", "--quiet"}).out.empty());

    // A package that fails on the Windows version names the running system's.
    const std::string newWindows = Pack(u"newwin", {"--app", "Cinder", "--windows-min", "99999"});
    const RunResult fails = RunOvxext({"check", newWindows, "--app", "Cinder"});
    EXPECT_EQ(fails.code, 1);
    EXPECT_EQ(fails.out.rfind(newWindows + ": would not load on Cinder\nWindows version: requires at or after 99999, this system is ", 0), 0u)
        << fails.out;
}

TEST_F(OvxextTest, UnpackWritesEveryEntry) {
    const std::string package = Pack(u"unpack", {"--app", "Cinder"});
    const RunResult unpack = RunOvxext({"unpack", package, Path(u"out")});
    ASSERT_EQ(unpack.code, 0) << unpack.err;
    EXPECT_EQ(OvxUtils::SystemIO::File::ReadAllBytes(m_temp / u"out/content/readme.txt"), std::string("hello"));
    EXPECT_EQ(OvxUtils::SystemIO::File::ReadAllBytes(m_temp / u"out/content/bin/tool.dll"), std::string(3000, 'x'));
    EXPECT_TRUE(OvxUtils::SystemIO::File::Exists(m_temp / u"out/requirements.xml"));

    // A second extraction into the same folder meets existing entries and changes nothing.
    const RunResult again = RunOvxext({"unpack", package, Path(u"out")});
    EXPECT_EQ(again.code, 3);
    EXPECT_EQ(again.err.rfind("ovxext unpack: " + package + ": ", 0), 0u) << again.err;
}

TEST_F(OvxextTest, LintListsEveryProblem) {
    const std::string clean = Pack(u"clean", {"--app", "Cinder", "--title", "Clean"});
    const RunResult nothing = RunOvxext({"lint", clean});
    EXPECT_EQ(nothing.code, 0) << nothing.out;
    EXPECT_EQ(nothing.out, clean + ": no problems\n");

    OvxComponent::ExtensionData data;
    data.requirements.AppList = {OvxComponent::ExtensionAppSupport::Atlas};
    data.requirements.PlatformSupport = {OvxUtils::runtime_bits::x32};
    data.requirements.AppVersion = {OvxUtils::Version{19}, OvxUtils::Version{19, 0}};
    data.requirements.Features = {{u"ink", u"paper"}};
    const CString path = m_temp / u"bad.OrvexExtension";
    {
        auto package = OvxComponent::PackFiles(
            [&] { return std::move(OvxComponent::ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::Create)).Value(); },
            data, m_temp / u"source/", OvxUtils::SystemIO::Folder::GetFiles(m_temp / u"source", true));
        ASSERT_TRUE(package);
        ASSERT_TRUE(package.Close());
    }
    const RunResult lint = RunOvxext({"lint", Utf8(path)});
    EXPECT_EQ(lint.code, 1);
    for (const char* problem : {": record: hosts cannot read it", "feature requirement 'ink,paper'",
                                ": document ID: all zero", ": extension type: missing", ": title: missing",
                                ": platforms: x64 is not listed",
                                ": suite version: the minimum 19 is not below the maximum 19"}) {
        EXPECT_NE(lint.out.find(problem), std::string::npos) << problem << " in\n" << lint.out;
    }
}

TEST_F(OvxextTest, UsageAndFileErrors) {
    struct Case {
        std::vector<std::string> args;
        int code;
        std::string err;
    };
    const std::string missing = Path(u"missing.OrvexExtension");
    const std::vector<Case> cases{
        {{}, 2, "usage: ovxext"},
        {{"frobnicate"}, 2, "ovxext: unknown command 'frobnicate'"},
        {{"pack", Path(u"source")}, 2, "ovxext pack: -o FILE is required"},
        {{"pack", Path(u"source"), "-o", Path(u"x"), "--type", "t", "--id", "12"}, 2, "is not a GUID"},
        {{"pack", Path(u"source"), "-o", Path(u"x"), "--type", "t", "--id", kId}, 2,
         "ovxext pack: at least one application is required"},
        {{"pack", Path(u"nowhere"), "-o", Path(u"x"), "--type", "t", "--app", "Atlas"}, 3, "ovxext pack: " + Path(u"nowhere") + ": no such folder"},
        {{"info", missing}, 3, "ovxext info: " + missing + ": no such file"},
        {{"check", missing}, 2, "ovxext check: --app NAME is required"},
        {{"unpack", missing}, 2, "ovxext unpack: expected a package FILE and a folder DIR"},
    };
    for (const Case& c : cases) {
        const RunResult result = RunOvxext(c.args);
        EXPECT_EQ(result.code, c.code) << result.err;
        EXPECT_NE(result.err.find(c.err), std::string::npos) << c.err << " in\n" << result.err;
        EXPECT_TRUE(result.out.empty()) << result.out;
    }
    const RunResult help = RunOvxext({"pack", "--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.out.rfind("usage: ovxext pack", 0), 0u) << help.out;
}

}  // namespace

namespace {

#ifndef _WIN32
// The mode, just before, of every file whose mode this program changes, or'ed together: a
// file created open to others and narrowed afterwards shows here. The program's own
// definitions come before the C library's.
std::atomic<mode_t> g_modeBeforeChange{0};

extern "C" __attribute__((visibility("default"))) int fchmodat(int folder, const char* path, mode_t mode, int flags) {
    struct stat before {};
    if (::fstatat(folder, path, &before, flags) == 0) g_modeBeforeChange |= before.st_mode & 0777;
    static const auto next = reinterpret_cast<int (*)(int, const char*, mode_t, int)>(::dlsym(RTLD_NEXT, "fchmodat"));
    return next(folder, path, mode, flags);
}

extern "C" __attribute__((visibility("default"))) int fchmod(int file, mode_t mode) {
    struct stat before {};
    if (::fstat(file, &before) == 0) g_modeBeforeChange |= before.st_mode & 0777;
    static const auto next = reinterpret_cast<int (*)(int, mode_t)>(::dlsym(RTLD_NEXT, "fchmod"));
    return next(file, mode);
}
#endif

// A password is never read visibly: where the echo cannot be turned off (a plain file in
// place of the terminal), nothing is read and the error says so.
TEST_F(OvxextTest, APasswordIsNotReadWhereTheEchoCannotBeTurnedOff) {
    m_temp.WriteFile(u"terminal", "visible\n");
    const std::string error = Utf8(Ovxext::ReadHiddenLine(m_temp / u"terminal", "Password: ").ErrorText());
    EXPECT_EQ(error.rfind("cannot turn off echo on the ", 0), 0u) << error;
}

// An author's round: a key pair, a signed pack, verification under the right and the wrong
// key, the signer in info and check, and signing a package that was packed unsigned.
TEST_F(OvxextTest, KeygenPackSignVerifyAndTheSignerInInfoAndCheck) {
    const auto keygen = [&](const char16_t* name, std::vector<std::string> extra = {}) {
        std::vector<std::string> args{"keygen", "-s", Path(name) + ".key", "-p", Path(name) + ".pub", "--no-password"};
        args.insert(args.end(), extra.begin(), extra.end());
        return RunOvxext(args);
    };
    EXPECT_EQ(keygen(u"author").code, 0);
    EXPECT_EQ(keygen(u"other").code, 0);
    EXPECT_EQ(keygen(u"author").code, 3) << "an existing key is kept without --force";
    // Made again over a key file that others may read: the new one is its owner's only,
    // and never was anything else, even where new files are open to all (umask 0).
#ifndef _WIN32
    ::chmod(Path(u"author.key").c_str(), 0644);
    const mode_t umaskBefore = ::umask(0);
    g_modeBeforeChange = 0;
    EXPECT_EQ(keygen(u"author", {"--force"}).code, 0);
    ::umask(umaskBefore);
    EXPECT_EQ(g_modeBeforeChange & 077, 0u) << "a key file was open to others before its mode was changed";
    EXPECT_EQ(std::filesystem::status(Path(u"author.key")).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
#else
    EXPECT_EQ(keygen(u"author", {"--force"}).code, 0);
    // Wine keeps no access list of a file (it makes one from the file's Unix mode), so
    // there the list the file is created with is read instead.
    auto made = OvxUtils::SystemIO::Detail::OwnerOnlyDescriptor();
    ASSERT_TRUE(made) << Utf8(made.ErrorText());
    PSECURITY_DESCRIPTOR descriptor = made->get();
    PSECURITY_DESCRIPTOR read = nullptr;
    if (::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr) {
        ASSERT_EQ(::GetNamedSecurityInfoW((m_temp / u"author.key").GetString(), SE_FILE_OBJECT,
                                          OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                          nullptr, nullptr, &read),
                  ERROR_SUCCESS);
        descriptor = read;
    }
    PSID owner = nullptr;
    PACL access = nullptr;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    ACCESS_ALLOWED_ACE* entry = nullptr;
    ASSERT_TRUE(::GetSecurityDescriptorOwner(descriptor, &owner, &defaulted) &&
                ::GetSecurityDescriptorDacl(descriptor, &present, &access, &defaulted) &&
                ::GetSecurityDescriptorControl(descriptor, &control, &revision));
    EXPECT_TRUE(control & SE_DACL_PROTECTED) << "the folder's rules apply to the key file";
    ASSERT_TRUE(access != nullptr && access->AceCount == 1 && ::GetAce(access, 0, reinterpret_cast<void**>(&entry)));
    EXPECT_EQ(entry->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
    EXPECT_EQ(entry->Mask, static_cast<DWORD>(FILE_ALL_ACCESS));
    EXPECT_TRUE(::EqualSid(&entry->SidStart, owner));
    ::LocalFree(read);
#endif
    const std::string package = Pack(u"signed", {"--app", "Atlas", "--sign", Path(u"author.key")});
    const RunResult holds = RunOvxext({"verify", package, "-p", Path(u"other.pub"), "-p", Path(u"author.pub")});
    EXPECT_EQ(holds.code, 0) << holds.err;
    EXPECT_NE(holds.out.find("signature holds: signed by key ID"), std::string::npos) << holds.out;
    const RunResult refused = RunOvxext({"verify", package, "-p", Path(u"other.pub"), "--json"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.out.find("\"holds\": false"), std::string::npos) << refused.out;
    EXPECT_NE(refused.out.find("is not trusted"), std::string::npos) << refused.out;
    EXPECT_NE(RunOvxext({"info", package}).out.find("Signature: claims key ID "), std::string::npos);
    EXPECT_NE(RunOvxext({"check", package, "--app", "Atlas", "-p", Path(u"author.pub")}).out.find("signature: holds: signed by key ID "),
              std::string::npos);

    const std::string plain = Pack(u"plain", {"--app", "Atlas"});
    EXPECT_NE(RunOvxext({"info", plain}).out.find("Signature: unsigned"), std::string::npos);
    EXPECT_EQ(RunOvxext({"verify", plain, "-p", Path(u"author.pub")}).code, 1);
    const RunResult signing = RunOvxext({"sign", plain, "-s", Path(u"other.key")});
    EXPECT_EQ(signing.code, 0) << signing.err;
    EXPECT_EQ(RunOvxext({"verify", plain, "-p", Path(u"other.pub")}).code, 0);
    EXPECT_EQ(RunOvxext({"sign", plain, "-s", Path(u"missing.key")}).code, 3);
}

// Writes entries into the package at path, over those of the same name.
void PutEntries(const std::string& path, const std::vector<std::pair<std::string, std::string>>& entries) {
    zip_t* archive = zip_open(path.c_str(), 0, nullptr);
    ASSERT_NE(archive, nullptr);
    for (const auto& [name, bytes] : entries) {
        zip_file_add(archive, name.c_str(), zip_source_buffer(archive, bytes.data(), bytes.size(), 0), ZIP_FL_OVERWRITE);
    }
    ASSERT_EQ(zip_close(archive), 0);
}

// Text from a package shows escaped on its line, and in JSON by JSON's rules; a signature
// is shown as a claim without a key, and a forged one does not hold under the key it names.
TEST_F(OvxextTest, InfoShowsHostileTextEscapedAndTheSignatureCheckedOnlyWithAKey) {
    namespace Minisign = OvxComponent::Minisign;
    ASSERT_TRUE(Minisign::StartSodium());
    const Minisign::SecretKey key = Minisign::GenerateSecretKey();
    m_temp.WriteFile(u"trusted.pub", Minisign::FormatPublicKeyFile(Minisign::PublicKeyOf(key)));
    const std::string title = "Evil\nForged: line\xE2\x80\xAE\xC2\x85";
    const std::string package = Pack(u"hostile", {"--app", "Atlas", "--title", title});
    const Minisign::Signature zeros{key.id, {}, "forged\x1B[2J\xC3", {}};
    PutEntries(package, {{"META-INF/digests.txt", std::string(64, '0') + "  content/readme.txt\n"},
                         {"META-INF/digests.txt.minisig", Minisign::FormatSignatureFile(zeros)}});
    const std::string claim = "\nSignature: claims key ID " + Minisign::KeyIdText(key.id);
    for (const std::vector<std::string>& keys : {std::vector<std::string>{}, {"-p", Path(u"trusted.pub")}}) {
        std::vector<std::string> args{"info", package};
        args.insert(args.end(), keys.begin(), keys.end());
        const RunResult info = RunOvxext(args);
        EXPECT_EQ(info.code, 0) << info.err;
        for (const std::string& shown : {std::string("Title: Evil\\x0AForged: line\\u202E\\x85\n"),
                                         claim + (keys.empty() ? " (not checked: pass -p KEY to verify)\n"
                                                               : ", but does not hold: the signature does not match")}) {
            EXPECT_NE(info.out.find(shown), std::string::npos) << shown << " in\n" << info.out;
        }
        args.push_back("--json");
        const Ovxext::Json json = Ovxext::Json::parse(RunOvxext(args).out);  // throws unless it is JSON
        EXPECT_EQ(json["title"], title);
        EXPECT_EQ(json["signature"]["trustedComment"], "forged\x1B[2J\xEF\xBF\xBD");
        EXPECT_EQ(json["signature"]["checked"], !keys.empty());
    }
    // An entry renamed to hide a terminal sequence and a line end: the refusal takes one line.
    std::string bytes = *OvxUtils::SystemIO::File::ReadAllBytes(CString::FromUtf8(package));
    for (std::size_t at; (at = bytes.find("bin/tool.dll")) != std::string::npos;) bytes.replace(at, 12, "\x1B[31m\r\nabcde");
    ASSERT_TRUE(OvxUtils::SystemIO::File::WriteAllBytes(CString::FromUtf8(package), bytes));
    EXPECT_EQ(RunOvxext({"info", package}).err,
              "ovxext info: " + package + ": entry \"content/\\x1B[31m\\x0D\\x0Aabcde\" holds a control character\n");
}

}  // namespace
