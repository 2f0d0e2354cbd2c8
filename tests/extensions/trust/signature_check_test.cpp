// The checks of a signed package: every way a package can differ from what its publisher
// signed, caught with its own reason, and minisign's formats read as the stock tool
// writes them.
#include "test_host.h"

#include "container/archive_reader.h"
#include "extensions/trust/package_signing.h"
#include "platform/system_io/file.h"

#include <zip.h>

#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#endif

namespace {

using namespace OvxComponent;
using namespace OvxComponent::Trust;
using testing::HasSubstr;

// A key made by "minisign -G -W" (0.11), and what minisign -S made with it.
constexpr std::string_view kStockSecretKey =
    "untrusted comment: minisign encrypted secret key\n"
    "RWQAAEIyAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA/owGkue4yJCJjvu6SAIPHY7Mvw4UxOrocCQczWcYgJKW"
    "MlFIdjAjhI1AIdIv9qEjH2s//AHfyk2VnOUg9TFVCtGNft1rHAlhAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=\n";
constexpr std::string_view kStockPublicKey =
    "untrusted comment: minisign public key 90C8B8E792068CFE\nRWT+jAaS57jIkI1AIdIv9qEjH2s//AHfyk2VnOUg9TFVCtGNft1rHAlh\n";
constexpr std::string_view kStockSignature =
    "untrusted comment: signature from minisign secret key\n"
    "RUT+jAaS57jIkLMVeD0Hz2A4N7D3cMBdCUj0FG5MBgScFSGOH4wtUsFfjST6Ju7xCu6+ZeNXeoGq7YRmzfmCIP2Caqcy97J3CgU=\n"
    "trusted comment: tc here\n"
    "T79XASG1meMTan7OHZIN+ke0YUxXUTnHPqQVPgG5J7FMqVPepk+bkGWjtYXV9sddSAyopaGeLmO/hMskW00jBA==\n";

TEST(Minisign, ReadsAndWritesTheStockToolsFilesByteForByte) {
    ASSERT_TRUE(Minisign::StartSodium());
    const auto password = [](const char* given) {
        return [given] { return OvxUtils::Result<Minisign::SecretString>(Minisign::SecretString(given)); };
    };
    auto key = Minisign::ParseSecretKeyFile(kStockSecretKey, password(""));
    ASSERT_TRUE(key) << key.ErrorText().ToUtf8();
    const Minisign::PublicKey publicKey = Minisign::PublicKeyOf(*key);
    EXPECT_EQ(Minisign::FormatPublicKeyFile(publicKey), kStockPublicKey);
    EXPECT_EQ(Minisign::FormatSignatureFile(Minisign::Sign("hello\n", *key, "tc here")), kStockSignature);
    auto stock = Minisign::ParseSignatureFile(kStockSignature);
    ASSERT_TRUE(stock);
    EXPECT_TRUE(Minisign::Verify("hello\n", *stock, publicKey));
    EXPECT_FALSE(Minisign::Verify("hello!\n", *stock, publicKey));
    stock->trustedComment = "tc there";
    EXPECT_THAT(Minisign::Verify("hello\n", *stock, publicKey).ErrorText().ToUtf8(), HasSubstr("global signature"));

    // The cheapest limits scrypt takes; the stored limits decrypt it again. A checksum that
    // does not hold is refused, under a password or not; only the zeros that the stock tool
    // writes for a key without one are taken unchecked.
    const std::string encrypted(Minisign::FormatSecretKeyFile(*key, "pw", {32768, 16777216})->View());
    const std::string plain(Minisign::FormatSecretKeyFile(*key, "")->View());
    const auto changed = [](std::string file, std::size_t digit) {  // of the base64 line
        char& at = file[file.find('\n') + 1 + digit];
        at = at == 'A' ? 'B' : 'A';
        return file;
    };
    const std::string damaged = "the secret key's checksum (BLAKE2b-256 of its algorithm, key ID and key) does not "
                                "match: the key file is damaged";
    const struct {
        std::string file;
        const char* password;
        std::string error;
    } cases[] = {
        {encrypted, "pw", ""},
        {encrypted, "wrong", "wrong password for this secret key"},
        {plain, "", ""},
        {changed(plain, 120), "", damaged},                         // a byte of the key
        {changed(std::string(kStockSecretKey), 180), "", damaged},  // its zero checksum, no longer zero
    };
    for (const auto& row : cases) {
        EXPECT_EQ(Minisign::ParseSecretKeyFile(row.file, password(row.password)).ErrorText().ToUtf8(), row.error)
            << row.file;
    }
}

class SignedPackage : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(Minisign::StartSodium()); }

    CString MakeSigned(const CString& name, int id, const Minisign::SecretKey& signer) {
        OvxTest::PackageRecipe recipe{OvxTest::TestGuid(id)};
        recipe.files = {{u"a.txt", "alpha"}, {u"sub/b.txt", "beta"}};
        const CString path = OvxTest::PackExtension(temp / name, recipe);
        OvxTest::SignInPlace(path, signer);
        return path;
    }
    // Changes the package at path with libzip.
    static void Change(const CString& path, const std::function<void(zip_t*)>& change) {
        zip_t* archive = zip_open(path.ToUtf8().c_str(), 0, nullptr);
        ASSERT_NE(archive, nullptr);
        change(archive);
        ASSERT_EQ(zip_close(archive), 0) << zip_strerror(archive);
    }
    SignatureVerdict Check(const CString& path, const TrustStore& store) {
        auto package = ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::ReadOnly);
        EXPECT_TRUE(package) << package.ErrorText().ToUtf8();
        SignatureVerdict verdict = CheckSignature(package->Container(), package->GetInfo(), store);
        if (verdict.Holds()) verdict.problems = CheckContents(package->Container(), verdict.digests);
        return verdict;
    }

    OvxTest::TempFolder temp;
    Minisign::SecretKey key = Minisign::GenerateSecretKey();
    Minisign::SecretKey otherKey = Minisign::GenerateSecretKey();
    TrustStore trusted{{Minisign::PublicKeyOf(key)}};
};

