// Hostile archives, crafted here, must be refused when opened or extracted, with nothing
// written outside the target and the target left as it was.
#include "OvxComponent/container/zip_container.h"
#include "container/extract_folder.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "support/temp_folder.h"
#include "zip_builder.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace VdcContainer;
using OvxTest::ZipBuilder;
namespace SystemIO = OvxUtils::SystemIO;

enum class Stage { Open, Extract };

struct HostileCase {
    const char* label;
    std::function<std::string()> archive;
    std::u16string error;
    Stage stage = Stage::Open;
    ContainerLimits limits = ContainerLimits();
};

// Test names in CTest's listing.
void PrintTo(const HostileCase& hostile, std::ostream* out) { *out << hostile.label; }

std::string Named(const char* name) { return ZipBuilder::Package().Add(name, "payload").Build(); }

// A package whose one entry, content/a.txt, has a header field set to value.
std::string Patched(OvxTest::HeaderField field, std::uint32_t value) {
    std::string zip = ZipBuilder::Package().Add("content/a.txt", "hello, world").Build();
    OvxTest::Patch(zip, "content/a.txt", field, value);
    return zip;
}

// Text that deflates to about half its size, generated so that no two runs differ.
std::string Noise(std::size_t size) {
    std::string text(size, ' ');
    std::uint32_t state = 12345;
    for (char& c : text) {
        state = state * 1103515245u + 12345u;
        c = static_cast<char>('a' + (state >> 16) % 16);
    }
    return text;
}

ContainerLimits Limits(void (*change)(ContainerLimits&)) {
    ContainerLimits limits;
    change(limits);
    return limits;
}

