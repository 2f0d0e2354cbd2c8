// Path, File and Folder: path arithmetic, and files and folders on disk.
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include "platform/system_io/win32_io.h"

#include <windows.h>
#else
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#endif

namespace {

namespace Path = OvxUtils::SystemIO::Path;
namespace File = OvxUtils::SystemIO::File;
namespace Folder = OvxUtils::SystemIO::Folder;
using OvxTest::TempFolder;
using Paths = std::vector<CString>;

// The path with '/' written as this platform's separator, so one table serves both.
CString Native(const CString& path) {
    CString::StringType units = path.Str();
    for (auto& unit : units) {
        if (unit == '/') unit = Path::Separator();
    }
    return CString(CString::ViewType(units));
}

void MakeReadOnly(const CString& path) {
#if defined(_WIN32)
    ASSERT_TRUE(::SetFileAttributesW(path.GetString(), FILE_ATTRIBUTE_READONLY));
#else
    ASSERT_EQ(::chmod(path.ToUtf8().c_str(), 0444), 0);
#endif
}

// Creates a symbolic link; false when this system does not let the test make one.
bool MakeLink(const CString& link, const CString& target, bool toFolder) {
#if defined(_WIN32)
    const DWORD kind = toFolder ? SYMBOLIC_LINK_FLAG_DIRECTORY : 0;
    constexpr DWORD kAllowUnprivileged = 0x2;
    if (!::CreateSymbolicLinkW(link.GetString(), target.GetString(), kind | kAllowUnprivileged) &&
        !::CreateSymbolicLinkW(link.GetString(), target.GetString(), kind)) {
        return false;
    }
    // Wine 8 reports success without creating anything.
    const DWORD attributes = ::GetFileAttributesW(link.GetString());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
#else
    (void)toFolder;
    return ::symlink(target.ToUtf8().c_str(), link.ToUtf8().c_str()) == 0;
#endif
}

// --- Path -------------------------------------------------------------------------------

TEST(Path, CombineJoinsWithOneSeparator) {
    struct Case {
        const char16_t *a, *b, *expected;
    } cases[] = {
        {u"a", u"b", u"a/b"},
        {u"a/", u"b", u"a/b"},
        {u"", u"b", u"b"},
        {u"a", u"", u"a"},
        {u"a", u"/abs/x", u"/abs/x"},
        {u"my folder", u"Ünïcødé ☃ 𝄞.txt", u"my folder/Ünïcødé ☃ 𝄞.txt"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Path::Combine(Native(c.a), Native(c.b)), Native(c.expected))
            << CString(c.a) << " + " << CString(c.b);
    }
    EXPECT_EQ(Path::Combine(u"a", u"", Native(u"c/d")), Native(u"a/c/d"));
#if defined(_WIN32)
    // Either separator ends a part; drive and share roots replace what comes before.
    EXPECT_EQ(Path::Combine(u"a/", u"b"), CString(u"a/b"));
    EXPECT_EQ(Path::Combine(u"C:\\x", u"D:\\y"), CString(u"D:\\y"));
    EXPECT_EQ(Path::Combine(u"C:\\x", u"\\\\server\\share"), CString(u"\\\\server\\share"));
#else
    EXPECT_EQ(Path::Combine(u"a", u"b\\c"), CString(u"a/b\\c"));
#endif
}

TEST(Path, SplitsIntoFolderNameAndExtension) {
    struct Case {
        const char16_t *path, *folder, *parent, *name, *ext, *trimmed = nullptr;
    } cases[] = {
        {u"a/b/c.txt", u"a/b/", u"a/b", u"c.txt", u".txt"},
        {u"a/b/", u"a/b/", u"a/b", u"", u"", u"a/b"},
        {u"x.d/name", u"x.d/", u"x.d", u"name", u""},
        {u"a/.profile", u"a/", u"a", u".profile", u".profile"},
        {u"ü ☃/𝄞 x.Ärger", u"ü ☃/", u"ü ☃", u"𝄞 x.Ärger", u".Ärger"},
    };
    for (const auto& c : cases) {
        const CString path = Native(c.path);
        EXPECT_EQ(Path::GetFolderName(path), Native(c.folder)) << path;
        EXPECT_EQ(Path::GetParentFolder(path), Native(c.parent)) << path;
        EXPECT_EQ(Path::GetFileName(path), CString(c.name)) << path;
        EXPECT_EQ(Path::GetExtension(path), CString(c.ext)) << path;
        EXPECT_EQ(Path::WithoutTrailingSeparators(path), c.trimmed ? Native(c.trimmed) : path) << path;
    }
#if defined(_WIN32)
    struct WinCase {
        const char16_t *path, *folder, *name;
    } winCases[] = {
        {u"C:\\c.txt", u"C:\\", u"c.txt"},
        {u"C:name", u"C:", u"name"},
        {u"\\\\server\\share", u"\\\\server\\share", u""},
        {u"\\\\?\\UNC\\server\\share\\f", u"\\\\?\\UNC\\server\\share\\", u"f"},
    };
    for (const auto& c : winCases) {
        EXPECT_EQ(Path::GetFolderName(c.path), CString(c.folder)) << CString(c.path);
        EXPECT_EQ(Path::GetFileName(c.path), CString(c.name)) << CString(c.path);
    }
    EXPECT_EQ(Path::WithoutTrailingSeparators(u"C:\\"), CString(u"C:\\"));
#endif
}

TEST(Path, ExtensionsAreReplacedOrAppendedAndComparedWithoutCaseOrDot) {
    struct Set {
        const char16_t *path, *ext, *expected;
    } sets[] = {
        {u"x/installed_copy", u"OrvexExtension", u"x/installed_copy.OrvexExtension"},
        {u"x/package.zip", u".OrvexExtension", u"x/package.OrvexExtension"},
        {u"a.tar.gz", u"zip", u"a.tar.zip"}, {u"a.txt", u"", u"a"}, {u"a/b/", u"txt", u"a/b/"},
    };
    for (const Set& c : sets) EXPECT_EQ(Path::SetExtension(Native(c.path), c.ext), Native(c.expected)) << CString(c.path);
    struct Case {
        const char16_t *path, *ext;
        bool expected;
    } cases[] = {
        {u"p.ORVEXEXTENSION", u".orvexextension", true}, {u"p.OrvexExtension.zip", u"OrvexExtension", false},
        {u"x.OrvexExtension/name", u"OrvexExtension", false}, {u"p.ÄRGER", u"ärger", true},
        {u"name", u"", true}, {u"name.txt", u"", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Path::HasExtension(Native(c.path), c.ext), c.expected) << CString(c.path) << " / " << CString(c.ext);
    }
}

#if defined(_WIN32)
TEST(Path, Win32FormKeepsLongPathsWhole) {
    using OvxUtils::SystemIO::Detail::ToWin32Path;
    const CString longName(300, L'x');
    struct Case {
        CString path, expected;
    } cases[] = {
        {u"C:/a/b", u"C:\\a\\b"},
        {u"a/b", u"a\\b"},
        {u"C:\\" + longName, u"\\\\?\\C:\\" + longName},
        {u"C:/" + longName + u"/./sub/../f", u"\\\\?\\C:\\" + longName + u"\\f"},
        {u"//server/share/" + longName, u"\\\\?\\UNC\\server\\share\\" + longName},
        {u"\\\\?\\C:\\" + longName + u"/x", u"\\\\?\\C:\\" + longName + u"/x"},
    };
    for (const auto& c : cases) EXPECT_EQ(ToWin32Path(c.path), c.expected);

    const CString relative = ToWin32Path(u"rel/" + longName);
    EXPECT_TRUE(relative.StartsWith(u"\\\\?\\")) << relative;
    EXPECT_TRUE(relative.EndsWith(u"\\rel\\" + longName)) << relative;
}
#endif

// --- Files and folders on disk ----------------------------------------------------------

// Every call takes names beyond ASCII, with spaces, in paths longer than 260 units.
TEST(FileSystem, NonAsciiNamesAndLongPathsWork) {
    CString longFolder;
    for (const char16_t letter : std::u16string_view(u"abcde"))
        longFolder += CString(60, static_cast<CString::XCHAR>(letter)) + u" Ünï/";
    const std::string content("content\r\n\0x", 11);
    for (const CString& relative : {CString(u"Ünïcødé ☃ 𝄞/"), longFolder}) {
        TempFolder temp;
        const CString file = temp.WriteFile(relative + u"Dätä ☃ 𝄞.OrvexExtension", content);
        const CString folder = Path::GetParentFolder(file);
        const CString top = Folder::GetSubfolders(temp.Path(), false).at(0);
        SCOPED_TRACE(file);

        EXPECT_TRUE(File::Exists(file) && Folder::Exists(folder));
        EXPECT_FALSE(File::Exists(folder) || Folder::Exists(file));
        EXPECT_EQ(File::ReadAllBytes(file), content);
        EXPECT_EQ(Folder::GetFiles(temp.Path(), true), Paths{file});
        EXPECT_EQ(File::Find(temp.Path(), u"dÄtÄ ☃ 𝄞.orvexEXTENSION", true), Paths{file});
        const std::uint64_t ticks = 132'539'328'001'234'567ull;  // 2021-01-01 00:00:00.1234567 UTC
        ASSERT_TRUE(File::SetLastWriteTime(file, ticks));
        EXPECT_EQ(File::GetLastWriteTime(file), ticks);

        EXPECT_FALSE(File::Delete(folder));
        EXPECT_TRUE(File::Delete(file));
        EXPECT_TRUE(File::Delete(file));  // nothing left to delete
        EXPECT_TRUE(Folder::DeleteRecursive(top, true) && !Folder::Exists(top));
    }
}

TEST(FileSystem, WalksDepthFirstInOrdinalOrder) {
    TempFolder temp;
    // Ordinal order of UTF-16 units: 'B' < 'a' < "a.txt" < 'b', and U+1D11E (a surrogate
    // pair, 0xD834) before U+FF21, which UTF-8 byte order would reverse.
    const CString upperB = temp.WriteFile(u"B.txt", "");
    const CString deep = temp.WriteFile(u"a/sub/X.DAT", "");
    const CString aFile = temp.WriteFile(u"a/z.dat", "");
    const CString aTxt = temp.WriteFile(u"a.txt", "");
    const CString bFile = temp.WriteFile(u"b/x.dat", "");
    const CString clef = temp.WriteFile(u"𝄞", "");
    const CString fullwidthA = temp.WriteFile(u"\uFF21", "");
    ASSERT_TRUE(Folder::EnsureExists(temp / u"c/empty"));

    EXPECT_EQ(Folder::GetFiles(temp.Path(), true),
              (Paths{upperB, deep, aFile, aTxt, bFile, clef, fullwidthA}));
    EXPECT_EQ(Folder::GetFiles(temp.Path(), false), (Paths{upperB, aTxt, clef, fullwidthA}));
    EXPECT_EQ(Folder::GetSubfolders(temp.Path(), true),
              (Paths{temp / u"a", temp / u"a/sub", temp / u"b", temp / u"c", temp / u"c/empty"}));
    EXPECT_EQ(Folder::GetSubfolders(temp.Path(), false), (Paths{temp / u"a", temp / u"b", temp / u"c"}));
    EXPECT_EQ(File::Find(temp.Path(), u"x.dat", true), (Paths{deep, bFile}));
    EXPECT_EQ(File::Find(temp.Path(), u"sub", true), Paths{});  // folders are not files

    Paths visited;
    EXPECT_TRUE(Folder::Visit(temp.Path(), true, [&](const CString& path, bool) {
        visited.push_back(path);
        return visited.size() < 3;
    }));
    EXPECT_EQ(visited, (Paths{upperB, temp / u"a", temp / u"a/sub"}));

    EXPECT_FALSE(Folder::Visit(temp / u"missing", true, [](const CString&, bool) { return true; }));
    EXPECT_FALSE(Folder::EnsureExists(Path::Combine(upperB, u"sub")));
}

TEST(FileSystem, DeleteRecursiveRemovesNestedAndReadOnlyContent) {
    TempFolder temp;
    const CString root = temp / u"root";
    temp.WriteFile(u"root/a/b/c/deep.txt", "x");
    MakeReadOnly(temp.WriteFile(u"root/a/read-only.txt", "x"));
    MakeReadOnly(temp.WriteFile(u"root/top read-only ☃.txt", "x"));
    ASSERT_TRUE(Folder::EnsureExists(temp / u"root/empty"));
#if defined(_WIN32)
    MakeReadOnly(temp / u"root/a/b");
#endif

    EXPECT_TRUE(Folder::DeleteRecursive(root, false));
    EXPECT_TRUE(Folder::Exists(root));
    EXPECT_EQ(Folder::GetFiles(root, true), Paths{});
    EXPECT_EQ(Folder::GetSubfolders(root, true), Paths{});

    temp.WriteFile(u"root/again.txt", "x");
    EXPECT_TRUE(Folder::DeleteRecursive(root, true));
    EXPECT_FALSE(Folder::Exists(root));
    EXPECT_TRUE(Folder::DeleteRecursive(root, true));  // already gone
    EXPECT_TRUE(Folder::DeleteRecursive(root, false));
}

TEST(FileSystem, DeleteRecursiveLeavesLinkTargetsAlone) {
    TempFolder temp;
    const CString outside = temp / u"outside";
    const CString kept = temp.WriteFile(u"outside/kept.txt", "keep");
    const CString tree = temp / u"tree";
    temp.WriteFile(u"tree/own.txt", "x");
    const CString folderLink = temp / u"tree/folder link";
    const CString fileLink = temp / u"tree/file link";
    if (!MakeLink(folderLink, outside, true) || !MakeLink(fileLink, kept, false)) {
        GTEST_SKIP() << "no symbolic links here: Windows needs a privilege or developer mode, "
                        "and Wine 8 has no reparse points";
    }

    // Listed, but never walked into.
    EXPECT_EQ(Folder::GetSubfolders(tree, true), Paths{folderLink});
    EXPECT_EQ(Folder::GetFiles(tree, true), (Paths{fileLink, temp / u"tree/own.txt"}));

    EXPECT_TRUE(Folder::DeleteRecursive(tree, true));
    EXPECT_FALSE(Folder::Exists(tree));
    EXPECT_EQ(File::ReadAllBytes(kept), "keep");

    // A link handed over itself goes, its target stays.
    const CString link = temp / u"link";
    ASSERT_TRUE(MakeLink(link, outside, true));
    EXPECT_TRUE(Folder::DeleteRecursive(link, true));
    EXPECT_FALSE(Folder::Exists(link));
    EXPECT_EQ(Folder::GetFiles(outside, false), Paths{kept});
}

#if !defined(_WIN32)
// Root deletes inside a read-only folder; so as root, the tree is deleted by a child that
// has become the unprivileged user "nobody" (uid and gid 65534), who is given the folder
// first. The error text comes back through a pipe.
OvxUtils::Result<void> DeleteTreeUnprivileged(const CString& root, const CString& owned) {
    if (::geteuid() != 0) return Folder::DeleteTree(root);
    constexpr uid_t kNobody = 65534;
    namespace fs = std::filesystem;
    if (::lchown(owned.ToUtf8().c_str(), kNobody, kNobody) != 0) return OvxUtils::Error{u"cannot give the folder away"};
    for (const auto& entry : fs::recursive_directory_iterator(owned.ToUtf8())) {
        if (::lchown(entry.path().c_str(), kNobody, kNobody) != 0) return OvxUtils::Error{u"cannot give a file away"};
    }
    int pipe[2];
    if (::pipe(pipe) != 0) return OvxUtils::Error{u"no pipe"};
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(pipe[0]);
        if (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) ::_exit(2);
        const std::string text = Folder::DeleteTree(root).ErrorText().ToUtf8();
        const bool written = ::write(pipe[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        ::_exit(written ? 0 : 3);
    }
    ::close(pipe[1]);
    std::string text;
    char buffer[256];
    for (ssize_t read; (read = ::read(pipe[0], buffer, sizeof buffer)) > 0;) text.append(buffer, static_cast<std::size_t>(read));
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return OvxUtils::Error{u"the unprivileged child failed"};
    if (text.empty()) return {};
    return OvxUtils::Error{CString::FromUtf8(text)};
}
#endif

// What cannot be deleted stays, and the error names it; the tree is renamed away first
// where the system allows, so what stays is under a temporary name beside it.
TEST(FileSystem, DeleteTreeReportsWhatRemains) {
    TempFolder temp;
    const CString root = temp / u"root";
    temp.WriteFile(u"root/a/gone.txt", "x");
    const CString locked = temp.WriteFile(u"root/b/locked.txt", "x");
#if defined(_WIN32)
    // A handle that does not share deletion keeps the file.
    HANDLE handle =
        ::CreateFileW(locked.GetString(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    const auto deleted = Folder::DeleteTree(root);
    ::CloseHandle(handle);
#else
    ASSERT_EQ(::chmod((temp / u"root/b").ToUtf8().c_str(), 0555), 0);
    const auto deleted = DeleteTreeUnprivileged(root, temp.Path());
#endif
    EXPECT_TRUE(deleted.ErrorText().StartsWith(u"cannot delete ")) << deleted.ErrorText();
    EXPECT_TRUE(deleted.ErrorText().Find(u"locked.txt") > 0) << deleted.ErrorText();
    const Paths remains = Folder::GetFiles(temp.Path(), true);
    ASSERT_EQ(remains.size(), 1u);
    const CString left = Path::GetParentFolder(Path::GetParentFolder(remains[0]));
    EXPECT_TRUE(left == root || OvxUtils::SystemIO::TemporaryName::IsTemporary(Path::GetFileName(left))) << left;
#if !defined(_WIN32)
    ASSERT_EQ(::chmod(Path::GetParentFolder(remains[0]).ToUtf8().c_str(), 0755), 0);
#endif
    EXPECT_TRUE(Folder::DeleteTree(left));
}

#if defined(_WIN32)
// A scanner that opens a new file for a moment, without sharing deletion, delays the
// deletion by as long, and does not fail it.
TEST(FileSystem, DeleteTreeWaitsOutABriefHold) {
    TempFolder temp;
    const CString root = temp / u"root";
    const CString scanned = temp.WriteFile(u"root/scanned.dll", "x");
    HANDLE handle =
        ::CreateFileW(scanned.GetString(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    std::thread scanner([handle] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ::CloseHandle(handle);
    });
    const auto deleted = Folder::DeleteTree(root);
    scanner.join();
    EXPECT_TRUE(deleted) << deleted.ErrorText();
    EXPECT_TRUE(Folder::GetFiles(temp.Path(), true).empty());
}
#endif

// The copy appears whole under its name, or not at all: nothing else is left beside it.
TEST(FileSystem, CopyAtomicallyReplacesTheTargetWithContentAndTime) {
    TempFolder temp;
    const CString source = temp.WriteFile(u"source.bin", std::string("a\0b", 3));
    const std::uint64_t ticks = 130'000'000'001'234'567ull;
    ASSERT_TRUE(File::SetLastWriteTime(source, ticks));
    const CString target = temp.WriteFile(u"target ☃.bin", "old");

    ASSERT_TRUE(File::CopyAtomically(source, target));
    EXPECT_EQ(File::ReadAllBytes(target), std::string("a\0b", 3));
    EXPECT_EQ(File::GetLastWriteTime(target), ticks);
    EXPECT_FALSE(File::CopyAtomically(temp / u"missing", target));
    EXPECT_FALSE(File::CopyAtomically(temp.Path(), target));
    EXPECT_EQ(File::ReadAllBytes(target), std::string("a\0b", 3));
    EXPECT_EQ(Folder::GetFiles(temp.Path(), false), (Paths{source, target}));
    EXPECT_TRUE(File::ReadAllBytes(temp / u"missing").ErrorText().StartsWith(u"cannot read " + temp / u"missing" + u": "));
    EXPECT_FALSE(File::ReadAllBytes(temp.Path()));
}

}  // namespace