void Put(zip_t* archive, std::string_view name, std::string bytes) {
    auto* kept = new std::string(std::move(bytes));  // libzip reads it at zip_close
    zip_source_t* source = zip_source_buffer(archive, kept->data(), kept->size(), 0);
    zip_file_add(archive, std::string(name).c_str(), source, ZIP_FL_OVERWRITE | ZIP_FL_ENC_UTF_8);
}

std::string ReadEntry(zip_t* archive, std::string_view name) {
    zip_stat_t stat;
    zip_stat(archive, std::string(name).c_str(), 0, &stat);
    std::string bytes(stat.size, '\0');
    zip_file_t* file = zip_fopen(archive, std::string(name).c_str(), 0);
    zip_fread(file, bytes.data(), bytes.size());
    zip_fclose(file);
    return bytes;
}

// Writes a digest list of the package's own choosing, validly signed by key.
std::function<void(zip_t*)> SignedList(const Minisign::SecretKey& key,
                                       std::function<std::string(std::string)> edit) {
    return [&key, edit](zip_t* archive) {
        const std::string list = edit(ReadEntry(archive, kDigestListEntry));
        auto old = Minisign::ParseSignatureFile(ReadEntry(archive, kSignatureEntry));
        Put(archive, kDigestListEntry, list);
        Put(archive, kSignatureEntry, Minisign::FormatSignatureFile(Minisign::Sign(list, key, old->trustedComment)));
    };
}

TEST_F(SignedPackage, HoldsUnderATrustedKeyAndAfterRotation) {
    EXPECT_TRUE(Check(MakeSigned(u"p.OrvexExtension", 1, key), trusted).Holds());
    const TrustStore rotated({Minisign::PublicKeyOf(otherKey), Minisign::PublicKeyOf(key)});
    EXPECT_TRUE(Check(MakeSigned(u"q.OrvexExtension", 1, otherKey), rotated).Holds());
}