const std::vector<HostileCase> kCases = {
    {"ParentSegment", [] { return Named("../escaped.txt"); }, u"entry \"../escaped.txt\" has a \"..\" segment"},
    {"Absolute", [] { return Named("/tmp/escaped.txt"); }, u"entry \"/tmp/escaped.txt\" is an absolute path"},
    {"DriveLetter", [] { return Named("C:/escaped.txt"); }, u"entry \"C:/escaped.txt\" starts with a drive letter"},
    {"Unc", [] { return Named("//server/share/escaped.txt"); },
     u"entry \"//server/share/escaped.txt\" is a UNC or device path"},
    {"DevicePrefix", [] { return Named("\\\\?\\C:\\escaped.txt"); },
     u"entry \"\\\\?\\C:\\escaped.txt\" is a UNC or device path"},
    {"AlternateDataStream", [] { return Named("content/a.txt:hidden"); },
     u"entry \"content/a.txt:hidden\" holds a ':' (an alternate data stream)"},
    {"ReservedName", [] { return Named("content/CON"); }, u"entry \"content/CON\" uses a reserved Windows device name"},
    {"ReservedPortName", [] { return Named("Com1.log"); }, u"entry \"Com1.log\" uses a reserved Windows device name"},
    {"TrailingDot", [] { return Named("content/evil."); },
     u"entry \"content/evil.\" has a segment ending in a dot or a space"},
    {"Backslash", [] { return Named("content\\..\\escaped.txt"); },
     u"entry \"content\\..\\escaped.txt\" uses a backslash as separator"},
    {"ControlCharacter",
     [] {
         std::string zip = Named("content/aX.txt");
         OvxTest::PatchName(zip, "content/aX.txt", "content/a\x01.txt");
         return zip;
     },
     u"entry \"content/a\x01.txt\" holds a control character"},
    {"Duplicate",
     [] {
         std::string zip = ZipBuilder::Package().Add("content/a.txt", "one").Add("content/b.txt", "two").Build();
         OvxTest::PatchName(zip, "content/b.txt", "content/a.txt");
         return zip;
     },
     u"entry \"content/a.txt\" appears twice"},
    {"DuplicateInOtherCase",
     [] { return ZipBuilder::Package().Add("content/Readme.txt", "one").Add("content/README.TXT", "two").Build(); },
     u"entries \"content/Readme.txt\" and \"content/README.TXT\" differ only in letter case"},
    {"FileAndFolder", [] { return ZipBuilder::Package().Add("content/a", "file").Add("content/A/b.txt", "x").Build(); },
     u"entry \"content/a\" is both a file and a folder"},
    {"SymbolicLink", [] { return ZipBuilder::Package().Add("content/link", "/etc/passwd").UnixMode(0120777).Build(); },
     u"entry \"content/link\" is a symbolic link"},
    {"Device", [] { return ZipBuilder::Package().Add("content/fifo", "").UnixMode(0010644).Build(); },
     u"entry \"content/fifo\" is a special file (a device, pipe or socket)"},
    {"TooManyEntries",
     [] {
         ZipBuilder builder = ZipBuilder::Package();
         for (int i = 0; i < 10; ++i) builder.Add("content/" + std::to_string(i), "x");
         return builder.Build();
     },
     u"the archive holds more than the cap of 10 entries", Stage::Open,
     Limits([](ContainerLimits& l) { l.maxEntries = 10; })},
    {"StatedEntryCountOverCapBeforeLongComment",
     [] {
         std::string zip = Named("content/a.txt");
         OvxTest::PatchStatedEntryCount(zip, 60'000);
         OvxTest::AppendComment(zip, std::string(3000, 'c'));
         return zip;
     },
     u"the archive holds more than the cap of 20000 entries"},
    {"CompressedSizeBeyondFile", [] { return Patched(OvxTest::kCompressedSize, 0x7FFFFFFF); },
     u"the archive is damaged: entry \"content/a.txt\" has data that runs into the directory"},
    {"OverlappingEntries",
     [] {
         ZipBuilder builder = ZipBuilder::Package();
         for (int i = 0; i < 3; ++i) builder.Add("content/" + std::to_string(i), Noise(1000));
         std::string zip = builder.Build();
         for (int i = 1; i < 3; ++i) OvxTest::PatchLocalOffset(zip, "content/" + std::to_string(i), "content/0");
         return zip;
     },
     u"the archive is damaged: entries \"content/0\" and \"content/1\" share data"},
    {"Encrypted", [] { return Patched(OvxTest::kFlags, 1); }, u"entry \"content/a.txt\" is encrypted"},
    {"Truncated", [] { std::string zip = Named("content/a.txt"); return zip.substr(0, zip.size() / 2); },
     u"the file is not a ZIP archive, or it is truncated"},
    {"NoMimeType", [] { return ZipBuilder().Add("content/a.txt", "x").Build(); }, u"the package has no mimetype entry"},
    {"RatioBombWithLyingHeader",
     [] {
         std::string zip = ZipBuilder::Package().Add("content/bomb.bin", std::string(8 << 20, '\0')).Build();
         OvxTest::Patch(zip, "content/bomb.bin", OvxTest::kUncompressedSize, 1000);
         return zip;
     },
     u"entry \"content/bomb.bin\" is damaged: its data inflates to more than the 1000 bytes its header states",
     Stage::Extract},
    {"ManyModestEntriesOverTheTotalRatio",
     [] {
         ZipBuilder builder = ZipBuilder::Package();
         for (int i = 0; i < 40; ++i) builder.Add("content/" + std::to_string(i), std::string(100'000, 'z'));
         return builder.Build();
     },
     u"the package claims more than 200 times its own size", Stage::Extract,
     Limits([](ContainerLimits& l) { l.totalRatioFreeSize = 1 << 20; })},
    {"ClaimedSizeOverCap", [] { return ZipBuilder::Package().Add("content/a.bin", Noise(2 << 20)).Build(); },
     u"the package claims more than the cap of 1048576 bytes", Stage::Extract,
     Limits([](ContainerLimits& l) { l.maxTotalSize = 1 << 20; })},
    {"CrcMismatch", [] { return Patched(OvxTest::kCrc, 0x12345678); },
     u"entry \"content/a.txt\" is damaged: its CRC does not match its data", Stage::Extract},
    {"SizeLargerThanData", [] { return Patched(OvxTest::kUncompressedSize, 20); },
     u"entry \"content/a.txt\" is damaged: its size differs from what its header says", Stage::Extract},
};

class HostileArchiveTest : public testing::TestWithParam<HostileCase> {};

void ExpectRefusedAndNothingWritten(const HostileCase& hostile, const ContainerLimits& limits) {
    OvxTest::TempFolder temp;
    const CString package = temp.WriteFile(u"package.zip", hostile.archive());
    temp.WriteFile(u"target/keep.txt", "as it was");

    auto container = ZipContainer::Open(package, ZipFile::OpenMode::ReadOnly, limits);
    if (hostile.stage == Stage::Open) {
        ASSERT_FALSE(container);
        EXPECT_EQ(container.ErrorText(), CString(hostile.error));
    } else {
        ASSERT_TRUE(container) << container.ErrorText();
        const auto intoExisting = ExtractFolder(*container, u"", temp / u"target");
        EXPECT_EQ(intoExisting.ErrorText(), CString(hostile.error));
        const auto intoNew = ExtractFolder(*container, u"", temp / u"new/folder");
        EXPECT_EQ(intoNew.ErrorText(), CString(hostile.error));
    }
    EXPECT_EQ(OvxTest::TreeOf(temp.Path()), (std::vector<std::string>{"package.zip", "target/", "target/keep.txt"}));
    EXPECT_EQ(SystemIO::File::ReadAllBytes(temp / u"target/keep.txt"), "as it was");
}

TEST_P(HostileArchiveTest, IsRefusedAndWritesNothing) { ExpectRefusedAndNothingWritten(GetParam(), GetParam().limits); }

// Large packages are read through the file instead of from memory; the checks are the same.
TEST_P(HostileArchiveTest, IsRefusedWhenReadThroughTheFile) {
    ContainerLimits limits = GetParam().limits;
    limits.inMemoryOpenSize = 0;
    ExpectRefusedAndNothingWritten(GetParam(), limits);
}

INSTANTIATE_TEST_SUITE_P(Archives, HostileArchiveTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<HostileCase>& param) { return std::string(param.param.label); });

// Also read through the file, with an entry stored larger than the blocks the file is
// read in.
TEST(HostileArchiveTest, UnusualButSafeNamesExtract) {
    std::vector<std::pair<std::string, std::string>> entries;
    for (const char* name : {"content/a..b.txt", "content/.hidden", "content/CONSOLE.txt", "content/com10.txt",
                             "content/\xC3\x9C" "ber \xE2\x98\x83.txt"})
        entries.emplace_back(name, name);
    std::string large(200'000, '\0');
    for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>((i * 7919) >> 5);
    entries.emplace_back("content/large.bin", large);
    ZipBuilder builder = ZipBuilder::Package();
    for (const auto& [name, data] : entries) builder.Add(name, data, name == "content/large.bin");
    OvxTest::TempFolder temp;
    const CString package = temp.WriteFile(u"package.zip", builder.Build());
    for (const std::uint64_t inMemoryOpenSize : {ContainerLimits().inMemoryOpenSize, std::uint64_t{0}}) {
        ContainerLimits limits;
        limits.inMemoryOpenSize = inMemoryOpenSize;
        auto container = ZipContainer::Open(package, ZipFile::OpenMode::ReadOnly, limits);
        ASSERT_TRUE(container) << container.ErrorText();
        const CString out = temp / (inMemoryOpenSize ? u"from memory" : u"from the file");
        ASSERT_TRUE(ExtractFolder(*container, u"content", out)) << "extraction failed";
        for (const auto& [name, data] : entries) {
            const CString relative = CString::FromUtf8(name.substr(std::string("content/").size()));
            EXPECT_EQ(SystemIO::File::ReadAllBytes(SystemIO::Path::Combine(out, relative)), data) << name;
        }
    }
}

}  // namespace
