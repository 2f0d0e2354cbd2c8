// OvxComponent's C++ interface hands std::shared_ptr, std::function, strings and
// exceptions across the module boundary. These tests prove that the host program and the
// library share one C++ runtime, so that such objects may be made on one side and used or
// destroyed on the other.

#include "OvxComponent/platform/guid.h"
#include "platform/stream/file_stream.h"
#include "platform/string_utils.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

using namespace OvxUtils;

TEST(ModuleBoundary, ObjectsMadeInTheLibraryLiveAndDieInTheHost) {
    OvxTest::TempFolder temp;
    const CString path = temp / u"boundary.bin";
    std::shared_ptr<Stream> stream = FileStream::Create(path);  // allocated inside the library
    ASSERT_TRUE(stream);
    EXPECT_TRUE(stream->Write("abc", 3));
    std::weak_ptr<Stream> watch = stream;
    std::shared_ptr<Stream> copy = stream;
    stream.reset();
    copy.reset();  // the last owner is the host: the library's deleter runs from here
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(SystemIO::File::ReadAllBytes(path), std::string("abc"));

    std::vector<CString> pieces = String::Split(u"x64,x32", u',', false, true);
    pieces.push_back(Guid::Generate().ToString());  // host grows a vector the library filled
    EXPECT_EQ(pieces.size(), 3u);
    EXPECT_EQ(pieces[1], CString(u"x32"));
}

TEST(ModuleBoundary, HostCallbacksAndExceptionsCrossIntoTheLibrary) {
    OvxTest::TempFolder temp;
    temp.WriteFile(u"a/one.txt", "1");
    temp.WriteFile(u"b/two.txt", "2");

    auto seen = std::make_shared<std::vector<CString>>();
    std::function<bool(const CString&, bool)> visitor = [seen](const CString& path, bool isFolder) {
        if (!isFolder) seen->push_back(path);
        return true;
    };
    EXPECT_TRUE(SystemIO::Folder::Visit(temp.Path(), true, visitor));
    EXPECT_EQ(seen->size(), 2u);

    // A callback that throws inside the library reaches the host as the same type.
    std::function<bool(const CString&, bool)> failing = [](const CString&, bool) -> bool {
        throw std::runtime_error("host refused");
    };
    try {
        SystemIO::Folder::Visit(temp.Path(), true, failing);
        FAIL() << "the host's exception was lost";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "host refused");
    }
}

#if defined(_WIN32)
std::vector<std::string> ImportedModules(HMODULE module) {
    const auto* base = reinterpret_cast<const BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<std::string> names;
    const auto* entry = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; directory.VirtualAddress && entry->Name; ++entry)
        names.emplace_back(reinterpret_cast<const char*>(base + entry->Name));
    return names;
}
#endif

TEST(ModuleBoundary, HostAndLibraryImportTheSameRuntimeDlls) {
#if defined(_WIN32)
    const HMODULE library = GetModuleHandleW(L"OvxComponent.dll");
    ASSERT_NE(library, nullptr) << "the test program does not load OvxComponent.dll";
    for (HMODULE module : {GetModuleHandleW(nullptr), library}) {
        const std::vector<std::string> imports = ImportedModules(module);
        EXPECT_NE(std::find(imports.begin(), imports.end(), "libstdc++-6.dll"), imports.end());
    }
    // One module of that name per process: both sides use the same runtime and heap.
    EXPECT_NE(GetModuleHandleW(L"libstdc++-6.dll"), nullptr);
#else
    GTEST_SKIP() << "on Linux every module of a process binds to the one system libstdc++";
#endif
}

}  // namespace