TEST_F(SignedPackage, EveryDifferenceFromWhatWasSignedHasItsReason) {
    const auto replace = [](std::string from, std::string to) {
        return [from, to](std::string list) { return list.replace(list.find(from), from.size(), to); };
    };
    const struct {
        const char* what;
        std::function<void(zip_t*)> change;
        const char* reason;
    } cases[] = {
        {"an entry added", [](zip_t* z) { Put(z, "content/extra.txt", "x"); }, "\"content/extra.txt\" is not listed"},
        {"an entry removed", [](zip_t* z) { zip_delete(z, zip_name_locate(z, "content/a.txt", 0)); },
         "listed entry \"content/a.txt\" is not in the package"},
        {"an entry changed", [](zip_t* z) { Put(z, "content/a.txt", "ALPHA"); }, "\"content/a.txt\" does not match"},
        {"an entry renamed", [](zip_t* z) { zip_file_rename(z, zip_name_locate(z, "content/a.txt", 0), "content/c.txt", 0); },
         "listed entry \"content/a.txt\" is not in the package"},
        {"the list changed", [](zip_t* z) { Put(z, kDigestListEntry, ReadEntry(z, kDigestListEntry) + "\n"); },
         "does not match the signed list"},
        {"a name listed twice", SignedList(key, [](std::string l) { return l + l.substr(l.rfind('\n', l.size() - 2) + 1); }),
         "lists an entry a second time"},
        {"a name in another case", SignedList(key, replace("content/a.txt", "content/A.txt")), "\"content/A.txt\" is not in"},
        {"an untrusted key", SignedList(otherKey, [](std::string l) { return l; }), "is not trusted"},
        {"a truncated signature", [](zip_t* z) { Put(z, kSignatureEntry, ReadEntry(z, kSignatureEntry).substr(0, 90)); },
         "not a minisign signature file"},
        {"a garbled signature", [replace](zip_t* z) { Put(z, kSignatureEntry, replace("RU", "R?")(ReadEntry(z, kSignatureEntry))); },
         "base64 lines are damaged"},
        {"a garbled list", SignedList(key, replace("  content/", " content/")), "is not \"<64 lowercase hex"},
        {"an oversized list", SignedList(key, [](std::string l) { return l + std::string(kMaxDigestListSize, 'a'); }),
         "larger than the cap"},
        {"the signature missing", [](zip_t* z) { zip_delete(z, zip_name_locate(z, "META-INF/digests.txt.minisig", 0)); },
         "without \"META-INF/digests.txt.minisig\""},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        const CString path = MakeSigned(u"p.OrvexExtension", 1, key);
        Change(path, row.change);
        const SignatureVerdict verdict = Check(path, trusted);
        ASSERT_FALSE(verdict.Holds());
        EXPECT_THAT(verdict.problems.front().ToUtf8(), HasSubstr(row.reason));
    }
}

TEST_F(SignedPackage, ARevokedKeyOrASignatureOfAnotherPackageIsRefused) {
    const CString path = MakeSigned(u"p.OrvexExtension", 1, key);
    TrustPolicy policy{TrustMode::Require, {Minisign::PublicKeyBase64(Minisign::PublicKeyOf(key))}, {},
                       {Minisign::KeyIdText(key.id)}};
    auto revoking = TrustStore::Make(policy);
    ASSERT_TRUE(revoking);
    EXPECT_THAT(Check(path, *revoking).problems.front().ToUtf8(), HasSubstr("is revoked"));

    // The other package's two signature entries, moved over: the list and its signature
    // hold, but they were made for document 2.
    const CString other = MakeSigned(u"other.OrvexExtension", 2, key);
    std::string list, signature;
    Change(other, [&](zip_t* z) { list = ReadEntry(z, kDigestListEntry), signature = ReadEntry(z, kSignatureEntry); });
    Change(path, [&](zip_t* z) { Put(z, kDigestListEntry, list), Put(z, kSignatureEntry, signature); });
    EXPECT_THAT(Check(path, trusted).problems.front().ToUtf8(), HasSubstr("the signature was made for"));
}

