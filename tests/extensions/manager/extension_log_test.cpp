// The extension log: its lines, its file, its history and its failed sets.
#include "container/zip_builder.h"
#include "extensions/log/extension_log.h"
#include "test_host.h"

#include "platform/stream/memory_stream.h"
#include "platform/system_io/file.h"
#include "support/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace {

using namespace OvxComponent;
using OvxTest::Utf16ToUtf8;
using testing::ElementsAre;

const OvxUtils::Guid kGuid(0x6B2D6A10, 0x1C1E, 0x4E0B, {0x9D, 0x1F, 0x0A, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F});

TEST(ExtensionLog, WritesOneLinePerEntryInTheGivenFormat) {
    auto stream = std::make_shared<OvxUtils::MemoryStream>();
    ExtensionLog log({u"host", std::nullopt, stream});
    EXPECT_EQ(log.Write(LogMessages::kCloneFailed, kGuid), CString(u"clone failed"));
    EXPECT_EQ(log.Information(u"C:\\ext\\a b.OrvexExtension", u"should I unpack?"), CString(u"should I unpack?"));
    log.Write(LogMessages::kFileFormatError, u"manager");
    // Text from a package shows escaped, the history keeps it so, and the entry stays one line.
    const CString hostile = u"a\x1B[31m\r\nb";
    EXPECT_EQ(log.Error(hostile, u"bad\u202E\n"), CString(u"bad\\u202E\\x0A"));
    EXPECT_EQ(log.EntriesFor(hostile).at(0).message, u"bad\\u202E\\x0A");

    // A host stream gets no byte-order mark: the first bytes are the first line's.
    ASSERT_GE(stream->Bytes().size(), 2u);
    EXPECT_EQ(stream->Bytes().substr(0, 2), std::string("[\0", 2));
    const std::string text = Utf16ToUtf8(stream->Bytes());
    const std::regex expected(
        "\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\] \\(Error\\): \\{6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F\\} clone failed\r\n"
        "\\[[-0-9: ]{19}\\] \\(Information\\): \"C:\\\\ext\\\\a b\\.OrvexExtension\" should I unpack\\?\r\n"
        "\\[[-0-9: ]{19}\\] \\(Warning\\): \"manager\" File format error\\.\r\n"
        "\\[[-0-9: ]{19}\\] \\(Error\\): \"a\\\\x1B\\[31m\\\\x0D\\\\x0Ab\" bad\\\\u202E\\\\x0A\r\n");
    EXPECT_TRUE(std::regex_match(text, expected)) << text;
}

// A package whose entry name would colour the terminal and forge a line of its own is
// refused, and its reason takes one line like every other entry.
TEST(ExtensionLog, AnEntryNameFromAPackageCannotBreakItsLine) {
    OvxTest::TestHost host;
    auto manager = host.MakeManager();
    std::string zip = OvxTest::ZipBuilder::Package().Add("content/" + std::string(18, 'a'), "x").Build();
    OvxTest::PatchName(zip, "content/" + std::string(18, 'a'), "content/\x1B[31mred\r\n[forged]");
    const CString package = host.temp.WriteFile(u"source/hostile.OrvexExtension", zip);
    EXPECT_FALSE(manager->OpenPackage(package));
    const std::vector<std::string> lines = host.TakeLines();
    ASSERT_EQ(lines.size(), 3u) << testing::PrintToString(lines);
    EXPECT_THAT(lines[2], testing::EndsWith("\" reason: entry \"content/\\x1B[31mred\\x0D\\x0A[forged]\" holds a control character"));
}

// The log's own file is made at the first line after its folder is there: UTF-16 with a
// byte-order mark, readable while the log holds it.
TEST(ExtensionLog, OwnFileIsUtf16WithByteOrderMarkOnceItsFolderIsThere) {
    OvxTest::TempFolder temp;
    const CString path = temp / u"later/orvex_extensions.log";
    ExtensionLog log({u"file", path, nullptr});
    log.Information(u"manager", u"first");
    EXPECT_FALSE(OvxUtils::SystemIO::File::Exists(path));
    temp.WriteFile(u"later/placeholder", "");
    log.Information(u"manager", u"\u00FCber");
    EXPECT_EQ(log.EntriesFor(u"manager").size(), 2u);

    const auto bytes = OvxUtils::SystemIO::File::ReadAllBytes(path);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(bytes->substr(0, 2), "\xFF\xFE");
    const std::string text = Utf16ToUtf8(bytes->substr(2));
    EXPECT_THAT(text, testing::EndsWith("(Information): \"manager\" \xC3\xBC" "ber\r\n"));
    EXPECT_EQ(text.find("first"), std::string::npos);
}

TEST(ExtensionLog, AssociatesEachPairOnceUnderBothSubjects) {
    auto stream = std::make_shared<OvxUtils::MemoryStream>();
    ExtensionLog log({u"host", std::nullopt, stream});
    log.Associate(u"pkg", kGuid);
    log.Associate(u"pkg", kGuid);
    const CString guidText = kGuid.ToString();
    ASSERT_EQ(log.EntriesFor(kGuid).size(), 1u);
    EXPECT_EQ(log.EntriesFor(kGuid)[0].message, guidText + u" is associated with pkg");
    ASSERT_EQ(log.EntriesFor(u"pkg").size(), 1u);
    EXPECT_EQ(log.EntriesFor(u"pkg")[0].message, u"pkg is associated with " + guidText);
}

TEST(ExtensionLog, OnlyUnacknowledgedErrorsCountAsFailures) {
    ExtensionLog log({u"host", std::nullopt, std::make_shared<OvxUtils::MemoryStream>()});
    log.Warning(u"a", u"warned");
    log.Information(kGuid, u"told");
    EXPECT_FALSE(log.HasFailures());

    log.Error(u"a", u"broke");
    log.Write(LogMessages::kLoaderFailed, kGuid);
    EXPECT_THAT(log.FailedNames(), ElementsAre(CString(u"a")));
    EXPECT_THAT(log.FailedGuids(), ElementsAre(kGuid));
    EXPECT_TRUE(log.HasFailures());

    log.AcknowledgeFailures();
    log.Error(u"a", u"broke again");
    EXPECT_FALSE(log.HasFailures());
    log.Error(u"b", u"new");
    EXPECT_THAT(log.FailedNames(), ElementsAre(CString(u"b")));
    EXPECT_EQ(log.EntriesFor(u"a").size(), 3u);  // the history stays
}

}  // namespace