TEST_F(SignedPackage, APolicyThatCannotBeUsedSaysWhy) {
    // A key that claims the trusted key's ID: which one a signature names cannot be told.
    Minisign::PublicKey impostor = Minisign::PublicKeyOf(Minisign::GenerateSecretKey());
    impostor.id = key.id;
    const std::string trustedText = Minisign::PublicKeyBase64(Minisign::PublicKeyOf(key));
    const struct {
        TrustPolicy policy;
        std::string reason;
    } cases[] = {
        {{TrustMode::Require, {"RWQnot a key"}, {}, {}}, "trusted key 1: not a minisign public key"},
        {{TrustMode::Require, {}, {temp / u"missing.pub"}, {}}, "trusted key file"},
        {{TrustMode::Warn, {}, {}, {"90C8B8E7"}}, "is not a key ID"},
        {{TrustMode::Require, {}, {}, {}}, "trusts no key"},
        {{static_cast<TrustMode>(3), {trustedText}, {}, {}}, "mode 3 is not Off, Warn or Require"},
        {{TrustMode::Warn, {trustedText, Minisign::PublicKeyBase64(impostor)}, {}, {}},
         "trusted key 2 has the key ID " + Minisign::KeyIdText(key.id) + " of trusted key 1, but is another key"},
    };
    for (const auto& row : cases) EXPECT_THAT(TrustStore::Make(row.policy).ErrorText().ToUtf8(), HasSubstr(row.reason));
    // The same key twice is one key.
    EXPECT_TRUE(TrustStore::Make({TrustMode::Require, {trustedText, trustedText}, {}, {}}));
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// A list of nothing but line feeds, validly signed, checked with the address space capped
// a little above what the process holds: it is refused, and the process lives on. A list
// whose signature does not hold is never parsed at all.
TEST_F(SignedPackage, AHostileListCannotExhaustMemory) {
    // Stored, not deflated: a list that inflates so far would be refused as a bomb first.
    const auto storedLineFeeds = [](const Minisign::SecretKey& signer) {
        return [&signer](zip_t* archive) {
            SignedList(signer, [](std::string) { return std::string(kMaxDigestListSize, '\n'); })(archive);
            zip_set_file_compression(archive, zip_name_locate(archive, kDigestListEntry.data(), 0), ZIP_CM_STORE, 0);
        };
    };
    const CString path = MakeSigned(u"p.OrvexExtension", 1, key);
    Change(path, storedLineFeeds(key));
    const CString forged = MakeSigned(u"q.OrvexExtension", 1, otherKey);
    Change(forged, storedLineFeeds(otherKey));
    const pid_t child = ::fork();
    if (child == 0) {
        rlimit limit{};
        ::getrlimit(RLIMIT_AS, &limit);
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        limit.rlim_cur = static_cast<rlim_t>(pages) * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + (rlim_t{96} << 20);
        ::setrlimit(RLIMIT_AS, &limit);
        auto hostile = ExtensionContainer::Open(path, VdcContainer::ZipFile::OpenMode::ReadOnly);
        auto unsigned_ = ExtensionContainer::Open(forged, VdcContainer::ZipFile::OpenMode::ReadOnly);
        const bool refused =
            CheckSignature(hostile->Container(), nullptr, trusted).problems.back().Find(u"line 1 of") >= 0;
        const SignatureVerdict unverified = CheckSignature(unsigned_->Container(), nullptr, trusted);
        ::_exit(refused && unverified.digests.empty() && unverified.problems.back().Find(u"line 1") < 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
}
#endif

}  // namespace
